#include "Geom/events/LinePairs.h"

#include "Geom/events/LineGrid.h"
#include "Geom/exact/Plane.h"
#include "platform/platform_cpu.h"

#include <cmath>
#include <emmintrin.h>
#include <stdexcept>

namespace Geom::impl
{
namespace
{
constexpr std::size_t kCrowded = 160; // lines in a cell that gets a grid of its own
constexpr int kLevels = 12;           // of grids within cells: two flags for each
constexpr std::size_t kPortion = 512; // pairs handed over at once, about
constexpr double kGreatest = 0x1p400; // coordinates whose products of two stay finite

const PairKernels& Kernels()
{
    static const PairKernels* const kByLevel[] = {&sse2::kPairKernels, &avx2::kPairKernels,
                                                  &avx512::kPairKernels};
    static const PairKernels& chosen = *kByLevel[platform::SimdLevel()];
    return chosen;
}

/// The bits of @p level levels of flags.
std::uint32_t FlagsOf(int level) { return (std::uint32_t(1) << 2 * level) - 1; }

/// Every pair that is found passes through here.
class Portions
{
public:
    explicit Portions(ILinePairTaker& taker) : taker_(taker) { pairs_.reserve(kPortion); }
    void Add(std::uint32_t a, std::uint32_t b)
    {
        pairs_.push_back({std::min(a, b), std::max(a, b)});
        if (pairs_.size() == kPortion)
            Flush();
    }
    void Flush()
    {
        taker_.Take(pairs_.data(), pairs_.size());
        pairs_.clear();
    }

private:
    ILinePairTaker& taker_;
    std::vector<LinePair> pairs_;
};

class Search
{
public:
    Search(const LineSet2D& lines, const GridTolerance& tolerance, Portions& out)
        : lines_(lines), tolerance_(tolerance), out_(out)
    {
    }

    /// The pairs among @p members whose flags together are complete.
    /// @param members  each line at most once
    /// @param region   the cell that the members share
    /// @param level    how many cells lie around it: the levels of flags
    void Among(const std::vector<GridMember>& members, const Extents2D& region, int level);

private:
    void WithinCells(const LineGrid& grid, const std::vector<GridMember>& members,
                     std::size_t begin, std::size_t end, int level);
    void WithinCrowdedCell(const LineGrid& grid, const std::vector<GridMember>& members,
                           std::size_t cell, int level);
    void WithLong(const LineGrid& grid, const std::vector<GridMember>& members,
                  std::uint32_t longMember, int level, std::vector<std::uint32_t>& lastMet);

