#include "Geom/Geom_Line2D.h"

#include "Geom/exact/Plane.h"

namespace Geom
{
namespace
{

/// At most @p halfEpsilon apart without rounding: a difference that rounds to the half-epsilon may
/// be a little more.
bool IsWithin(double a, double b, double halfEpsilon)
{
    const double high = std::max(a, b), low = std::min(a, b), difference = high - low;
    if (a == b || difference != halfEpsilon)
        return geom::IsNear(a, b, halfEpsilon);
    const double lowPart = high - difference, highPart = difference + lowPart;
    return !((high - highPart) + (lowPart - low) > 0);
}

bool IsWithin(const Point2D& a, const Point2D& b, const Precision3D& precision)
{
    return IsWithin(a.x, b.x, precision.halfEpsilon[0]) &&
           IsWithin(a.y, b.y, precision.halfEpsilon[1]);
}

/// Whether @p value lies from one of @p a and @p b to the other, or within reach of one.
bool IsWithinRange(double a, double b, double value, double halfEpsilon)
{
    return (value >= std::min(a, b) && value <= std::max(a, b)) ||
           IsWithin(value, a, halfEpsilon) || IsWithin(value, b, halfEpsilon);
}

/// Where the foot of the perpendicular from p lies, from 0 at a to 1 at b; a and b differ.
double FootParameter(const Point2D& p, const Point2D& a, const Point2D& b)
{
    const Point2D d = b - a;
    const double factor = geom::UnitFactor(d);
    const Point2D unit = d * factor;
    return geom::Dot(p - a, unit) / geom::Dot(unit, unit) * factor;
}

/// The point of a usable segment nearest to a usable point.
Point2D Closest(const Point2D& p, const Point2D& a, const Point2D& b)
{
    const double factor = geom::SafeFactor({p, a, b});
    const Point2D from = a * factor, to = b * factor;
    const double t = from == to ? 0 : FootParameter(p * factor, from, to);
    if (t <= 0)
        return a;
    if (t >= 1)
        return b;
    // From the nearer end, so that the rounding of the way is small beside it.
    const Point2D foot = t < 0.5 ? from + (to - from) * t : to + (from - to) * (1 - t);
    return geom::Clamped(foot * (1 / factor), a, b);
}

} // namespace

bool PointPrecedes2D(const Point2D& p, const Point2D& q, const Precision3D& precision)
{
    return geom::Precedes(p, q, precision.halfEpsilon[0], precision.halfEpsilon[1]);
}

Line2D LineGet2D(const Point2D& p1, const Point2D& p2)
{
    return PointPrecedes2D(p1, p2, Precision()) ? Line2D{p1, p2} : Line2D{p2, p1};
}

std::pair<double, double> LineGetY2D(const Point2D& a, const Point2D& b, double x)
{
    const double hx = Precision().halfEpsilon[0];
    const double missing = MissingValue<double>();
    const Point2D &left = a.x <= b.x ? a : b, &right = a.x <= b.x ? b : a;
    if (!geom::AreUsable({a, b}) || !geom::IsBetween(left.x, x, right.x, hx))
        return {missing, missing};
    if (geom::IsNear(a.x, b.x, hx))
        return std::minmax(a.y, b.y);
    if (x <= left.x)
        return {left.y, left.y};
    if (x >= right.x)
        return {right.y, right.y};
    const double t = (x * 0.5 - left.x * 0.5) / (right.x * 0.5 - left.x * 0.5);
    const double rise = right.y - left.y;
    const double y = std::isfinite(rise) ? left.y + rise * t : left.y * (1 - t) + right.y * t;
    const double inside = geom::Clamped(y, left.y, right.y);
    return {inside, inside};
}

bool LineContainsPoint2D(const Point2D& a, const Point2D& b, const Point2D& p,
                         const Precision3D& precision)
{
    if (!geom::AreUsable({a, b, p}))
        return false;
    if (IsWithin(a, p, precision) || IsWithin(b, p, precision))
        return true;
    return IsWithinRange(a.x, b.x, p.x, precision.halfEpsilon[0]) &&
           IsWithinRange(a.y, b.y, p.y, precision.halfEpsilon[1]) &&
           geom::SideOf(a, b, p, precision) == 0;
}

bool LineContainsPoint2D(const Point2D& a, const Point2D& b, const Point2D& p, bool excludeEnds)
{
    const Precision3D& precision = Precision();
    if (excludeEnds && (geom::IsNear(a, p, precision) || geom::IsNear(b, p, precision)))
        return false;
    return LineContainsPoint2D(a, b, p, precision);
}

Point2D LineClosestPoint2D(const Point2D& p, const Point2D& a, const Point2D& b, bool excludeEnds,
                           const Precision3D& precision)
{
    if (!geom::AreUsable({p, a, b}))
        return MissingValue<Point2D>();
    const Point2D closest = Closest(p, a, b);
    const bool isEnd = geom::IsNear(closest, a, precision) || geom::IsNear(closest, b, precision);
    return excludeEnds && isEnd ? MissingValue<Point2D>() : closest;
}

Point2D InfLineClosestPoint2D(const Point2D& p, const Point2D& a, const Point2D& b,
                              const Precision3D& precision)
{
    if (!geom::AreUsable({p, a, b}))
        return MissingValue<Point2D>();
    if (geom::IsNear(a, b, precision))
        return a;
    const double factor = geom::SafeFactor({p, a, b});
    const Point2D from = a * factor, to = b * factor;
    const double t = from == to ? 0 : FootParameter(p * factor, from, to);
    const Point2D foot = (from + (to - from) * t) * (1 / factor);
    return geom::IsUsable(foot) ? foot : MissingValue<Point2D>();
}

double LineDistanceToPoint2D(const Point2D& a, const Point2D& b, const Point2D& p, bool excludeEnds,
                             const Precision3D& precision)
{
    const Point2D closest = LineClosestPoint2D(p, a, b, excludeEnds, precision);
    return IsMissing2D(closest) ? MissingValue<double>() : geom::LengthOf(p - closest);
}

} // namespace Geom
