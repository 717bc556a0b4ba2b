/// @file
/// Orders of points that tolerate small differences and are still strict weak orders.
#pragma once

#include <cmath>

namespace gtl
{
namespace impl
{

/// Coordinates that count as one when they round to the same multiple of twice the tolerance.
class engless_axis
{
public:
    /// Cells as wide as twice @p tolerance.
    explicit engless_axis(double tolerance) : width_(tolerance + tolerance) {}

    /// -1, 0 or 1 as @p a lies before, in the same cell as, or after @p b; NaN after all else.
    int compare(double a, double b) const
    {
        if (a == b)
            return 0;
        if (!(a < b) && !(b < a))
            return static_cast<int>(std::isnan(a)) - static_cast<int>(std::isnan(b));
        const double cellA = a / width_;
        const double cellB = b / width_;
        // Beyond the limit, and without a usable tolerance, every number is a cell of its own.
        if (std::fabs(cellA) < kCells && std::fabs(cellB) < kCells &&
            std::round(cellA) == std::round(cellB))
            return 0;
        return a < b ? -1 : 1;
    }

    /// Cells on either side of 0: beyond 2^50 the rounding of the division would matter.
    static constexpr double kCells = 1125899906842624.0;

private:
    double width_;
};

/// Coordinate @p Axis of a point: 1 for x, 2 for y, 3 for z.
template <int Axis, class Point>
double engless_coordinate(const Point& point)
{
    static_assert(Axis >= 1 && Axis <= 3, "axes are 1 for x, 2 for y, 3 for z");
    if constexpr (Axis == 1)
        return point.x;
    else if constexpr (Axis == 2)
        return point.y;
    else
        return point.z;
}

} // namespace impl

/// Order of points by one axis, then another (1 is x, 2 is y), within a tolerance for x and y.
///
/// "Equal within the tolerance" is not transitive, so no strict weak order can have it as its
/// equivalence. This order instead compares the multiples of twice the tolerance to which
/// coordinates round. Equivalent points are each within the tolerance of the same grid point, so
/// they lie at most two tolerances apart; points within the tolerance of each other may still fall
/// into neighbouring cells. For all input it is a strict weak order: infinities and coordinates of
/// 2^50 cells and more are compared exactly, NaN comes after everything and equals NaN, and a
/// tolerance that is zero, negative, NaN or infinite gives the exact order.
template <class Point, int First, int Second>
class engless_point_2D
{
    static_assert(First != Second, "the axes must differ");

public:
    /// Tolerances of x and of y, whatever the order of the axes.
    engless_point_2D(double toleranceX, double toleranceY)
        : axes_{Axis(toleranceX), Axis(toleranceY)}
    {
    }
    /// Whether @p a comes before @p b.
    bool operator()(const Point& a, const Point& b) const
    {
        const int first = Compare<First>(a, b);
        return first != 0 ? first < 0 : Compare<Second>(a, b) < 0;
    }

private:
    using Axis = impl::engless_axis;

    template <int I>
    int Compare(const Point& a, const Point& b) const
    {
        return axes_[I - 1].compare(impl::engless_coordinate<I>(a), impl::engless_coordinate<I>(b));
    }

    Axis axes_[2];
};

/// Order of points by three axes (1 is x, 2 is y, 3 is z); otherwise as engless_point_2D.
template <class Point, int First, int Second, int Third>
class engless_point_3D
{
    static_assert(First != Second && Second != Third && First != Third, "the axes must differ");

public:
    /// Tolerances of x, y and z, whatever the order of the axes.
    engless_point_3D(double toleranceX, double toleranceY, double toleranceZ)
        : axes_{Axis(toleranceX), Axis(toleranceY), Axis(toleranceZ)}
    {
    }
    /// Whether @p a comes before @p b.
    bool operator()(const Point& a, const Point& b) const
    {
        if (const int first = Compare<First>(a, b); first != 0)
            return first < 0;
        const int second = Compare<Second>(a, b);
        return second != 0 ? second < 0 : Compare<Third>(a, b) < 0;
    }

private:
    using Axis = impl::engless_axis;

    template <int I>
    int Compare(const Point& a, const Point& b) const
    {
        return axes_[I - 1].compare(impl::engless_coordinate<I>(a), impl::engless_coordinate<I>(b));
    }

    Axis axes_[3];
};

} // namespace gtl
