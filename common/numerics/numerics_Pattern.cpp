#include "numerics/numerics_Pattern.h"

#include "numerics/numerics_Threads.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>

namespace math::impl
{
namespace
{

constexpr std::size_t kMaxIndex = std::size_t(std::numeric_limits<int>::max());

SolveRecord Refused(SolveOutcome outcome, std::wstring reason, int equation = -1)
{
    SolveRecord record;
    record.outcome = outcome;
    record.equation = equation;
    record.reason = std::move(reason);
    return record;
}

/// One place of an equation in an element's list.
struct Touch
{
    int element;
    int place;
};

/// For each equation its places in element lists, by a counting sort: ascending elements.
class Touches
{
public:
    explicit Touches(const Pattern& pattern)
        : start_(std::size_t(pattern.n) + 1), touches_(pattern.elements.values.size())
    {
        for (const int equation : pattern.elements.values)
            ++start_[std::size_t(equation)];
        std::size_t sum = 0;
        for (std::size_t& start : start_)
            sum = start = sum + start; // the end of the row, moved down to its start below
        for (std::size_t e = pattern.elements.Count(); e-- > 0;)
        {
            const int* list = pattern.elements.values.data() + pattern.ElementStart(e);
            for (int place = pattern.ElementSize(e); place-- > 0;)
                touches_[--start_[std::size_t(list[place])]] = {int(e), place};
        }
    }

