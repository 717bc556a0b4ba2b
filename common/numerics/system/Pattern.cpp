#include "numerics/system/Pattern.h"

#include "numerics/system/BlockVector.h"
#include "numerics/system/PatternRows.h"
#include "numerics/system/Threads.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace numerics
{
namespace
{

constexpr std::size_t kMaxIndex = std::size_t(std::numeric_limits<int>::max());
constexpr const wchar_t* kTooMany = L"the matrix would hold more than 2^31 - 1 positions";

SolveRecord Refused(SolveOutcome outcome, std::wstring reason, int equation = -1)
{
    SolveRecord record;
    record.outcome = outcome;
    record.equation = equation;
    record.reason = std::move(reason);
    return record;
}

/// Finds the number of equations and the sizes of the elements, refusing invalid input.
SolveRecord Measure(const tagMultiVectorInt& elements, int count, Pattern& pattern)
{
    if (elements.values.size() > kMaxIndex || elements.Count() > kMaxIndex)
        return Refused(SolveOutcome::TooLarge,
                       L"the element lists hold more than 2^31 - 1 indices");
    std::size_t last = 0;
    std::size_t widest = 0;
    for (const std::size_t end : elements.ends)
    {
        if (end < last || end > elements.values.size())
            return Refused(SolveOutcome::Failed, L"the ends of the element lists do not ascend");
        widest = std::max(widest, end - last);
        last = end;
    }
    if (last != elements.values.size())
        return Refused(SolveOutcome::Failed, L"indices follow the last element list");
    int largest = std::max(count, 0) - 1;
    // Impossible equations are negative, which as unsigned is large, or 2^31 - 1.
    const std::vector<int>& equations = elements.values;
    std::vector<unsigned> most(std::size_t(BlockCount(int(equations.size()))));
    ForBlocks(int(equations.size()), [&](int block, int begin, int end) {
        unsigned greatest = 0;
        for (int i = begin; i < end; ++i)
            greatest = std::max(greatest, unsigned(equations[std::size_t(i)]));
        most[std::size_t(block)] = greatest;
    });
    for (const unsigned greatest : most)
    {
        const auto isImpossible = [](int equation) { return unsigned(equation) >= kMaxIndex; };
        if (isImpossible(int(greatest)))
            return Refused(SolveOutcome::Failed, L"an element names an impossible equation",
                           *std::find_if(equations.begin(), equations.end(), isImpossible));
        largest = std::max(largest, int(greatest));
    }
    // Sparse numbering is legal; but an index that requires a thousand times more equations than
    // the lists can touch, and gigabytes for them, counts as corrupted unless the count was given.
    if (largest >= count && largest > 50'000'000 &&
        std::size_t(largest) / 1000 > elements.values.size())
        return Refused(SolveOutcome::Failed, L"an element names an equation far beyond all others",
                       largest);
    pattern.n = largest + 1;
    return {};
}

/// A list of distinct equations is a dense block; its square must be countable.
bool BlocksFit(const tagMultiVectorInt& elements)
{
    std::size_t start = 0;
    for (const std::size_t end : elements.ends)
    {
        constexpr std::size_t kRoot = 46340; // the largest number whose square is an int
        if (end - start > kRoot)
        {
            std::vector<int> list(elements.values.begin() + std::ptrdiff_t(start),
                                  elements.values.begin() + std::ptrdiff_t(end));
            std::sort(list.begin(), list.end());
            if (std::size_t(std::unique(list.begin(), list.end()) - list.begin()) > kRoot)
                return false;
        }
        start = end;
    }
    return true;
}

/// Where the entries of every element's matrix begin; false when there are more than memory can
/// address.
bool CountEntries(const tagMultiVectorInt& elements, std::vector<std::size_t>& offsetStart)
{
    constexpr std::uint64_t kMost =
        std::numeric_limits<std::ptrdiff_t>::max() / sizeof(std::uint32_t);
    offsetStart.resize(elements.Count() + 1);
    std::uint64_t sum = 0;
    std::size_t start = 0;
    for (std::size_t e = 0; e < elements.Count(); ++e)
    {
        offsetStart[e] = std::size_t(sum);
        const std::uint64_t size = elements.ends[e] - std::exchange(start, elements.ends[e]);
        sum += size * size;
        if (sum > kMost)
            return false;
    }
    offsetStart.back() = std::size_t(sum);
    return true;
}

/// Are the rows of consecutive elements mostly far apart?
bool IsScattered(const tagMultiVectorInt& elements)
{
    constexpr int kNear = 64; // rows
    std::size_t jumps = 0, start = 0;
    int before = 0;
    for (const std::size_t end : elements.ends)
    {
        const std::size_t first = std::exchange(start, end);
        if (first == end)
            continue;
        const int row = elements.values[first];
        jumps += std::abs(row - before) > kNear;
        before = row;
    }
    return jumps > elements.Count() / 4;
}

SolveRecord Build(const tagMultiVectorInt& elements, int count, Pattern& pattern)
{
    SolveRecord refused = Measure(elements, count, pattern);
    if (refused.outcome != SolveOutcome::Solved)
        return refused;
    bool fits = true;
    const std::function<void()> tasks[] = {
        [&] { pattern.elements = elements; },
        [&] {
            fits = BlocksFit(elements) && CountEntries(elements, pattern.offsetStart);
            pattern.isScattered = IsScattered(elements);
        },
    };
    ForNumbers(int(std::size(tasks)), double(elements.values.size()),
               [&](int number) { tasks[number](); });
    if (!fits || !BuildRows(pattern))
        return Refused(SolveOutcome::TooLarge, kTooMany);
    return {};
}

} // namespace

int Pattern::Find(int row, int column) const
{
    const int* first = columns.data() + rowStart[std::size_t(row)];
    const int* last = columns.data() + rowStart[std::size_t(row) + 1];
    const int* found = std::lower_bound(first, last, column);
    return found == last || *found != column ? -1 : int(found - columns.data());
}

SolveRecord EmptyPattern(Pattern& pattern, SolveOutcome outcome, const std::wstring& reason,
                         int equation)
{
    pattern = {};
    pattern.rowStart = {0};
    pattern.offsetStart = {0};
    return Refused(outcome, L"Initialize: " + reason, equation);
}

SolveRecord BuildPattern(const tagMultiVectorInt& elements, int count, Pattern& pattern,
                         int threads)
{
    constexpr const wchar_t* kNoMemory = L"memory cannot hold the matrix";
    pattern = {};
    const parallel::ThreadLimit limit(threads);
    try
    {
        const SolveRecord record = Build(elements, count, pattern);
        return record.outcome == SolveOutcome::Solved
                   ? record
                   : EmptyPattern(pattern, record.outcome, record.reason, record.equation);
    }
    catch (const std::bad_alloc&)
    {
        return EmptyPattern(pattern, SolveOutcome::TooLarge, kNoMemory);
    }
    catch (const std::length_error&)
    {
        return EmptyPattern(pattern, SolveOutcome::TooLarge, kNoMemory);
    }
}

} // namespace numerics
