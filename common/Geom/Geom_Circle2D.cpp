#include "Geom/Geom_Circle2D.h"

#include "Geom/exact/Expansion.h"

#include <numbers>

namespace Geom
{
namespace
{

bool IsCircle(const Circle2D& circle)
{
    return geom::IsUsable(circle.centre) && circle.radius >= 0;
}

/// The way to the nearest point of the box of half-epsilons about the end of the way @p d.
Point2D Shortened(const Point2D& d, const Precision3D& precision)
{
    return {std::max(0.0, std::fabs(d.x) - precision.halfEpsilon[0]),
            std::max(0.0, std::fabs(d.y) - precision.halfEpsilon[1])};
}

/// The way to the farthest point of that box, up to signs.
Point2D Lengthened(const Point2D& d, const Precision3D& precision)
{
    return {std::fabs(d.x) + precision.halfEpsilon[0], std::fabs(d.y) + precision.halfEpsilon[1]};
}

/// Whether the box of half-epsilons about the end of the way @p d from the centre meets the rim.
bool IsOnRim(double radius, const Point2D& d, const Precision3D& precision)
{
    return geom::LengthOf(Shortened(d, precision)) <= radius &&
           !(geom::LengthOf(Lengthened(d, precision)) < radius);
}

Point2D UnitDirection(const Line2D& line)
{
    const Point2D d = line.second * 0.5 - line.first * 0.5; // halves: the difference stays finite
    const Point2D sized = d * geom::UnitFactor(d);
    const double length = geom::LengthOf(sized);
    return {sized.x / length, sized.y / length};
}

/// How an infinite line intersects a circle.
struct Chord
{
    Point2D foot; ///< of the perpendicular from the centre, as seen from there
    Point2D half; ///< from the foot on to the rim, along the line
    bool isMet;   ///< whether the line reaches the rim; else half is 0
};

/// From differences to the centre and with 100 bits, so that neither the position of the circle nor
/// a nearly tangent line costs digits.
Chord ChordOf(const Circle2D& circle, const Line2D& line)
{
    const auto& [centre, radius] = circle;
    const auto& [a, b] = line;
    double most = radius;
    for (const Point2D& p : {centre, a, b})
        most = std::max({most, std::fabs(p.x), std::fabs(p.y)});
    const double factor = geom::UnitFactor({most, 0});
    const auto difference = [factor](double u, double v) {
        return geom::ExactDifference(u * factor, v * factor);
    };
    const geom::Pair ax = difference(a.x, centre.x), ay = difference(a.y, centre.y);
    geom::Pair dx = difference(b.x, a.x), dy = difference(b.y, a.y);
    const double unit = geom::UnitFactor({dx.high, dy.high}); // only the direction matters
    dx = {dx.high * unit, dx.low * unit};
    dy = {dy.high * unit, dy.low * unit};
    const geom::Pair cross = ax * dy + -(ay * dx), square = dx * dx + dy * dy;
    const geom::Pair r = {radius * factor, 0};
    // The square of the radius less that of the distance, times square.
    const geom::Pair rest = r * r * square + -(cross * cross);
    const bool isMet = !(rest.high < 0);
    const double out = cross.high / square.high / factor;
    const double along = isMet ? std::sqrt(rest.high) / square.high / factor : 0;
    return {{dy.high * out, -dx.high * out}, {dx.high * along, dy.high * along}, isMet};
}

} // namespace

Circle2D CircleGet2D(const Point2D& centre, const Point2D& edgePoint)
{
    return {centre, geom::LengthOf(edgePoint - centre)};
}

double CircleArea2D(const Circle2D& circle)
{
    return std::numbers::pi * circle.radius * circle.radius;
}

double CircleCircumference2D(const Circle2D& circle)
{
    return (std::numbers::pi + std::numbers::pi) * circle.radius;
}

bool CircleContainsPoint2D(const Circle2D& circle, const Point2D& p, bool excludeRim,
                           const Precision3D& precision)
{
    if (!IsCircle(circle) || !geom::IsUsable(p))
        return false;
    const Point2D d = p - circle.centre;
    if (!excludeRim)
        return geom::LengthOf(Shortened(d, precision)) <= circle.radius;
    return geom::LengthOf(Lengthened(d, precision)) < circle.radius;
}

Point2D CircleEdgePoint2D(const Circle2D& circle, double angle)
{
    return circle.centre + geom::Direction(angle) * circle.radius;
}

Point2D CircleEdgeClosestPoint2D(const Circle2D& circle, const Point2D& p)
{
    if (!geom::AreUsable({circle.centre, p}))
        return MissingValue<Point2D>();
    if (p == circle.centre)
        return {circle.centre.x + circle.radius, circle.centre.y};
    return circle.centre + UnitDirection({circle.centre, p}) * circle.radius;
}

bool CircleIsCollision2D(const Circle2D& a, const Circle2D& b)
{
    return IsCircle(a) && IsCircle(b) &&
           geom::LengthOf(Shortened(b.centre - a.centre, Precision())) <= a.radius + b.radius;
}

int CircleInfLineIntersection2D(CircleLinePoints& out, const Circle2D& circle, const Line2D& line)
{
    const Precision3D& precision = Precision();
    out.clear();
    if (!IsCircle(circle) || !geom::AreUsable({line.first, line.second}))
        return 0;
    const Point2D& centre = circle.centre;
    if (geom::IsNear(line.first, line.second, precision))
    {
        if (IsOnRim(circle.radius, line.first - centre, precision))
            out.push_back(line.first);
        return int(out.size());
    }
    const Chord chord = ChordOf(circle, line);
    const Point2D before = chord.foot - chord.half, after = chord.foot + chord.half;
    const bool isTangent = geom::IsNear(before, after, precision);
    if (!chord.isMet ? IsOnRim(circle.radius, chord.foot, precision) : isTangent)
        out.push_back(centre + chord.foot);
    else if (chord.isMet && geom::AreUsable({centre + before, centre + after}))
    {
        out.push_back(centre + before);
        out.push_back(centre + after);
    }
    return int(out.size());
}

int CircleLineIntersection2D(CircleLinePoints& out, const Circle2D& circle, const Line2D& line)
{
    const Precision3D& precision = Precision();
    CircleLinePoints all;
    CircleInfLineIntersection2D(all, circle, line);
    out.clear();
    const Point2D way = line.second * 0.5 - line.first * 0.5;
    for (const Point2D& p : all)
    {
        const bool isBefore = geom::Dot(p * 0.5 - line.first * 0.5, way) < 0;
        const bool isBehind = geom::Dot(p * 0.5 - line.second * 0.5, way) > 0;
        Point2D met = geom::Clamped(p, line.first, line.second);
        if (isBefore || isBehind)
        {
            met = isBefore ? line.first : line.second;
            if (!geom::IsNear(p, met, precision) &&
                !IsOnRim(circle.radius, met - circle.centre, precision))
                continue;
        }
        if (out.empty() || !geom::IsNear(out.back(), met, precision))
            out.push_back(met);
    }
    return int(out.size());
}

} // namespace Geom
