#include "Geom/Geom_Polyline.h"

#include <algorithm>
#include <cstddef>

namespace Geom
{
namespace
{
using Polyline = std::vector<Point2D>;

/// The point at @p x on the segment from @p p to @p q, whose abscissae differ.
Point2D PointAt(const Point2D& p, const Point2D& q, double x)
{
    return {x, p.y + (q.y - p.y) * (x - p.x) / (q.x - p.x)};
}

/// Removes the part left of @p x; nothing when no later point lies right of it.
void CutFront(Polyline& line, double x)
{
    const auto right = std::find_if(line.begin() + 1, line.end(),
                                    [x](const Point2D& point) { return point.x > x; });
    if (right == line.end())
        return;
    const auto left = right - 1;
    *left = PointAt(*left, *right, x);
    line.erase(line.begin(), left);
}

/// Removes the part right of @p x; nothing when no earlier point lies left of it.
void CutBack(Polyline& line, double x)
{
    const auto left = std::find_if(line.rbegin() + 1, line.rend(),
                                   [x](const Point2D& point) { return point.x < x; });
    if (left == line.rend())
        return;
    const auto right = left.base(); // the point after it
    *right = PointAt(*left, *right, x);
    line.erase(right + 1, line.end());
}

void MakeIncreasing(Polyline& line)
{
    if (line.front().x > line.back().x)
        std::reverse(line.begin(), line.end());
}
} // namespace

void PolylineOverlapIntersect2D(Polyline& a, Polyline& b)
{
    if (&a == &b)
    {
        Polyline copy = a;
        PolylineOverlapIntersect2D(a, copy);
        return;
    }
    const auto clearBoth = [&] {
        a.clear();
        b.clear();
    };
    if (a.size() < 2 || b.size() < 2)
        return clearBoth();
    MakeIncreasing(a);
    MakeIncreasing(b);
    if (b.front().x >= a.back().x || a.front().x >= b.back().x || a.front().x == a.back().x ||
        b.front().x == b.back().x)
        return clearBoth();
    if (b.front().x >= a.front().x)
        CutFront(a, b.front().x);
    if (a.back().x >= b.back().x)
        CutBack(a, b.back().x);
    if (a.front().x >= b.front().x)
        CutFront(b, a.front().x);
    if (b.back().x >= a.back().x)
        CutBack(b, a.back().x);
}

void PolylinesOverlapIntersect2D(const Polyline& reference, std::vector<Polyline>& results,
                                 std::vector<Polyline>& others)
{
    std::vector<Polyline> made(others.size(), reference); // before either vector changes
    if (&results == &others)
    {
        for (std::size_t i = 0; i < made.size(); ++i)
            PolylineOverlapIntersect2D(made[i], others[i]);
        results = std::move(made);
        return;
    }
    results = std::move(made);
    for (std::size_t i = 0; i < others.size(); ++i)
        PolylineOverlapIntersect2D(results[i], others[i]);
}

} // namespace Geom