    const LineSet2D& lines_;
    const GridTolerance& tolerance_;
    Portions& out_;
    std::vector<RowPair> pairs_;
    std::vector<std::uint32_t> rows_;
};

void Search::Among(const std::vector<GridMember>& members, const Extents2D& region, int level)
{
    LineGrid grid;
    grid.Lay(lines_, members, tolerance_, region);
    grid.Enter(lines_, members, tolerance_);
    const bool mayDivide = grid.Cells() > 1 && level + 1 < kLevels;
    std::size_t tested = 0;
    for (std::size_t cell = 0; mayDivide && cell < grid.Cells(); ++cell)
        if (grid.starts[cell + 1] - grid.starts[cell] > kCrowded)
        {
            WithinCells(grid, members, tested, cell, level + 1);
            WithinCrowdedCell(grid, members, cell, level + 1);
            tested = cell + 1;
        }
    WithinCells(grid, members, tested, grid.Cells(), level + 1);

    std::vector<GridMember> longs;
    std::vector<std::uint32_t> lastMet;
    for (std::size_t i = 0; i < members.size(); ++i)
        if (grid.covers[i].IsLong())
        {
            longs.push_back(members[i]);
            lastMet.resize(members.size(), std::uint32_t(-1));
            WithLong(grid, members, std::uint32_t(i), level, lastMet);
        }
    if (longs.size() > 1)
        Among(longs, region, level);
}

void Search::WithinCells(const LineGrid& grid, const std::vector<GridMember>& members,
                         std::size_t begin, std::size_t end, int level)
{
    std::size_t fullest = 0;
    for (std::size_t cell = begin; cell < end; ++cell)
        fullest = std::max(fullest, grid.starts[cell + 1] - grid.starts[cell]);
    if (fullest < 2)
        return;
    const std::size_t room = std::max(kPortion, fullest);
    pairs_.resize(std::max(pairs_.size(), room + kPairPadding));
    const PairRows rows = grid.Rows(tolerance_);
    PairCursor cursor = {begin, grid.starts[begin]};
    while (cursor.cell < end)
    {
        const std::size_t count = Kernels().inCells(rows, grid.starts.data(), end, cursor,
                                                    FlagsOf(level), pairs_.data(), room);
        for (std::size_t i = 0; i < count; ++i)
            out_.Add(members[grid.memberOf[pairs_[i].first]].line,
                     members[grid.memberOf[pairs_[i].second]].line);
    }
}

void Search::WithinCrowdedCell(const LineGrid& grid, const std::vector<GridMember>& members,
                               std::size_t cell, int level)
{
    std::vector<GridMember> inside;
    for (std::size_t row = grid.starts[cell]; row < grid.starts[cell + 1]; ++row)
        inside.push_back({members[grid.memberOf[row]].line, grid.flags[row]});
    Among(inside, grid.RegionOf(cell), level);
}

/// The pairs of a long line with the lines in the cells along it: row of cells by row, those
/// between the abscissae at which the line enters and leaves the row, and what rounding adds.
void Search::WithLong(const LineGrid& grid, const std::vector<GridMember>& members,
                      std::uint32_t longMember, int level, std::vector<std::uint32_t>& lastMet)
{
    const GridMember& member = members[longMember];
    const GridCover& cover = grid.covers[longMember];
    const Line2D& line = lines_[member.line];
    const PairRow probe = {line.first.x, line.first.y, line.second.x, line.second.y,
                           tolerance_.MarginOf(line)};
    const bool isRising = line.first.y <= line.second.y;
    const Point2D& low = isRising ? line.first : line.second;
    const Point2D& high = isRising ? line.second : line.first;
    const double height = 1 / grid.y.perUnit;
    const bool isSteep = high.y - low.y > height; // else it is the tolerance that spans the rows
    const double perY = isSteep ? (high.x - low.x) / (high.y - low.y) : 0;
    const double reachX = tolerance_.reachX + std::fabs(perY) * (tolerance_.reachY + 1e-6 * height);
    const PairRows rows = grid.Rows(tolerance_);
    for (std::uint32_t cy = cover.y0; cy <= cover.y1; ++cy)
    {
        const double from = grid.y.from + cy * height;
        const auto abscissaAt = [&](double at) {
            return low.x + (std::clamp(at, low.y, high.y) - low.y) * perY;
        };
        const double enters = cy == cover.y0 || !isSteep ? low.x : abscissaAt(from);
        const double leaves = cy == cover.y1 || !isSteep ? high.x : abscissaAt(from + height);
        const std::uint32_t x0 = grid.x.CellOf(std::min(enters, leaves) - reachX);
        const std::uint32_t x1 = grid.x.CellOf(std::max(enters, leaves) + reachX);
        const std::size_t begin = grid.starts[grid.CellAt(x0, cy)];
        const std::size_t end = grid.starts[grid.CellAt(x1, cy) + 1];
        rows_.resize(std::max(rows_.size(), end - begin));
        const std::size_t count = Kernels().withLine(rows, probe, begin, end, rows_.data());
        for (std::size_t i = 0; i < count; ++i)
        {
            const std::uint32_t other = grid.memberOf[rows_[i]];
            if (lastMet[other] == longMember ||
                (member.flags | grid.flags[rows_[i]] >> 2) != FlagsOf(level))
                continue;
            lastMet[other] = longMember;
            out_.Add(member.line, members[other].line);
        }
    }
}

/// @param most  the greatest coordinates by size
GridTolerance ToleranceFor(const Point2D& most, double hx, double hy)
{
    const double slack = 1 + 0x1p-40;
    return {hx * slack + most.x * 0x1p-46, hy * slack + most.y * 0x1p-46,
            hx * slack + most.x * 0x1p-46, hy * slack + most.y * 0x1p-46};
}

} // namespace

void FindLinePairs(const LineSet2D& lines, const Precision3D& precision, ILinePairTaker& taker)
{
    if (lines.size() >= 0x80000000u)
        throw std::length_error("Geom: too many lines");
    const double hx = precision.halfEpsilon[0], hy = precision.halfEpsilon[1];
    const bool isOrdinary = hx >= 0 && hy >= 0 && hx < kGreatest && hy < kGreatest;
    std::vector<GridMember> members;
    std::vector<std::uint32_t> wild; // too great to reckon with: paired with every line
    members.reserve(lines.size());
    const __m128d minus = _mm_set1_pd(-0.0), greatest = _mm_set1_pd(kGreatest);
    __m128d most = _mm_setzero_pd();
    for (std::uint32_t i = 0; i < lines.size(); ++i)
    {
        const auto& [a, b] = lines[i];
        const __m128d sizeA = _mm_andnot_pd(minus, _mm_loadu_pd(&a.x));
        const __m128d sizeB = _mm_andnot_pd(minus, _mm_loadu_pd(&b.x));
        const __m128d areSmall =
            _mm_and_pd(_mm_cmplt_pd(sizeA, greatest), _mm_cmplt_pd(sizeB, greatest));
        if (isOrdinary && _mm_movemask_pd(areSmall) == 3)
        {
            members.push_back({i, 0});
            most = _mm_max_pd(most, _mm_max_pd(sizeA, sizeB));
        }
        else if (AreUsable({a, b}))
            wild.push_back(i);
    }
    Portions portions(taker);
    for (std::size_t i = 0; i < wild.size(); ++i)
    {
        for (const GridMember& member : members)
            portions.Add(wild[i], member.line);
        for (std::size_t k = 0; k < i; ++k)
            portions.Add(wild[i], wild[k]);
    }
    if (members.size() > 1)
    {
        Point2D mostOfMembers;
        _mm_storeu_pd(&mostOfMembers.x, most);
        const GridTolerance tolerance = ToleranceFor(mostOfMembers, hx, hy);
        Search(lines, tolerance, portions)
            .Among(members, {-kGreatest, kGreatest, -kGreatest, kGreatest}, 0);
    }
    portions.Flush();
}

} // namespace Geom::impl
