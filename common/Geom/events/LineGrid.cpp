#include "Geom/events/LineGrid.h"

#include "Geom/exact/Plane.h"

#include <cmath>
#include <emmintrin.h>
#include <stdexcept>

namespace geom
{
namespace
{
constexpr double kCellsPerLine = 1; // at most
constexpr double kBoxesPerCell = 3; // lengths of a line's box along a cell, on average

/// Number of cells along an axis of which the boxes cover the fraction @p share on average; one
/// where more would not be worth it. Long cells mean more tested pairs, short ones more entries;
/// tests are cheaper.
double CellsFor(double share, double most)
{
    return share > 0.16 ? 1 : share * kBoxesPerCell * most > 1 ? 1 / (share * kBoxesPerCell) : most;
}

GridAxis AxisOf(double from, double length, double cells)
{
    const double count = std::max(1.0, std::floor(cells));
    const double perUnit = count > 1 ? count / length : 0;
    return std::isfinite(perUnit) ? GridAxis{from, perUnit, std::uint32_t(count)} : GridAxis{};
}

/// Two numbers, for x and for y.
__m128d Both(double forX, double forY) { return _mm_setr_pd(forX, forY); }

/// A line's box by its corners, widened by the tolerance.
struct Corners
{
    Corners(const Line2D& line, const GridTolerance& tolerance)
    {
        const __m128d a = _mm_loadu_pd(&line.first.x), b = _mm_loadu_pd(&line.second.x);
        const __m128d reach = Both(tolerance.reachX, tolerance.reachY);
        low = _mm_sub_pd(_mm_min_pd(a, b), reach);
        high = _mm_add_pd(_mm_max_pd(a, b), reach);
    }
    __m128d low, high;
};

/// GridAxis::CellOf for both axes at once.
class CellsOf
{
public:
    CellsOf(const GridAxis& x, const GridAxis& y)
        : from_(Both(x.from, y.from)), perUnit_(Both(x.perUnit, y.perUnit)),
          last_(Both(x.count - 1.0, y.count - 1.0))
    {
    }
    /// The numbers in the low half.
    __m128i operator()(__m128d point) const
    {
        const __m128d cells = _mm_mul_pd(_mm_sub_pd(point, from_), perUnit_);
        return _mm_cvttpd_epi32(_mm_min_pd(_mm_max_pd(cells, _mm_setzero_pd()), last_));
    }

private:
    __m128d from_, perUnit_, last_;
};
} // namespace

GridTolerance GridTolerance::For(const Point2D& most, double hx, double hy)
{
    const double slack = 1 + 0x1p-40;
    const double x = hx * slack + most.x * 0x1p-46, y = hy * slack + most.y * 0x1p-46;
    return {x, y, x, y};
}

double GridTolerance::MarginOf(const Line2D& line) const
{
    return sideX * std::fabs(line.second.y - line.first.y) +
           sideY * std::fabs(line.second.x - line.first.x) + kUnderflowError;
}

void LineGrid::Lay(const LineSet2D& lines, const std::vector<GridMember>& members,
                   const GridTolerance& tolerance, const Extents2D& region, double mostCells)
{
    const __m128d regionLow = Both(region.minX, region.minY);
    const __m128d regionHigh = Both(region.maxX, region.maxY);
    __m128d low = Both(Extents2D().minX, Extents2D().minY);
    __m128d high = Both(Extents2D().maxX, Extents2D().maxY);
    __m128d sums = _mm_setzero_pd();
    for (const GridMember& member : members)
    {
        const Corners box(lines[member.line], tolerance);
        const __m128d boxLow = _mm_max_pd(box.low, regionLow);
        const __m128d boxHigh = _mm_min_pd(box.high, regionHigh);
        sums = _mm_add_pd(sums, _mm_max_pd(_mm_sub_pd(boxHigh, boxLow), _mm_setzero_pd()));
        low = _mm_min_pd(low, boxLow);
        high = _mm_max_pd(high, boxHigh);
    }
    Point2D from, sizes, sumOfSizes;
    _mm_storeu_pd(&from.x, low);
    _mm_storeu_pd(&sizes.x, _mm_sub_pd(high, low));
    _mm_storeu_pd(&sumOfSizes.x, sums);
    const double n = double(members.size()), most = std::clamp(n * kCellsPerLine, 1.0, mostCells);
    double nx = sizes.x > 0 ? CellsFor(sumOfSizes.x / n / sizes.x, most) : 1;
    double ny = sizes.y > 0 ? CellsFor(sumOfSizes.y / n / sizes.y, most) : 1;
    if (nx * ny > most)
    {
        const double factor = std::sqrt(most / (nx * ny));
        nx *= factor;
        ny *= factor;
        if (nx < 1)
            ny *= nx;
        if (ny < 1)
            nx *= ny;
    }
    x = AxisOf(from.x, sizes.x, nx);
    y = AxisOf(from.y, sizes.y, ny);
    const CellsOf cellsOf(x, y);
    covers.resize(members.size());
    for (std::size_t i = 0; i < members.size(); ++i)
    {
        const Corners box(lines[members[i].line], tolerance);
        const __m128i cells = _mm_unpacklo_epi64(cellsOf(box.low), cellsOf(box.high));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(&covers[i]), cells);
    }
}

