#include "Geom/events/LinePairs.h"

#include "Geom/events/LineGrid.h"
#include "Geom/exact/Plane.h"
#include "platform/platform_cpu.h"

#include <cmath>
#include <emmintrin.h>
#include <stdexcept>

namespace geom
{
namespace
{
constexpr std::size_t kDenseCell = 160; // lines in a cell that gets a grid of its own
constexpr int kLevels = 12;             // of grids within cells: two flags for each
constexpr std::size_t kPortion = 512;   // pairs delivered at once, about
constexpr double kGreatest = 0x1p400;   // coordinates whose products of two stay finite
constexpr std::size_t kFewLines = 200;  // of one set: no grid is worth it
constexpr std::size_t kOneSet = std::size_t(-1);

const PairKernels& Kernels()
{
    static const PairKernels* const kByLevel[] = {&sse2::kPairKernels, &avx2::kPairKernels,
                                                  &avx512::kPairKernels};
    static const PairKernels& chosen = *kByLevel[platform::SimdLevel()];
    return chosen;
}

/// The bits of @p level levels of flags.
std::uint32_t FlagsOf(int level) { return (std::uint32_t(1) << 2 * level) - 1; }

/// Delivers the pairs found, in portions.
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
    /// @param secondFrom  the first line of the second set, or kOneSet
    Search(const LineSet2D& lines, std::size_t secondFrom, const GridTolerance& tolerance,
           Portions& out)
        : lines_(lines), secondFrom_(secondFrom), tolerance_(tolerance), out_(out)
    {
    }

    /// The pairs among @p members whose flags together are complete.
    /// @param members  each line at most once, the first set before the second
    /// @param region   the cell that the members share
    /// @param level    how many cells lie around it: the levels of flags
    void Among(const std::vector<GridMember>& members, const Extents2D& region, int level);

private:
    void WithinCells(const LineGrid& grid, const std::vector<GridMember>& members,
                     std::size_t begin, std::size_t end, int level);
    void WithinCrowdedCell(const LineGrid& grid, const std::vector<GridMember>& members,
                           std::size_t cell, int level);
    void WithFew(const LineGrid& grid, const std::vector<GridMember>& members, int level);
    void WithLong(const LineGrid& grid, const std::vector<GridMember>& members,
                  std::uint32_t longMember, int level, std::vector<std::uint32_t>& lastMet);

