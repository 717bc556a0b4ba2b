/// @file
/// @internal A flat grid of lines for finding the pairs of them that may meet.
#pragma once

#include "Geom/Geom_Extents2D.h"
#include "Geom/Geom_LineEvent.h"
#include "Geom/events/LinePairKernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace geom
{

using Geom::Extents2D;
using Geom::Line2D;
using Geom::LineSet2D;
using Geom::Point2D;

/// A line of a search by its position, with its flags from the enclosing cells.
struct GridMember
{
    std::uint32_t line, flags;
};

/// Distances within which a pair of lines is tested exactly.
struct GridTolerance
{
    double reachX = 0, reachY = 0; ///< between boxes: half-epsilons and the rounding of coordinates
    double sideX = 0, sideY = 0;   ///< in cross products: half-epsilons and their rounding

    /// For lines of which no coordinate exceeds @p most in size.
    static GridTolerance For(const Point2D& most, double hx, double hy);
    /// How far from 0 a cross product with @p line must be for a certain side.
    double MarginOf(const Line2D& line) const;
};

/// Numbers of the first and the last cell that a line's box reaches.
struct GridCover
{
    std::uint32_t x0, y0, x1, y1;

    /// Whether the line covers so many cells in both directions that it is not entered in them.
    /// With cells longer than the average box this holds for few lines.
    bool IsLong() const
    {
        return x1 - x0 > 2 && y1 - y0 > 2 && std::size_t(x1 - x0 + 1) * (y1 - y0 + 1) > 48;
    }
};

/// One axis of a grid: a monotone map from coordinates to cell numbers, whatever the coordinate.
struct GridAxis
{
    double from = 0, perUnit = 0;
    std::uint32_t count = 1;

    std::uint32_t CellOf(double v) const
    {
        const double cell = (v - from) * perUnit;
        return cell > 0 ? std::uint32_t(std::min(cell, count - 1.0)) : 0;
    }
};

/// Lines entered in every cell that their boxes reach, as rows in the order of the cells.
///
/// Two lines share the cells that both their boxes reach. Exactly one of these has one of the boxes
/// beginning in its column and one in its row: there the flags of the two together are complete.
struct LineGrid
{
    static constexpr std::uint32_t kBeginsInColumn = 1, kBeginsInRow = 2;

    /// Chooses the cells and finds the members' covers.
    /// @param lines      the set
    /// @param members    lines of it
    /// @param tolerance  by which boxes are widened
    /// @param region     the part of the boxes that counts
    /// @param mostCells  no more cells than these
    void Lay(const LineSet2D& lines, const std::vector<GridMember>& members,
             const GridTolerance& tolerance, const Extents2D& region, double mostCells);
    /// Enters the members that are not long, in a cell in ascending order.
    /// @throws std::length_error for more than 2^32 - 1 rows
    void Enter(const LineSet2D& lines, const std::vector<GridMember>& members,
               const GridTolerance& tolerance);
    /// Finds the splits of the cells, where the members from @p secondFrom on are the second set.
    void Split(std::size_t secondFrom);
    /// The cells that the box of any line reaches.
    GridCover CoverOf(const Line2D& line, const GridTolerance& tolerance) const;
    /// Calls action(begin, end) for ranges of rows that hold all lines in the cells along @p line:
    /// row of cells by row, those between the abscissae at which the line enters and leaves the
    /// row, and what rounding adds.
    template <class Action>
    void ForRowsAlong(const Line2D& line, const GridCover& cover, const GridTolerance& tolerance,
                      Action&& action) const;

    std::size_t Cells() const { return std::size_t(x.count) * y.count; }
    std::size_t CellAt(std::uint32_t cx, std::uint32_t cy) const
    {
        return std::size_t(cy) * x.count + cx;
    }
    /// The part of the plane that is cell @p cell; border cells are not unbounded here.
    Extents2D RegionOf(std::size_t cell) const;
    PairRows Rows(const GridTolerance& tolerance) const;

    GridAxis x, y;
    std::vector<GridCover> covers;       ///< of the members
    std::vector<std::size_t> starts;     ///< first row of each cell, and the end
    std::vector<std::size_t> splits;     ///< first row of the second set in each cell, if split
    std::vector<std::uint32_t> memberOf; ///< of the rows: numbers among the members
    std::vector<std::uint32_t> flags;    ///< of the rows: the member's, and two of this grid
    std::vector<double> ax, ay, bx, by, margin;

private:
    template <class Action>
    void EachCell(const GridCover& cover, Action&& action) const;
};

template <class Action>
void LineGrid::ForRowsAlong(const Line2D& line, const GridCover& cover,
                            const GridTolerance& tolerance, Action&& action) const
{
    const bool isRising = line.first.y <= line.second.y;
    const Point2D& low = isRising ? line.first : line.second;
    const Point2D& high = isRising ? line.second : line.first;
    const double height = 1 / y.perUnit;
    const bool isSteep = high.y - low.y > height; // else the tolerance spans the rows
    const double perY = isSteep ? (high.x - low.x) / (high.y - low.y) : 0;
    const double reachX = tolerance.reachX + std::fabs(perY) * (tolerance.reachY + 1e-6 * height);
    const auto abscissaAt = [&](double at) {
        return low.x + (std::clamp(at, low.y, high.y) - low.y) * perY;
    };
    for (std::uint32_t cy = cover.y0; cy <= cover.y1; ++cy)
    {
        const double from = y.from + cy * height;
        const double enters = cy == cover.y0 || !isSteep ? low.x : abscissaAt(from);
        const double leaves = cy == cover.y1 || !isSteep ? high.x : abscissaAt(from + height);
        const std::uint32_t x0 = x.CellOf(std::min(enters, leaves) - reachX);
        const std::uint32_t x1 = x.CellOf(std::max(enters, leaves) + reachX);
        action(starts[CellAt(x0, cy)], starts[CellAt(x1, cy) + 1]);
    }
}

} // namespace geom