template <class Action>
void LineGrid::EachCell(const GridCover& cover, Action&& action) const
{
    if (cover.IsLong())
        return;
    for (std::uint32_t cy = cover.y0; cy <= cover.y1; ++cy)
        for (std::uint32_t cx = cover.x0; cx <= cover.x1; ++cx)
            action(cx, cy);
}

void LineGrid::Enter(const LineSet2D& lines, const std::vector<GridMember>& members,
                     const GridTolerance& tolerance)
{
    starts.assign(Cells() + 1, 0);
    for (const GridCover& cover : covers)
        EachCell(cover, [&](std::uint32_t cx, std::uint32_t cy) { ++starts[CellAt(cx, cy)]; });
    std::size_t rows = 0;
    for (std::size_t& start : starts)
        start = rows += start; // where the cell ends, for now
    if (rows > 0xffffffffu)
        throw std::length_error("Geom: too many lines");
    memberOf.resize(rows);
    flags.resize(rows + kPairPadding);
    for (std::size_t i = members.size(); i-- > 0;)
    {
        const GridCover& cover = covers[i];
        EachCell(cover, [&](std::uint32_t cx, std::uint32_t cy) {
            const std::size_t row = --starts[CellAt(cx, cy)];
            memberOf[row] = std::uint32_t(i);
            flags[row] = members[i].flags << 2 | (cx == cover.x0 ? kBeginsInColumn : 0) |
                         (cy == cover.y0 ? kBeginsInRow : 0);
        });
    }
    for (std::vector<double>* array : {&ax, &ay, &bx, &by, &margin})
        array->resize(rows + kPairPadding);
    for (std::size_t row = 0; row < rows; ++row) // one after another, which is cache-friendly
    {
        const Line2D& line = lines[members[memberOf[row]].line];
        const bool isToRight = line.first.x <= line.second.x;
        const Point2D& a = isToRight ? line.first : line.second;
        const Point2D& b = isToRight ? line.second : line.first;
        ax[row] = a.x;
        ay[row] = a.y;
        bx[row] = b.x;
        by[row] = b.y;
        margin[row] = tolerance.MarginOf(line);
    }
}

void LineGrid::Split(std::size_t secondFrom)
{
    splits.resize(Cells());
    for (std::size_t cell = 0; cell < splits.size(); ++cell)
    {
        const auto begin = memberOf.begin() + std::ptrdiff_t(starts[cell]);
        const auto end = memberOf.begin() + std::ptrdiff_t(starts[cell + 1]);
        splits[cell] = std::size_t(std::lower_bound(begin, end, secondFrom) - memberOf.begin());
    }
}

GridCover LineGrid::CoverOf(const Line2D& line, const GridTolerance& tolerance) const
{
    const auto [left, right] = std::minmax({line.first.x, line.second.x});
    const auto [bottom, top] = std::minmax({line.first.y, line.second.y});
    return {x.CellOf(left - tolerance.reachX), y.CellOf(bottom - tolerance.reachY),
            x.CellOf(right + tolerance.reachX), y.CellOf(top + tolerance.reachY)};
}

Extents2D LineGrid::RegionOf(std::size_t cell) const
{
    const std::size_t column = cell % x.count, row = cell / x.count;
    const double cx = double(column), cy = double(row);
    const double width = x.perUnit > 0 ? 1 / x.perUnit : MissingValue<double>();
    const double height = y.perUnit > 0 ? 1 / y.perUnit : MissingValue<double>();
    return {x.from + cx * width, x.from + (cx + 1) * width, y.from + cy * height,
            y.from + (cy + 1) * height};
}

PairRows LineGrid::Rows(const GridTolerance& tolerance) const
{
    return {ax.data(),     ay.data(),    bx.data(),        by.data(),
            margin.data(), flags.data(), tolerance.reachX, tolerance.reachY};
}

} // namespace geom
