#include "Geom/Geom_LineGrid_impl.h"

#include <cmath>
#include <stdexcept>

namespace Geom::impl
{
namespace
{
constexpr double kCellsPerLine = 1; // at most
constexpr double kBoxesPerCell = 3; // lengths of a line's box along a cell, on average

/// Cells along an axis of which the boxes take the share @p share on average; one where more would
/// not pay. Long cells want more pairs tested, short ones more entries; tests are cheaper.
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
} // namespace

double GridTolerance::MarginOf(const Line2D& line) const
{
    return sideX * std::fabs(line.second.y - line.first.y) +
           sideY * std::fabs(line.second.x - line.first.x);
}

Extents2D BoxOf(const Line2D& line)
{
    return {std::min(line.first.x, line.second.x), std::max(line.first.x, line.second.x),
            std::min(line.first.y, line.second.y), std::max(line.first.y, line.second.y)};
}

void LineGrid::Lay(const LineSet2D& lines, const std::vector<GridMember>& members,
                   const GridTolerance& tolerance, const Extents2D& region)
{
    Extents2D all;
    double widths = 0, heights = 0;
    for (const GridMember& member : members)
    {
        const Extents2D box = BoxOf(lines[member.line]);
        const double left = std::max(box.minX - tolerance.reachX, region.minX);
        const double right = std::min(box.maxX + tolerance.reachX, region.maxX);
        const double low = std::max(box.minY - tolerance.reachY, region.minY);
        const double high = std::min(box.maxY + tolerance.reachY, region.maxY);
        widths += std::max(right - left, 0.0);
        heights += std::max(high - low, 0.0);
        all = {std::min(all.minX, left), std::max(all.maxX, right), std::min(all.minY, low),
               std::max(all.maxY, high)};
    }
    const double n = double(members.size()), most = std::max(1.0, n * kCellsPerLine);
    const double width = WidthOf(all), height = HeightOf(all);
    double nx = width > 0 ? CellsFor(widths / n / width, most) : 1;
    double ny = height > 0 ? CellsFor(heights / n / height, most) : 1;
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
    x = AxisOf(all.minX, width, nx);
    y = AxisOf(all.minY, height, ny);
    covers.clear();
    covers.reserve(members.size());
    for (const GridMember& member : members)
    {
        const Extents2D box = BoxOf(lines[member.line]);
        covers.push_back(
            {x.CellOf(box.minX - tolerance.reachX), x.CellOf(box.maxX + tolerance.reachX),
             y.CellOf(box.minY - tolerance.reachY), y.CellOf(box.maxY + tolerance.reachY)});
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
    for (std::vector<double>* array : {&ax, &ay, &bx, &by, &margin})
        array->resize(rows + kPairPadding);
    memberOf.resize(rows);
    flags.resize(rows);
    for (std::size_t i = members.size(); i-- > 0;)
    {
        const GridCover& cover = covers[i];
        const Line2D& line = lines[members[i].line];
        const double lineMargin = tolerance.MarginOf(line);
        EachCell(cover, [&](std::uint32_t cx, std::uint32_t cy) {
            const std::size_t row = --starts[CellAt(cx, cy)];
            ax[row] = line.first.x;
            ay[row] = line.first.y;
            bx[row] = line.second.x;
            by[row] = line.second.y;
            margin[row] = lineMargin;
            memberOf[row] = std::uint32_t(i);
            flags[row] = members[i].flags << 2 | (cx == cover.x0 ? kBeginsInColumn : 0) |
                         (cy == cover.y0 ? kBeginsInRow : 0);
        });
    }
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

} // namespace Geom::impl
