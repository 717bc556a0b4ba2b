#include "Geom/Geom_Polygon.h"

#include "Geom/Geom_Vector.h"
#include "Geom/exact/Plane.h"
#include "Geom/exact/RepeatedPoint.h"
#include "Geom/exact/RingLocation.h"

#include <algorithm>
#include <cmath>

namespace Geom
{
namespace
{

// Twice an area that equals 0 to eight significant digits, with 5e-8 as the least tolerance: the
// tolerance of a larger number never includes 0.
constexpr double kNoArea = 5e-8;

int TurnOf(const Point2D& a, const Point2D& b, const Point2D& c)
{
    return int(VectorTurn2D(a, b, c, Precision()));
}

/// Twice the area: the sum of x[i] (y[i+1] - y[i-1]). The y differences of a closed ring sum to 0,
/// so x may be taken from the first point, which keeps the digits of a small ring far from the
/// origin.
double DoubleArea(const Point2D* points, std::size_t n)
{
    if (n < 2)
        return 0;
    double sum = 0;
    double before = points[n - 2].y;
    for (std::size_t i = 0; i + 1 < n; ++i)
    {
        sum += (points[i].x - points[0].x) * (points[i + 1].y - before);
        before = points[i].y;
    }
    return sum;
}

bool IsValidRing(const Point2D* points, std::size_t n)
{
    if (n < 4 || !IsEqual2D(points[0], points[n - 1], Precision()) || !PolygonIsCCW2D(points, n))
        return false;
    const double area = DoubleArea(points, n);
    if (!(std::fabs(area) > kNoArea))
        return false;
    return !geom::HasRepeatedPoint(points, n - 1, Precision());
}

/// A power of two that keeps products of three coordinates finite and above zero; 1 while they are
/// moderate.
double CubeFactor(const Point2D* points, std::size_t n)
{
    double most = 0;
    for (std::size_t i = 0; i < n; ++i)
        most = std::max({most, std::fabs(points[i].x), std::fabs(points[i].y)});
    return most > 0x1p-300 && most < 0x1p300 ? 1 : geom::UnitFactor({most, most});
}

/// Midpoints of the edges, each with its length; the first point where there is no length.
Point2D CentreOfOutline(const Point2D* points, std::size_t n, double factor)
{
    double x = 0, y = 0, length = 0;
    const Point2D first = points[0] * factor;
    for (std::size_t i = 0; i + 1 < n; ++i)
    {
        const Point2D from = points[i] * factor, to = points[i + 1] * factor;
        const double edge = geom::LengthOf(to - from);
        x += edge * ((from.x - first.x) + (to.x - first.x)) / 2;
        y += edge * ((from.y - first.y) + (to.y - first.y)) / 2;
        length += edge;
    }
    return length > 0
               ? Point2D{points[0].x + x / length / factor, points[0].y + y / length / factor}
               : points[0];
}

} // namespace

void PolygonGetLines2D(std::vector<Line2D>& lines, const std::vector<Point2D>& points)
{
    if (points.size() < 2)
        return;
    // At least doubled: appending ring after ring must not copy all lines each time.
    if (const std::size_t size = lines.size() + points.size() - 1; size > lines.capacity())
        lines.reserve(std::max(size, 2 * lines.capacity()));
    for (std::size_t i = 0; i + 1 < points.size(); ++i)
        lines.push_back(LineGet2D(points[i], points[i + 1]));
}

bool PolygonIsCCW2D(const Point2D* points, std::size_t n)
{
    if (n < 4)
        return false;
    const std::size_t m = n - 1;
    std::size_t pivot = 0;
    for (std::size_t i = 1; i < m; ++i)
        if (points[i].y < points[pivot].y ||
            (points[i].y == points[pivot].y && points[i].x >= points[pivot].x))
            pivot = i;
    std::size_t s = pivot;
    do
    {
        const int turn = TurnOf(points[s == 0 ? m - 1 : s - 1], points[s], points[s + 1]);
        if (turn != 0)
            return turn == -1;
        s = s + 1 == m ? 0 : s + 1;
    } while (s != pivot);
    return false;
}

bool PolygonIsConvex2D(const Point2D* points, std::size_t n)
{
    if (n < 2)
        return true;
    std::size_t j = n - 2;
    for (std::size_t i = 1; i < n; ++i)
    {
        if (TurnOf(points[j], points[i - 1], points[i]) == 1)
            return false;
        j = (j + 1) % (n - 1);
    }
    return true;
}

bool PolygonIsValid2D(const Point2D* points, std::size_t n, bool multiple)
{
    if (!multiple)
        return IsValidRing(points, n);
    if (n < 4)
        return false;
    for (const Point2D *from = points, *end = points + n; from != end;)
    {
        const Point2D* last = std::find_if(
            from + 1, end, [&](const Point2D& p) { return IsEqual2D(*from, p, Precision()); });
        if (last == end || !IsValidRing(from, std::size_t(last - from) + 1))
            return false;
        from = last + 1;
    }
    return true;
}

bool PolygonIsEqual2D(const std::vector<Point2D>& a, const std::vector<Point2D>& b)
{
    const std::size_t n = a.size();
    if (n != b.size())
        return false;
    if (n < 2)
        return n == 0 || IsEqual2D(a[0], b[0], Precision());
    const auto found = std::find_if(
        b.begin(), b.end(), [&](const Point2D& p) { return IsEqual2D(p, a[1], Precision()); });
    if (found == b.end())
        return false;
    std::size_t at = std::size_t(found - b.begin());
    for (std::size_t i = 1; i < n; ++i)
    {
        if (!IsEqual2D(a[i], b[at], Precision()))
            return false;
        at = at + 1 == n ? 1 : at + 1;
    }
    return true;
}

double PolygonArea2D(const Point2D* points, std::size_t n)
{
    return n < 4 ? 0 : DoubleArea(points, n) * 0.5;
}

Point2D PolygonCentreOfMass2D(const Point2D* points, std::size_t n)
{
    if (n == 0)
        return MissingValue<Point2D>();
    const double factor = CubeFactor(points, n);
    const Point2D first = points[0] * factor;
    double x = 0, y = 0, weight = 0;
    for (std::size_t i = 0; i + 1 < n; ++i)
    {
        const Point2D u = points[i] * factor - first, v = points[i + 1] * factor - first;
        const double area = geom::Cross(u, v);
        x += area * (u.x + v.x);
        y += area * (u.y + v.y);
        weight += area;
    }
    if (factor > 1 || !(std::fabs(weight) > kNoArea * factor * factor))
        return CentreOfOutline(points, n, factor);
    return {points[0].x + x / (3 * weight) / factor, points[0].y + y / (3 * weight) / factor};
}

PointLocation PolygonLocatePoint2D(const Point2D* points, std::size_t n, const Point2D& p,
                                   const Precision3D& precision)
{
    if (!geom::IsUsable(p) || !std::all_of(points, points + n, geom::IsUsable))
        return PointLocation::Outside;
    return geom::LocateInRing(points, n, p, precision);
}

bool PolygonContainsPoint2D(const Point2D* points, std::size_t n, const Point2D& p, bool withEdges,
                            const Precision3D& precision)
{
    const PointLocation location = PolygonLocatePoint2D(points, n, p, precision);
    return location == PointLocation::Inside || (withEdges && location == PointLocation::OnBorder);
}

} // namespace Geom
