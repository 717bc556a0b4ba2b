/// @file
/// A uniform grid over a box whose cells hold sets of identifiers.
#pragma once

#include "Geom/Geom_Cell.h"
#include "Geom/Geom_Circle2D.h"
#include "Geom/Geom_Extents2D.h"
#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_Point.h"
#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <cstdint>
#include <vector>

namespace Geom
{

/// Finds the lines or circles near a location: candidates by cell, to be tested by the caller. A
/// cell holds identifiers that the caller chose, such as the positions of lines in a vector; a cell
/// itself is identified by column and row, or by its number.
///
/// Every cell is widened by the process-wide half-epsilons, so objects on a boundary within the
/// tolerance belong to both cells. Cells are numbered by rows from the lower left: index = column +
/// NumX() * row. Lines and circles with a NaN, infinite or missing coordinate touch no cell. A box
/// without width (or height) has cells of zero width: objects at it are in column (row) 0.
///
/// Where memory runs out, what returns a status reports it, and the searches throw std::bad_alloc.
///
/// Threads: any number may read concurrently while none changes the table or the precision.
class KVI_API CellTable
{
public:
    /// The cells that a coordinate touches on one axis.
    struct RangeIdx
    {
        std::uint32_t first = MissingID();  ///< missing when no cell is touched
        std::uint32_t second = MissingID(); ///< missing when at most one cell is touched

        /// Exact equality.
        friend bool operator==(const RangeIdx&, const RangeIdx&) = default;
    };

    /// Steps through the boundaries of the cells of one axis, one more than there are cells.
    class BoundaryIterator
    {
    public:
        /// Boundary @p index of an axis that starts at @p origin with cells of @p size.
        BoundaryIterator(double origin, double size, std::uint32_t index)
            : origin_(origin), size_(size), index_(index)
        {
        }
        /// The coordinate of the boundary.
        double operator*() const { return origin_ + index_ * size_; }
        /// On to the next boundary.
        BoundaryIterator& operator++()
        {
            ++index_;
            return *this;
        }
        /// Of two iterators of the same axis.
        bool operator==(const BoundaryIterator& other) const { return index_ == other.index_; }

    private:
        double origin_, size_;
        std::uint32_t index_;
    };

    /// "No identifier": 4294967295, all bits set.
    static constexpr std::uint32_t MissingID() { return 0xffffffff; }

    /// Replaces all cells by @p columns x @p rows empty ones over @p extents. Memory: about 32
    /// bytes a cell, and when filled 4 bytes for each of a few identifiers, one bit for each up to
    /// the greatest where they are many. So 490,000 cells with two lines each take 30 MiB on 64-bit
    /// Linux.
    /// @param extents        the box; one that is empty or not finite gives a table without cells
    /// @param columns, rows  none gives a table without cells, too
    /// @param maximumId      the greatest identifier expected; has no effect
    /// @returns an error, with a table without cells, for more cells than MissingID() - 1 or memory
    gtl::status Initialize(const Extents2D& extents, std::uint32_t columns, std::uint32_t rows,
                           std::uint32_t maximumId);
    /// Adds @p id to a cell.
    /// @returns an error, with nothing changed, for a cell outside the table, for the missing
    ///          identifier, and when memory runs out
    gtl::status Assign(std::uint32_t column, std::uint32_t row, std::uint32_t id);
    /// Adds each line's index in @p lines to every cell whose box, widened by the half-epsilons,
    /// the line meets.
    /// @returns an error when memory runs out; lines before the one at which it did are assigned
    gtl::status Assign(const std::vector<Line2D>& lines);
    /// Removes @p id from every cell. Time proportional to the cells.
    void Remove(std::uint32_t id);

    /// The cell that holds @p point: of those it touches, the first on each axis; end() when it
    /// lies outside.
    const Cell* Find(const Point2D& point) const;
    /// Replaces @p ids by the identifiers in the cells that a circle touches, ascending.
    /// @param marginX, marginY  distances by which each cell is widened beyond the half-epsilons
    /// @param withInside        true: the disc; false: the rim alone
    /// @throws std::bad_alloc when memory runs out; @p ids are then unspecified
    void FindAll(std::vector<std::uint32_t>& ids, const Circle2D& circle, double marginX,
                 double marginY, bool withInside) const;
    /// Replaces @p ids by the identifiers in the cells that Assign(lines) would add to, ascending.
    /// @throws std::bad_alloc when memory runs out; @p ids are then unspecified
    void FindAll(std::vector<std::uint32_t>& ids, const std::vector<Line2D>& lines) const;

