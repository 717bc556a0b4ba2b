/// @file
/// A uniform grid over a box whose cells hold sets of identifiers.
#pragma once

#include "Geom/Geom_Cell.h"
#include "Geom/Geom_Circle2D.h"
#include "Geom/Geom_Extents2D.h"
#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_Point.h"
#include "foundation/kvi_export.h"

#include <cstdint>
#include <vector>

namespace Geom
{

/// Answers which lines or circles come near a place: candidates by cell, to be judged by the
/// caller.
///
/// Every cell reaches out by the process-wide half-epsilons, so what lies on a boundary within the
/// tolerance belongs to both cells. Cells are numbered by rows from the lower left:
/// index = column + NumX() * row. Lines and circles with a NaN, infinite or missing coordinate
/// touch no cell. A box without width (or height) has cells of no width: whatever lies at it is in
/// column (row) 0.
///
/// Threads: any number may read at once while none changes the table or the precision.
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

    /// Drops all cells and makes @p columns x @p rows empty ones over @p extents, which expect
    /// identifiers up to @p maximumId (a cell sets room for them aside when it gets its first).
    /// A box that is empty or not finite, and more cells than MissingID() - 1 or memory, give a
    /// table without cells; the latter is logged.
    void Initialize(const Extents2D& extents, std::uint32_t columns, std::uint32_t rows,
                    std::uint32_t maximumId);
    /// Adds @p id to a cell. @returns false for a cell outside the table and the missing identifier
    bool Assign(std::uint32_t column, std::uint32_t row, std::uint32_t id);
    /// Adds each line's index in @p lines to every cell whose box, widened by the half-epsilons,
    /// the line meets.
    void Assign(const std::vector<Line2D>& lines);
    /// Removes @p id from every cell.
    void Remove(std::uint32_t id);

    /// The cell that holds @p point: of those it touches, the first on each axis; end() when it
    /// lies outside.
    const Cell* Find(const Point2D& point) const;
    /// Replaces @p ids by the identifiers of the cells that a circle touches, ascending.
    /// @param marginX, marginY  distances by which each cell reaches out beyond the half-epsilons
    /// @param withInside        true: the disc; false: the rim alone
    void FindAll(std::vector<std::uint32_t>& ids, const Circle2D& circle, double marginX,
                 double marginY, bool withInside) const;
    /// Replaces @p ids by the identifiers of the cells that Assign(lines) would add to, ascending.
    void FindAll(std::vector<std::uint32_t>& ids, const std::vector<Line2D>& lines) const;

    /// The box of a cell, from MinX() + column x width to MinX() + (column + 1) x width, and so on.
    Extents2D GetCell2D(std::uint32_t column, std::uint32_t row) const;
    /// @{
    /// The columns or rows that a coordinate touches: at most two, the lower first. One outside the
    /// box by less than the half-epsilon touches the outermost, NaN none. In cells narrower than
    /// the tolerance they are those of the coordinate less and plus the half-epsilon.
    RangeIdx GetXCellIdx(double x) const;
    RangeIdx GetYCellIdx(double y) const;
    /// @}

    std::uint32_t CellIdx(std::uint32_t column, std::uint32_t row) const; ///< number of a cell
    std::uint32_t CellIdxX(std::uint32_t index) const;                    ///< column of a cell
    std::uint32_t CellIdxY(std::uint32_t index) const;                    ///< row of a cell
    /// @{
    /// A cell of the table.
    Cell& At(std::uint32_t column, std::uint32_t row) { return cells_[CellIdx(column, row)]; }
    const Cell& At(std::uint32_t column, std::uint32_t row) const
    {
        return cells_[CellIdx(column, row)];
    }
    Cell& At(std::uint32_t index) { return cells_[index]; }
    const Cell& At(std::uint32_t index) const { return cells_[index]; }
    /// @}

    std::uint32_t NumX() const { return x_.count; }                   ///< columns
    std::uint32_t NumY() const { return y_.count; }                   ///< rows
    std::uint32_t NumCells() const;                                   ///< columns times rows
    double MinX() const { return x_.low; }                            ///< least x of the box
    double MaxX() const { return x_.high; }                           ///< greatest x of the box
    double MinY() const { return y_.low; }                            ///< least y of the box
    double MaxY() const { return y_.high; }                           ///< greatest y of the box
    const Cell* begin() const { return cells_.data(); }               ///< the first cell
    const Cell* end() const { return cells_.data() + cells_.size(); } ///< behind the last cell
    BoundaryIterator beginX() const { return {x_.low, x_.size, 0}; }  ///< the first boundary on x
    BoundaryIterator endX() const
    {
        return {x_.low, x_.size, x_.Boundaries()};
    }                                                                ///< behind the last
    BoundaryIterator beginY() const { return {y_.low, y_.size, 0}; } ///< the first boundary on y
    BoundaryIterator endY() const
    {
        return {y_.low, y_.size, y_.Boundaries()};
    } ///< behind the last

protected:
    /// @{
    /// The first index of the coordinate's range.
    std::uint32_t GetIdxX(double x) const { return GetXCellIdx(x).first; }
    std::uint32_t GetIdxY(double y) const { return GetYCellIdx(y).first; }
    /// @}
    /// The number of the cell that holds @p point, or the missing identifier.
    std::uint32_t CellIdx(const Point2D& point) const;
    /// @{
    /// Whether a coordinate lies within the box on its axis, ends included, without tolerance.
    bool IsValidX(double x) const { return x >= x_.low && x <= x_.high; }
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

    std::vector<Cell> cells_;
    Axis x_, y_;
    std::uint32_t maximumId_ = 0;
};

} // namespace Geom
