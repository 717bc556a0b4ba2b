/// @file
/// @internal Helpers shared by the sources of the geometry: nearness, ranges of numbers, exact
/// signs.
#pragma once

#include "Geom/Geom_Point.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace Geom
{

// Vector arithmetic, for the sources only; found by the type of the operands.
inline Point2D operator*(const Point2D& p, double factor) { return {p.x * factor, p.y * factor}; }
inline Point2D operator+(const Point2D& a, const Point2D& b) { return {a.x + b.x, a.y + b.y}; }
inline Point2D operator-(const Point2D& a, const Point2D& b) { return {a.x - b.x, a.y - b.y}; }

} // namespace Geom

namespace geom
{

using Geom::Point2D;
using Geom::Precision3D;

/// Exactly equal, or at most @p halfEpsilon apart as doubles; never with NaN.
inline bool IsNear(double a, double b, double halfEpsilon)
{
    return a == b || std::fabs(a - b) <= halfEpsilon;
}

/// IsEqual2D, inline.
inline bool IsNear(const Point2D& a, const Point2D& b, const Precision3D& precision)
{
    return IsNear(a.x, b.x, precision.halfEpsilon[0]) && IsNear(a.y, b.y, precision.halfEpsilon[1]);
}

/// Whether @p value lies from @p low to @p high, or near one of them; never with NaN.
inline bool IsBetween(double low, double value, double high, double halfEpsilon)
{
    return (value >= low || IsNear(value, low, halfEpsilon)) &&
           (value <= high || IsNear(value, high, halfEpsilon));
}

/// PointPrecedes2D, inline.
inline bool Precedes(const Point2D& p, const Point2D& q, double hx, double hy)
{
    return q.x - hx > p.x || (q.x + hx >= p.x && q.y - hy > p.y);
}

/// Whether a point is usable: finite and not missing.
inline bool IsUsable(const Point2D& p)
{
    return std::fabs(p.x) < MissingValue<double>() && std::fabs(p.y) < MissingValue<double>();
}

/// All of @p points are usable.
inline bool AreUsable(std::initializer_list<Point2D> points)
{
    return std::all_of(points.begin(), points.end(), IsUsable);
}

inline double Dot(const Point2D& a, const Point2D& b) { return a.x * b.x + a.y * b.y; }
inline double Cross(const Point2D& a, const Point2D& b) { return a.x * b.y - a.y * b.x; }

/// A power of two by which points are multiplied before products of two coordinates are formed: 1,
/// or less so that the products of very large coordinates stay finite.
inline double SafeFactor(std::initializer_list<Point2D> points)
{
    double most = 0;
    for (const Point2D& p : points)
        most = std::max({most, std::fabs(p.x), std::fabs(p.y)});
    return most < 0x1p400 ? 1 : 0x1p-640;
}

/// The largest coordinate of @p v is from 0.5 to 1 after multiplication by this power of two, or as
/// near to it as a finite power comes; 1 for the zero vector and for one that is not finite.
inline double UnitFactor(const Point2D& v)
{
    const double most = std::max(std::fabs(v.x), std::fabs(v.y));
    int exponent = 0;
    if (std::isfinite(most))
        std::frexp(most, &exponent);
    return std::ldexp(1.0, std::min(-exponent, 1000));
}

/// Length of @p v; finite wherever the true length is.
inline double LengthOf(const Point2D& v)
{
    const double factor = UnitFactor(v);
    const Point2D unit = v * factor;
    return std::sqrt(unit.x * unit.x + unit.y * unit.y) / factor;
}

/// @p value moved into the range that @p a and @p b span.
inline double Clamped(double value, double a, double b)
{
    return std::min(std::max(value, std::min(a, b)), std::max(a, b));
}

/// @p p moved into the box that @p a and @p b span.
inline Point2D Clamped(const Point2D& p, const Point2D& a, const Point2D& b)
{
    return {Clamped(p.x, a.x, b.x), Clamped(p.y, a.y, b.y)};
}

/// Where a point on a segment of (Geom::Line2D) @p line is: 0 at its first end, 1 at its second; 0
/// for a segment without length.
template <class Line>
double ParameterOn(const Line& line, const Point2D& p)
{
    const double factor = SafeFactor({line.first, line.second, p});
    const Point2D from = line.first * factor, way = line.second * factor - from;
    const double unit = UnitFactor(way);
    const Point2D d = way * unit;
    const double square = Dot(d, d);
    if (!(square > 0))
        return 0;
    return std::min(std::max(Dot((p * factor - from) * unit, d) / square, 0.0), 1.0);
}

/// Cosine and sine of @p angle [rad], the same bits on every platform: within a unit in the last
/// place of the true ones up to 1e6, of those of an angle within half a unit in its own last place
/// beyond; NaN for NaN and the infinities.
Point2D Direction(double angle);

/// More than the error of a sum of products that underflow. Filters add it to their bounds: where
/// products are as small as that, the exact forms decide.
constexpr double kUnderflowError = 0x1p-1000;

/// The angle of the point (x, y), above -pi and up to pi, as the arc tangent of y / x in the right
/// quadrant, the same bits on every platform and within a unit in the last place of the true one. 0
/// for (0, 0), NaN when a coordinate is not finite.
double ArcTangent(double y, double x);

/// The result of SideOf when a coordinate is NaN or infinite.
constexpr int kNoSide = 2;

/// On which side of the infinite line a-b the point p lies: 1 left, -1 right, 0 when the line meets
/// the box of half-sides hx, hy about p, that is when
///     |(b - a) x (p - a)| <= hx |b.y - a.y| + hy |b.x - a.x|
/// and kNoSide for numbers that are not finite. The answer is that of exact arithmetic (within the
/// range of ExactFactor), so it does not depend on the order of evaluation.
int SideOf(const Point2D& a, const Point2D& b, const Point2D& p, double hx, double hy);

/// SideOf with the half-epsilons of @p precision.
inline int SideOf(const Point2D& a, const Point2D& b, const Point2D& p,
                  const Precision3D& precision)
{
    return SideOf(a, b, p, precision.halfEpsilon[0], precision.halfEpsilon[1]);
}

} // namespace geom
