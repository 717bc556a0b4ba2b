#include "Geom/Geom_Circle2D.h"

#include "Geom/exact/Plane.h"

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

bool IsOnRim(const Circle2D& circle, const Point2D& p)
{
    const Precision3D& precision = Precision();
    return CircleContainsPoint2D(circle, p, false, precision) &&
           !CircleContainsPoint2D(circle, p, true, precision);
}

Point2D UnitDirection(const Line2D& line)
{
    const Point2D d = line.second * 0.5 - line.first * 0.5; // halves: the difference stays finite
    const Point2D sized = d * impl::UnitFactor(d);
    const double length = impl::LengthOf(sized);
    return {sized.x / length, sized.y / length};
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
    const Point2D farthest = {std::fabs(d.x) + precision.halfEpsilon[0],
                              std::fabs(d.y) + precision.halfEpsilon[1]};
    return impl::LengthOf(farthest) < circle.radius;
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
    const Point2D foot = InfLineClosestPoint2D(circle.centre, line.first, line.second, precision);
    const bool isPoint = impl::IsNear(line.first, line.second, precision);
    const double distance = impl::LengthOf(foot - circle.centre);
    if (isPoint || !(distance <= circle.radius))
    {
        if (IsOnRim(circle, foot))
            out.push_back(foot);
        return int(out.size());
    }
    const double factor = impl::UnitFactor({circle.radius, 0});
    const double half =
        std::sqrt((circle.radius - distance) * factor * ((circle.radius + distance) * factor)) /
        factor;
    const Point2D way = UnitDirection(line) * half;
    const Point2D before = foot - way, behind = foot + way;
    if (impl::IsNear(before, behind, precision))
        out.push_back(foot);
    else if (impl::AreUsable({before, behind}))
    {
        out.push_back(before);
        out.push_back(behind);
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
            if (!impl::IsNear(p, met, precision) && !IsOnRim(circle, met))
                continue;
        }
        if (out.empty() || !impl::IsNear(out.back(), met, precision))
            out.push_back(met);
    }
    return int(out.size());
}

} // namespace Geom
