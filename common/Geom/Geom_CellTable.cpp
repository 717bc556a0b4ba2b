#include "Geom/Geom_CellTable.h"

#include "Geom/exact/Plane.h"
#include "foundation/KviError.h"

#include <stdexcept>

namespace Geom
{
namespace
{

/// Runs an action that may run out of memory, and reports that.
template <class Action>
gtl::status WithMemory(const Action& action)
{
    try
    {
        action();
        return {};
    }
    catch (const std::exception&) // bad_alloc or length_error
    {
        return KviError::err_sysserv(L"operator new", L"there is no memory for the table of cells");
    }
}

/// Collects identifiers of cells, each once. Several cells may hold the same one: duplicates are
/// removed whenever the list has doubled, so that memory is proportional to the distinct ones.
class IdCollector
{
public:
    explicit IdCollector(std::vector<std::uint32_t>& ids) : ids_(ids) {}
    void Add(const Cell& cell)
    {
        cell.Append(ids_);
        if (ids_.size() > 2 * sorted_ + 4096)
            Finish();
    }
    void Finish()
    {
        std::sort(ids_.begin(), ids_.end());
        ids_.erase(std::unique(ids_.begin(), ids_.end()), ids_.end());
        sorted_ = ids_.size();
    }

private:
    std::vector<std::uint32_t>& ids_;
    std::size_t sorted_ = 0;
};

/// The least and greatest ordinate of the segment between two abscissae that it reaches.
std::pair<double, double> RangeBetween(const Point2D& left, const Point2D& right, double from,
                                       double to)
{
    const auto at = [&](double x) {
        if (x <= left.x)
            return left.y;
        if (x >= right.x)
            return right.y;
        const double t = (x * 0.5 - left.x * 0.5) / (right.x * 0.5 - left.x * 0.5);
        return geom::Clamped(left.y * (1 - t) + right.y * t, left.y, right.y);
    };
    // A steep segment may cover a whole column at one abscissa.
    if (left.x == right.x)
        return std::minmax(left.y, right.y);
    const double first = at(from), last = at(to);
    return std::minmax(first, last);
}

/// A bound of the rounding of a coordinate computed from @p a and @p b.
double RoundingOf(double a, double b) { return (std::fabs(a) + std::fabs(b)) * 0x1p-50; }

/// Least and greatest distance from @p v to the points from @p low to @p high.
std::pair<double, double> DistancesTo(double v, double low, double high)
{
    return {std::max({0.0, low - v, v - high}), std::max(std::fabs(low - v), std::fabs(high - v))};
}

} // namespace

gtl::status CellTable::Initialize(const Extents2D& extents, std::uint32_t columns,
                                  std::uint32_t rows, std::uint32_t /*maximumId*/)
{
    *this = CellTable();
    const double width = WidthOf(extents), height = HeightOf(extents);
    const std::uint64_t count = std::uint64_t{columns} * rows;
    if (!(width >= 0 && height >= 0) || !std::isfinite(width) || !std::isfinite(height) ||
        count == 0)
        return {};
    const auto makeCells = [&] {
        if (count >= MissingID())
            throw std::length_error("cells");
        cells_.resize(static_cast<std::size_t>(count));
    };
    if (gtl::status made = WithMemory(makeCells); !made.ok())
        return made;
    x_ = {extents.minX, extents.maxX, width / columns, columns};
    y_ = {extents.minY, extents.maxY, height / rows, rows};
    return {};
}

gtl::status CellTable::Assign(std::uint32_t column, std::uint32_t row, std::uint32_t id)
{
    if (column >= NumX() || row >= NumY())
        return gtl::status(L"The cell is not in the table.");
    if (id == MissingID())
        return gtl::status(L"The missing identifier cannot be assigned to a cell.");
    return WithMemory([&] { At(column, row).Add(id); });
}

/// Column by column: the line's range of y within the column gives the rows.
template <class Visit>
void CellTable::ForCellsOf(const Line2D& line, const Visit& visit) const
{
    if (cells_.empty() || !geom::AreUsable({line.first, line.second}))
        return;
    const double hx = Precision().halfEpsilon[0], hy = Precision().halfEpsilon[1];
    const bool isForward = line.first.x <= line.second.x;
    const Point2D &left = isForward ? line.first : line.second,
                  &right = isForward ? line.second : line.first;
    if (left.x - hx > x_.high || right.x + hx < x_.low)
        return;
    const std::uint32_t last = x_.Clamped(right.x + hx);
    for (std::uint32_t column = x_.Clamped(left.x - hx); column <= last; ++column)
    {
        // The outermost columns take what lies beyond the box within the tolerance anyway.
        const double from = x_.low + column * x_.size - hx - RoundingOf(x_.low, x_.high);
        const double to = x_.low + (column + 1.0) * x_.size + hx + RoundingOf(x_.low, x_.high);
        const auto [low, high] = RangeBetween(left, right, from, to);
        const double reach = hy + RoundingOf(left.y, right.y);
        if (low - reach > y_.high || high + reach < y_.low)
            continue;
        const std::uint32_t top = y_.Clamped(high + reach);
        for (std::uint32_t row = y_.Clamped(low - reach); row <= top; ++row)
            visit(column, row);
    }
}

gtl::status CellTable::Assign(const std::vector<Line2D>& lines)
{
    return WithMemory([&] {
        for (std::uint32_t id = 0; id < lines.size() && id != MissingID(); ++id)
            ForCellsOf(lines[id],
                       [&](std::uint32_t column, std::uint32_t row) { At(column, row).Add(id); });
    });
}

void CellTable::Remove(std::uint32_t id)
{
    for (Cell& cell : cells_)
        cell.Remove(id);
}

const Cell* CellTable::Find(const Point2D& point) const
{
    const std::uint32_t index = CellIdx(point);
    return index == MissingID() ? end() : begin() + index;
}

void CellTable::FindAll(std::vector<std::uint32_t>& ids, const Circle2D& circle, double marginX,
                        double marginY, bool withInside) const
{
    ids.clear();
    const Point2D& c = circle.centre;
    const double r = circle.radius;
    if (cells_.empty() || !geom::IsUsable(c) || !(r >= 0))
        return;
    const double reachX = Precision().halfEpsilon[0] + std::max(0.0, marginX);
    const double reachY = Precision().halfEpsilon[1] + std::max(0.0, marginY);
    const std::uint32_t lastX = x_.Clamped(c.x + r + reachX), lastY = y_.Clamped(c.y + r + reachY);
    IdCollector found(ids);
    for (std::uint32_t row = y_.Clamped(c.y - r - reachY); row <= lastY; ++row)
        for (std::uint32_t column = x_.Clamped(c.x - r - reachX); column <= lastX; ++column)
        {
            const Extents2D box = GetCell2D(column, row);
            const auto [nearX, farX] = DistancesTo(c.x, box.minX - reachX, box.maxX + reachX);
            const auto [nearY, farY] = DistancesTo(c.y, box.minY - reachY, box.maxY + reachY);
            if (geom::LengthOf({nearX, nearY}) <= r &&
                (withInside || geom::LengthOf({farX, farY}) >= r))
                found.Add(At(column, row));
        }
    found.Finish();
}

void CellTable::FindAll(std::vector<std::uint32_t>& ids, const std::vector<Line2D>& lines) const
{
    ids.clear();
    IdCollector found(ids);
    for (const Line2D& line : lines)
        ForCellsOf(line,
                   [&](std::uint32_t column, std::uint32_t row) { found.Add(At(column, row)); });
    found.Finish();
}

Extents2D CellTable::GetCell2D(std::uint32_t column, std::uint32_t row) const
{
    return {x_.low + column * x_.size, x_.low + (column + 1.0) * x_.size, y_.low + row * y_.size,
            y_.low + (row + 1.0) * y_.size};
}

/// The cell of @p v, the outermost for what lies outside.
std::uint32_t CellTable::Axis::Clamped(double v) const
{
    const double cell = (v - low) / size;
    if (!(cell > 0) || !(size > 0)) // also of cells without size
        return 0;
    return static_cast<std::uint32_t>(std::min(cell, count - 1.0));
}

CellTable::RangeIdx CellTable::Axis::Touched(double v, double halfEpsilon) const
{
    RangeIdx range;
    if (count == 0 || std::isnan(v))
        return range;
    if (v < low)
        range.first = v + halfEpsilon > low ? 0 : MissingID();
    else if (v > high)
        range.first = high > v - halfEpsilon ? Clamped(high) : MissingID();
    else if (size > 0)
    {
        const double lower = std::trunc((v - halfEpsilon - low) / size);
        const double upper = std::trunc((v + halfEpsilon - low) / size);
        if (lower >= 0)
            range.first = static_cast<std::uint32_t>(std::min(lower, count - 1.0));
        if (upper != lower && upper <= count - 1.0)
            (range.first == MissingID() ? range.first : range.second) =
                static_cast<std::uint32_t>(upper);
        // Cells so narrow that both fall outside: the cell of the coordinate itself.
        if (range.first == MissingID())
            range.first = Clamped(v);
    }
    else
        range.first = 0;
    return range;
}

CellTable::RangeIdx CellTable::GetXCellIdx(double x) const
{
    return x_.Touched(x, Precision().halfEpsilon[0]);
}

CellTable::RangeIdx CellTable::GetYCellIdx(double y) const
{
    return y_.Touched(y, Precision().halfEpsilon[1]);
}

std::uint32_t CellTable::CellIdx(std::uint32_t column, std::uint32_t row) const
{
    return column + NumX() * row;
}

std::uint32_t CellTable::CellIdx(const Point2D& point) const
{
    const std::uint32_t column = GetIdxX(point.x), row = GetIdxY(point.y);
    return column == MissingID() || row == MissingID() ? MissingID() : CellIdx(column, row);
}

std::uint32_t CellTable::CellIdxX(std::uint32_t index) const
{
    return NumX() == 0 ? MissingID() : index % NumX();
}

std::uint32_t CellTable::CellIdxY(std::uint32_t index) const
{
    return NumX() == 0 ? MissingID() : index / NumX();
}

const Cell& CellTable::NoCell()
{
    static const Cell none;
    return none;
}

std::uint32_t CellTable::NumCells() const { return static_cast<std::uint32_t>(cells_.size()); }

} // namespace Geom