    const Touch* begin(int row) const { return touches_.data() + start_[std::size_t(row)]; }
    const Touch* end(int row) const { return touches_.data() + start_[std::size_t(row) + 1]; }
    /// Do two rows belong to the same elements, and so have the same columns?
    bool Twins(int a, int b) const
    {
        return std::equal(begin(a), end(a), begin(b), end(b),
                          [](Touch x, Touch y) { return x.element == y.element; });
    }

private:
    std::vector<std::size_t> start_;
    std::vector<Touch> touches_;
};

/// Columns of each row in the order in which the elements name them; false when they are more
/// than an int can count.
bool CollectColumns(Pattern& pattern, const Touches& touches, std::vector<int>& unsorted)
{
    std::vector<int> lastRow(std::size_t(pattern.n), -1); // in which a column was met
    pattern.rowStart.assign(std::size_t(pattern.n) + 1, 0);
    for (int row = 0; row < pattern.n; ++row)
    {
        if (row > 0 && touches.Twins(row, row - 1))
        {
            const std::size_t from = std::size_t(pattern.rowStart[std::size_t(row) - 1]);
            const std::size_t length = unsorted.size() - from;
            unsorted.resize(unsorted.size() + length);
            std::copy_n(unsorted.data() + from, length, unsorted.data() + from + length);
        }
        else
        {
            for (const Touch* t = touches.begin(row); t != touches.end(row); ++t)
            {
                const std::size_t e = std::size_t(t->element);
                const int* list = pattern.elements.values.data() + pattern.ElementStart(e);
                for (int k = 0; k < pattern.ElementSize(e); ++k)
                {
                    if (lastRow[std::size_t(list[k])] == row)
                        continue;
                    lastRow[std::size_t(list[k])] = row;
                    unsorted.push_back(list[k]);
                }
            }
        }
        if (unsorted.size() > kMaxIndex)
            return false;
        pattern.rowStart[std::size_t(row) + 1] = int(unsorted.size());
    }
    return true;
}

/// Sorts the columns within each row. The pattern is its own transpose, so handing row i to each
/// of its columns, for ascending i, fills every row in ascending order.
void SortColumns(Pattern& pattern, const std::vector<int>& unsorted)
{
    pattern.columns.resize(unsorted.size());
    std::vector<int> next(pattern.rowStart.begin(), pattern.rowStart.end() - 1);
    for (int row = 0; row < pattern.n; ++row)
        for (int k = pattern.rowStart[std::size_t(row)]; k < pattern.rowStart[std::size_t(row) + 1];
             ++k)
            pattern.columns[std::size_t(next[std::size_t(unsorted[std::size_t(k)])]++)] = row;
}

template <class Offset>
void StoreOffsets(Pattern& pattern, const Touches& touches, Offset* offsets)
{
    std::vector<Offset> place(std::size_t(pattern.n)); // of a column within the present row
    for (int row = 0; row < pattern.n; ++row)
    {
        const int start = pattern.rowStart[std::size_t(row)];
        if (row == 0 || !touches.Twins(row, row - 1))
            for (int k = start; k < pattern.rowStart[std::size_t(row) + 1]; ++k)
                place[std::size_t(pattern.columns[std::size_t(k)])] = Offset(k - start);
        for (const Touch* t = touches.begin(row); t != touches.end(row); ++t)
        {
            const std::size_t e = std::size_t(t->element);
            const int size = pattern.ElementSize(e);
            const int* list = pattern.elements.values.data() + pattern.ElementStart(e);
            Offset* out =
                offsets + pattern.offsetStart[e] + std::size_t(t->place) * std::size_t(size);
            for (int k = 0; k < size; ++k)
                out[k] = place[std::size_t(list[k])];
        }
    }
}

void StoreOffsets(Pattern& pattern, const Touches& touches)
{
    int longest = 0;
    for (std::size_t row = 0; row < std::size_t(pattern.n); ++row)
        longest = std::max(longest, pattern.rowStart[row + 1] - pattern.rowStart[row]);
    pattern.offsetBytes = longest <= 0x100 ? 1 : longest <= 0x10000 ? 2 : 4;
    pattern.offsets.resize(pattern.offsetStart.back() * std::size_t(pattern.offsetBytes));
    void* offsets = pattern.offsets.data();
    if (pattern.offsetBytes == 1)
        StoreOffsets(pattern, touches, static_cast<std::uint8_t*>(offsets));
    else if (pattern.offsetBytes == 2)
        StoreOffsets(pattern, touches, static_cast<std::uint16_t*>(offsets));
    else
        StoreOffsets(pattern, touches, static_cast<std::uint32_t*>(offsets));
}

/// Finds the number of equations and the sizes of the elements, refusing what cannot be right.
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
        return Refused(SolveOutcome::Failed, L"indices stand behind the last element list");
    int largest = std::max(count, 0) - 1;
    for (const int equation : elements.values)
    {
        if (equation < 0 || std::size_t(equation) == kMaxIndex)
            return Refused(SolveOutcome::Failed, L"an element names an impossible equation",
                           equation);
        largest = std::max(largest, equation);
    }
    // A thousand times more equations than the lists can touch, unasked: an index is spoilt.
    if (largest >= count && largest > 1'000'000 &&
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

SolveRecord Build(const tagMultiVectorInt& elements, int count, Pattern& pattern)
{
    SolveRecord refused = Measure(elements, count, pattern);
    if (refused.outcome != SolveOutcome::Solved)
        return refused;
    const wchar_t* const tooMany = L"the matrix would hold more than 2^31 - 1 positions";
    if (!BlocksFit(elements))
        return Refused(SolveOutcome::TooLarge, tooMany);
    pattern.elements = elements;
    pattern.offsetStart.resize(elements.Count() + 1);
    std::size_t sum = 0;
    for (std::size_t e = 0; e < elements.Count(); ++e)
    {
        pattern.offsetStart[e] = sum;
        const std::size_t size = std::size_t(pattern.ElementSize(e));
        sum += size * size;
    }
    pattern.offsetStart.back() = sum;
    const Touches touches(pattern);
    {
        std::vector<int> unsorted;
        unsorted.reserve(std::min(sum, kMaxIndex));
        if (!CollectColumns(pattern, touches, unsorted))
            return Refused(SolveOutcome::TooLarge, tooMany);
        SortColumns(pattern, unsorted);
    }
    StoreOffsets(pattern, touches);
    return {};
}

/// What adding element matrices reads and writes.
template <class Offset>
struct Adding
{
    const int* lists;
    std::size_t listsEnd;
    const int* rowStart;
    const Offset* offsets;
    int firstRow;
    unsigned rows; ///< only rows from firstRow on, this many
    double* values;

    /// The matrix of one element, whose list starts at @p at. kSize is the element's size where
    /// that is common, so that the loop along a row has no end to test; otherwise 0.
    template <int kSize>
    void Add(int length, std::size_t at, const Offset* offset, const double* m) const
    {
        const int size = kSize > 0 ? kSize : length;
        // Rows of an element a little further on are fetched meanwhile, which halves the time
        // under a shuffled numbering.
        const std::size_t ahead = at + 3 * std::size_t(size);
        const bool prefetch = ahead + std::size_t(size) <= listsEnd;
        for (int i = 0; i < size; ++i, offset += size, m += size)
        {
            const int soon = prefetch ? lists[ahead + std::size_t(i)] : -1;
            if (unsigned(soon - firstRow) < rows)
            {
                const double* next = values + rowStart[soon];
                __builtin_prefetch(next, 1);
                __builtin_prefetch(next + 8, 1);
                if (size > 8)
                {
                    __builtin_prefetch(next + 16, 1);
                    __builtin_prefetch(next + 24, 1);
                }
            }
            const int equation = lists[at + std::size_t(i)];
            if (unsigned(equation - firstRow) >= rows)
                continue;
            double* row = values + rowStart[equation];
            for (int j = 0; j < size; ++j)
                row[offset[j]] += m[j];
        }
    }
};

template <class Offset>
void AddRows(const Pattern& pattern, std::size_t first, std::size_t count, const double* m,
             int firstRow, int endRow, double* values)
{
    const void* stored = pattern.offsets.data();
    const Adding<Offset> adding = {pattern.elements.values.data(),
                                   pattern.elements.values.size(),
                                   pattern.rowStart.data(),
                                   static_cast<const Offset*>(stored),
                                   firstRow,
                                   unsigned(endRow - firstRow),
                                   values};
    const Offset* offset = adding.offsets + pattern.offsetStart[first];
    std::size_t at = pattern.ElementStart(first);
    for (std::size_t e = first; e < first + count; ++e)
    {
        const std::size_t size = pattern.elements.ends[e] - at;
        switch (size)
        {
        case 4:
            adding.template Add<4>(4, at, offset, m);
            break;
        case 8:
            adding.template Add<8>(8, at, offset, m);
            break;
        case 16:
            adding.template Add<16>(16, at, offset, m);
            break;
        default:
            adding.template Add<0>(int(size), at, offset, m);
        }
        at += size;
        offset += size * size;
        m += size * size;
    }
}

} // namespace

int Pattern::Find(int row, int column) const
{
    const int* first = columns.data() + rowStart[std::size_t(row)];
    const int* last = columns.data() + rowStart[std::size_t(row) + 1];
    const int* found = std::lower_bound(first, last, column);
    return found == last || *found != column ? -1 : int(found - columns.data());
}

SolveRecord BuildPattern(const tagMultiVectorInt& elements, int count, Pattern& pattern)
{
    pattern = {};
    SolveRecord record;
    try
    {
        record = Build(elements, count, pattern);
    }
    catch (const std::bad_alloc&)
    {
        record = Refused(SolveOutcome::TooLarge, L"memory cannot hold the matrix");
    }
    catch (const std::length_error&)
    {
        record = Refused(SolveOutcome::TooLarge, L"memory cannot hold the matrix");
    }
    if (record.outcome != SolveOutcome::Solved)
    {
        pattern = {};
        pattern.rowStart = {0};
        pattern.offsetStart = {0};
    }
    return record;
}

void AddElement(const Pattern& pattern, std::size_t element, const double* m, double* values)
{
    if (pattern.offsetBytes == 1)
        AddRows<std::uint8_t>(pattern, element, 1, m, 0, pattern.n, values);
    else if (pattern.offsetBytes == 2)
        AddRows<std::uint16_t>(pattern, element, 1, m, 0, pattern.n, values);
    else
        AddRows<std::uint32_t>(pattern, element, 1, m, 0, pattern.n, values);
}

void AddElements(const Pattern& pattern, std::size_t first, std::size_t count, const double* m,
                 double* values, int threads)
{
    if (count == 0)
        return;
    const auto add = pattern.offsetBytes == 1   ? AddRows<std::uint8_t>
                     : pattern.offsetBytes == 2 ? AddRows<std::uint16_t>
                                                : AddRows<std::uint32_t>;
    const std::size_t entries = pattern.offsetStart[first + count] - pattern.offsetStart[first];
    constexpr std::size_t kWorthThreads = 1'000'000; // about 0.5 ms
    if (threads == 1 || entries < kWorthThreads)
        return add(pattern, first, count, m, 0, pattern.n, values);

    // Each part of the rows that the elements touch is one thread's own.
    const int* begin = pattern.elements.values.data() + pattern.ElementStart(first);
    const int* end = pattern.elements.values.data() + pattern.elements.ends[first + count - 1];
    const auto [lowest, highest] = std::minmax_element(begin, end);
    const int parts = ThreadCount(threads);
    const auto border = [&, low = *lowest, rows = *highest + 1 - *lowest](int part) {
        return low + int(static_cast<long long>(rows) * part / parts);
    };
    const auto run = [&] {
        tbb::parallel_for(0, parts, [&](int part) {
            add(pattern, first, count, m, border(part), border(part + 1), values);
        });
    };
    OnThreads(threads, run);
}

} // namespace math::impl
