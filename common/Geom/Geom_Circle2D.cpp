#include "Geom/Geom_Circle2D.h"

#include "Geom/exact/Expansion.h"

#include <numbers>

namespace Geom
{
namespace
{

bool IsCircle(const Circle2D& circle)
{
    return impl::IsUsable(circle.centre) && circle.radius >= 0;
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
    return impl::LengthOf(Shortened(d, precision)) <= radius &&
           !(impl::LengthOf(Lengthened(d, precision)) < radius);
}

Point2D UnitDirection(const Line2D& line)
{
    const Point2D d = line.second * 0.5 - line.first * 0.5; // halves: the difference stays finite
    const Point2D sized = d * impl::UnitFactor(d);
    const double length = impl::LengthOf(sized);
    return {sized.x / length, sized.y / length};
}

/// How an infinite line passes a circle.
struct Chord
{
    Point2D foot; ///< of the perpendicular from the centre, as seen from there
    Point2D half; ///< from the foot on to the rim, along the line
    bool isMet;   ///< whether the line reaches the rim; else half is 0
};

/// From differences to the centre and with 100 bits, so that neither the place of the circle nor a
/// line that hardly cuts it costs digits.
Chord ChordOf(const Circle2D& circle, const Line2D& line)
{
    const auto& [centre, radius] = circle;
    const auto& [a, b] = line;
    double most = radius;
    for (const Point2D& p : {centre, a, b})
        most = std::max({most, std::fabs(p.x), std::fabs(p.y)});
    const double factor = impl::UnitFactor({most, 0});
    const auto difference = [factor](double u, double v) {
        return impl::ExactDifference(u * factor, v * factor);
    };
    const impl::Pair ax = difference(a.x, centre.x), ay = difference(a.y, centre.y);
    impl::Pair dx = difference(b.x, a.x), dy = difference(b.y, a.y);
    const double unit = impl::UnitFactor({dx.high, dy.high}); // only the direction counts
    dx = {dx.high * unit, dx.low * unit};
    dy = {dy.high * unit, dy.low * unit};
    const impl::Pair cross = ax * dy + -(ay * dx), square = dx * dx + dy * dy;
    const impl::Pair r = {radius * factor, 0};
    // What is left of the square of the radius after that of the distance, times square.
    const impl::Pair rest = r * r * square + -(cross * cross);
    const bool isMet = !(rest.high < 0);
    const double out = cross.high / square.high / factor;
    const double along = isMet ? std::sqrt(rest.high) / square.high / factor : 0;
    return {{dy.high * out, -dx.high * out}, {dx.high * along, dy.high * along}, isMet};
}

} // namespace

Circle2D CircleGet2D(const Point2D& centre, const Point2D& edgePoint)
{
    return {centre, impl::LengthOf(edgePoint - centre)};
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
    if (!IsCircle(circle) || !impl::IsUsable(p))
        return false;
    const Point2D d = p - circle.centre;
    if (!excludeRim)
        return impl::LengthOf(Shortened(d, precision)) <= circle.radius;
    return impl::LengthOf(Lengthened(d, precision)) < circle.radius;
}

Point2D CircleEdgePoint2D(const Circle2D& circle, double angle)
{
    return circle.centre + impl::Direction(angle) * circle.radius;
}

Point2D CircleEdgeClosestPoint2D(const Circle2D& circle, const Point2D& p)
{
    if (!impl::AreUsable({circle.centre, p}))
        return MissingValue<Point2D>();
    if (p == circle.centre)
        return {circle.centre.x + circle.radius, circle.centre.y};
    return circle.centre + UnitDirection({circle.centre, p}) * circle.radius;
}

bool CircleIsCollision2D(const Circle2D& a, const Circle2D& b)
{
    return IsCircle(a) && IsCircle(b) &&
           impl::LengthOf(Shortened(b.centre - a.centre, Precision())) <= a.radius + b.radius;
}

int CircleInfLineIntersection2D(CircleLinePoints& out, const Circle2D& circle, const Line2D& line)
{
    const Precision3D& precision = Precision();
    out.clear();
    if (!IsCircle(circle) || !impl::AreUsable({line.first, line.second}))
        return 0;
    const Point2D& centre = circle.centre;
    if (impl::IsNear(line.first, line.second, precision))
    {
        if (IsOnRim(circle.radius, line.first - centre, precision))
            out.push_back(line.first);
        return int(out.size());
    }
    const Chord chord = ChordOf(circle, line);
    const Point2D before = chord.foot - chord.half, after = chord.foot + chord.half;
    const bool isTangent = impl::IsNear(before, after, precision);
    if (!chord.isMet ? IsOnRim(circle.radius, chord.foot, precision) : isTangent)
        out.push_back(centre + chord.foot);
    else if (chord.isMet && impl::AreUsable({centre + before, centre + after}))
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
        const bool isBefore = impl::Dot(p * 0.5 - line.first * 0.5, way) < 0;
        const bool isBehind = impl::Dot(p * 0.5 - line.second * 0.5, way) > 0;
        Point2D met = impl::Clamped(p, line.first, line.second);
        if (isBefore || isBehind)
        {
            met = isBefore ? line.first : line.second;
            if (!impl::IsNear(p, met, precision) &&
                !IsOnRim(circle.radius, met - circle.centre, precision))
                continue;
        }
        if (out.empty() || !impl::IsNear(out.back(), met, precision))
            out.push_back(met);
    }
    return int(out.size());
}

} // namespace Geom