    /// The box of a cell, from MinX() + column x width to MinX() + (column + 1) x width, and so on.
    Extents2D GetCell2D(std::uint32_t column, std::uint32_t row) const;
    /// @{
    /// The columns or rows that a coordinate touches: at most two, the lower first. One outside the
    /// box by less than the half-epsilon touches the outermost, NaN none. In cells narrower than
    /// the tolerance they are those of the coordinate less and plus the half-epsilon.
    RangeIdx GetXCellIdx(double x) const;
    /// The rows that @p y touches, as GetXCellIdx.
    RangeIdx GetYCellIdx(double y) const;
    /// @}

    std::uint32_t CellIdx(std::uint32_t column, std::uint32_t row) const; ///< number of a cell
    std::uint32_t CellIdxX(std::uint32_t index) const;                    ///< column of a cell
    std::uint32_t CellIdxY(std::uint32_t index) const;                    ///< row of a cell
    /// @{
    /// A cell by column and row, or by number. For one outside the table an empty cell that is not
    /// part of it: additions to it are lost.
    Cell& At(std::uint32_t column, std::uint32_t row) { return At(NumberOf(column, row)); }
    /// The same of a constant table.
    const Cell& At(std::uint32_t column, std::uint32_t row) const
    {
        return At(NumberOf(column, row));
    }
    /// The cell with number @p index, or an empty one.
    Cell& At(std::uint32_t index) { return index < cells_.size() ? cells_[index] : Outside(); }
    /// The same of a constant table.
    const Cell& At(std::uint32_t index) const
    {
        return index < cells_.size() ? cells_[index] : NoCell();
    }
    /// @}

    std::uint32_t NumX() const { return x_.count; }                   ///< columns
    std::uint32_t NumY() const { return y_.count; }                   ///< rows
    std::uint32_t NumCells() const;                                   ///< columns times rows
    double MinX() const { return x_.low; }                            ///< least x of the box
    double MaxX() const { return x_.high; }                           ///< greatest x of the box
    double MinY() const { return y_.low; }                            ///< least y of the box
    double MaxY() const { return y_.high; }                           ///< greatest y of the box
    const Cell* begin() const { return cells_.data(); }               ///< the first cell
    const Cell* end() const { return cells_.data() + cells_.size(); } ///< past the last cell
    BoundaryIterator beginX() const { return {x_.low, x_.size, 0}; }  ///< the first boundary on x
    BoundaryIterator endX() const { return {x_.low, x_.size, x_.Boundaries()}; } ///< past the last
    BoundaryIterator beginY() const { return {y_.low, y_.size, 0}; } ///< the first boundary on y
    BoundaryIterator endY() const { return {y_.low, y_.size, y_.Boundaries()}; } ///< past the last

protected:
    /// @{
    /// The first index of the coordinate's range.
    std::uint32_t GetIdxX(double x) const { return GetXCellIdx(x).first; }
    /// The first row that @p y touches.
    std::uint32_t GetIdxY(double y) const { return GetYCellIdx(y).first; }
    /// @}
    /// The number of the cell that holds @p point, or the missing identifier.
    std::uint32_t CellIdx(const Point2D& point) const;
    /// @{
    /// Whether a coordinate lies within the box on its axis, ends included, without tolerance.
    bool IsValidX(double x) const { return x >= x_.low && x <= x_.high; }
    /// Whether @p y lies within the box, ends included, without tolerance.
    bool IsValidY(double y) const { return y >= y_.low && y <= y_.high; }
    /// @}

private:
    struct Axis
    {
        double low = 0, high = 0, size = 0;
        std::uint32_t count = 0;

        std::uint32_t Boundaries() const { return count == 0 ? 0 : count + 1; }
        std::uint32_t Clamped(double v) const;
        RangeIdx Touched(double v, double halfEpsilon) const;
    };
    template <class Visit>
    void ForCellsOf(const Line2D& line, const Visit& visit) const;
    /// The number of a cell, or the missing identifier for one outside.
    std::uint32_t NumberOf(std::uint32_t column, std::uint32_t row) const
    {
        return column < NumX() && row < NumY() ? CellIdx(column, row) : MissingID();
    }
    Cell& Outside() { return outside_ = Cell(); }
    static const Cell& NoCell();

    std::vector<Cell> cells_;
    Axis x_, y_;
    Cell outside_; ///< for callers of At with a wrong cell
};

} // namespace Geom