    const LineSet2D& lines_;
    std::size_t secondFrom_;
    const GridTolerance& tolerance_;
    Portions& out_;
    std::vector<RowPair> pairs_;
    std::vector<std::uint32_t> rows_;
};

void Search::Among(const std::vector<GridMember>& members, const Extents2D& region, int level)
{
    LineGrid grid;
    double mostCells = kGreatest;
    std::size_t second = members.size();
    if (secondFrom_ != kOneSet)
    {
        second = std::size_t(std::partition_point(members.begin(), members.end(),
                                                  [this](const GridMember& member) {
                                                      return member.line < secondFrom_;
                                                  }) -
                             members.begin());
        const std::size_t fewer = std::min(second, members.size() - second);
        if (fewer == 0)
            return;
        if (fewer <= kFewLines)
            mostCells = 1;
    }
    grid.Lay(lines_, members, tolerance_, region, mostCells);
    grid.Enter(lines_, members, tolerance_);
    if (secondFrom_ != kOneSet)
        grid.Split(second);
    if (mostCells == 1)
        return WithFew(grid, members, level + 1);
    const bool mayDivide = grid.Cells() > 1 && level + 1 < kLevels;
    std::size_t tested = 0;
    for (std::size_t cell = 0; mayDivide && cell < grid.Cells(); ++cell)
        if (grid.starts[cell + 1] - grid.starts[cell] > kDenseCell)
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
        const std::size_t* const splits = secondFrom_ == kOneSet ? nullptr : grid.splits.data();
        const std::size_t count = Kernels().inCells(rows, grid.starts.data(), splits, end, cursor,
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

/// The pairs of the sets in a grid of one cell: blocks of the larger one, which the cache holds,
/// with each line of the smaller one.
void Search::WithFew(const LineGrid& grid, const std::vector<GridMember>& members, int level)
{
    constexpr std::size_t kBlock = 2048;
    const PairRows rows = grid.Rows(tolerance_);
    const std::size_t split = grid.splits[0], end = grid.starts[1];
    const bool isFirstFewer = split <= end - split;
    const std::size_t few = isFirstFewer ? 0 : split, fewEnd = isFirstFewer ? split : end;
    const std::size_t many = isFirstFewer ? split : 0, manyEnd = isFirstFewer ? end : split;
    rows_.resize(std::max(rows_.size(), kBlock));
    for (std::size_t block = many; block < manyEnd; block += kBlock)
        for (std::size_t row = few; row < fewEnd; ++row)
        {
            const PairRow line = {rows.ax[row], rows.ay[row], rows.bx[row], rows.by[row],
                                  rows.margin[row]};
            const std::size_t count = Kernels().withLine(
                rows, line, block, std::min(block + kBlock, manyEnd), rows_.data());
            for (std::size_t i = 0; i < count; ++i)
                if ((grid.flags[row] | grid.flags[rows_[i]]) == FlagsOf(level))
                    out_.Add(members[grid.memberOf[row]].line,
                             members[grid.memberOf[rows_[i]]].line);
        }
}

/// The pairs of a long line with the lines in the cells along it.
void Search::WithLong(const LineGrid& grid, const std::vector<GridMember>& members,
                      std::uint32_t longMember, int level, std::vector<std::uint32_t>& lastMet)
{
    const GridMember& member = members[longMember];
    const Line2D& line = lines_[member.line];
    const PairRow probe = {line.first.x, line.first.y, line.second.x, line.second.y,
                           tolerance_.MarginOf(line)};
    const PairRows rows = grid.Rows(tolerance_);
    const bool isSecond = member.line >= secondFrom_;
    const auto test = [&](std::size_t begin, std::size_t end) {
        rows_.resize(std::max(rows_.size(), end - begin));
        const std::size_t count = Kernels().withLine(rows, probe, begin, end, rows_.data());
        for (std::size_t i = 0; i < count; ++i)
        {
            const std::uint32_t other = grid.memberOf[rows_[i]];
            if (lastMet[other] == longMember ||
                (member.flags | grid.flags[rows_[i]] >> 2) != FlagsOf(level))
                continue;
            lastMet[other] = longMember;
            if (secondFrom_ == kOneSet || isSecond != (members[other].line >= secondFrom_))
                out_.Add(member.line, members[other].line);
        }
    };
    grid.ForRowsAlong(line, grid.covers[longMember], tolerance_, test);
}

/// The lines that can take part, as members of the search or by themselves.
struct Candidates
{
    std::vector<GridMember> members;
    std::vector<std::uint32_t> outOfRange; ///< too large for products in double precision
    Point2D most;                          ///< the greatest coordinates of members by size
};

Candidates CandidatesOf(const LineSet2D& lines, double hx, double hy)
{
    Candidates found;
    found.members.reserve(lines.size());
    const bool isOrdinary = hx >= 0 && hy >= 0 && hx < kGreatest && hy < kGreatest;
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
            found.members.push_back({i, 0});
            most = _mm_max_pd(most, _mm_max_pd(sizeA, sizeB));
        }
        else if (AreUsable({a, b}))
            found.outOfRange.push_back(i);
    }
    _mm_storeu_pd(&found.most.x, most);
    return found;
}

/// Leaves out members beyond the box of the other set.
void DropDistant(std::vector<GridMember>& members, const LineSet2D& lines, std::size_t secondFrom,
                 const GridTolerance& tolerance)
{
    Extents2D boxes[2];
    for (const GridMember& member : members)
        for (const Point2D& p : {lines[member.line].first, lines[member.line].second})
            ExtentsGrow2D(boxes[member.line >= secondFrom ? 1 : 0], p);
    const double x = 2 * tolerance.reachX, y = 2 * tolerance.reachY;
    std::erase_if(members, [&](const GridMember& member) {
        const auto& [a, b] = lines[member.line];
        const Extents2D& other = boxes[member.line >= secondFrom ? 0 : 1];
        return std::min(a.x, b.x) - x > other.maxX || std::max(a.x, b.x) + x < other.minX ||
               std::min(a.y, b.y) - y > other.maxY || std::max(a.y, b.y) + y < other.minY;
    });
}

void FindPairs(const LineSet2D& lines, std::size_t secondFrom, const Precision3D& precision,
               ILinePairTaker& taker)
{
    if (lines.size() >= 0x80000000u)
        throw std::length_error("Geom: too many lines");
    const double hx = precision.halfEpsilon[0], hy = precision.halfEpsilon[1];
    Candidates found = CandidatesOf(lines, hx, hy);
    Portions portions(taker);
    const auto add = [&](std::uint32_t a, std::uint32_t b) {
        if (secondFrom == kOneSet || (a < secondFrom) != (b < secondFrom))
            portions.Add(a, b);
    };
    for (std::size_t i = 0; i < found.outOfRange.size(); ++i)
    {
        for (const GridMember& member : found.members)
            add(found.outOfRange[i], member.line);
        for (std::size_t k = 0; k < i; ++k)
            add(found.outOfRange[i], found.outOfRange[k]);
    }
    if (found.members.size() > 1)
    {
        const GridTolerance tolerance = GridTolerance::For(found.most, hx, hy);
        if (secondFrom != kOneSet)
            DropDistant(found.members, lines, secondFrom, tolerance);
        Search(lines, secondFrom, tolerance, portions)
            .Among(found.members, {-kGreatest, kGreatest, -kGreatest, kGreatest}, 0);
    }
    portions.Flush();
}

} // namespace

const PairKernels& ChosenPairKernels() { return Kernels(); }

void FindLinePairs(const LineSet2D& lines, const Precision3D& precision, ILinePairTaker& taker)
{
    FindPairs(lines, kOneSet, precision, taker);
}

void FindLinePairs(const LineSet2D& lines, std::size_t secondFrom, const Precision3D& precision,
                   ILinePairTaker& taker)
{
    FindPairs(lines, secondFrom, precision, taker);
}

} // namespace geom
