#include "numerics/system/PatternRows.h"

#include "numerics/system/Adjacency.h"
#include "numerics/system/BlockVector.h"
#include "numerics/system/RawVector.h"
#include "numerics/system/Threads.h"
#include "parallel/For.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <emmintrin.h>
#include <limits>
#include <new>
#include <vector>

namespace numerics
{
namespace
{

constexpr std::size_t kMaxIndex = std::size_t(std::numeric_limits<int>::max());

/// rank[i] = how many of the @p count distinct numbers are smaller than numbers[i]. Both arrays
/// have room for kRankMargin more.
void Rank(const int* numbers, int count, int* rank)
{
    const auto load = [](const int* at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    };
    const auto store = [](int* at, __m128i four) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(at), four);
    };
    for (int i = 0; i < count; i += 12)
    {
        const __m128i a = load(numbers + i), b = load(numbers + i + 4), c = load(numbers + i + 8);
        __m128i belowA = _mm_setzero_si128(), belowB = belowA, belowC = belowA;
        for (int k = 0; k < count; ++k)
        {
            const __m128i number = _mm_set1_epi32(numbers[k]);
            belowA = _mm_sub_epi32(belowA, _mm_cmpgt_epi32(a, number));
            belowB = _mm_sub_epi32(belowB, _mm_cmpgt_epi32(b, number));
            belowC = _mm_sub_epi32(belowC, _mm_cmpgt_epi32(c, number));
        }
        store(rank + i, belowA);
        store(rank + i + 4, belowB);
        store(rank + i + 8, belowC);
    }
}
constexpr std::size_t kRankMargin = 11;

/// Builds rows one after another: their columns, ascending, and the offsets of their entries.
template <class Offset>
class RowBuilder
{
public:
    /// @param widest  entries of the longest element list
    RowBuilder(Pattern& pattern, const Adjacency& touches, std::size_t widest)
        : adjacency_(touches), lists_(pattern.elements.values.data()),
          ends_(pattern.elements.ends.data()), offsetStart_(pattern.offsetStart.data()),
          offsets_(static_cast<Offset*>(static_cast<void*>(pattern.offsets.data()))),
          lengths_(pattern.rowStart.data() + 1), equations_(std::size_t(pattern.n)), widest_(widest)
    {
    }

    /// Builds @p count rows, and leaves the length of each row r in rowStart[r + 1].
    /// @returns false when a row is too long for its offsets, or all are too long together
    bool Build(const int* rows, std::size_t count, std::size_t columnsExpected)
    {
        marks_.assign(equations_, ~Mark(0));
        columns_.resize(columnsExpected);
        std::size_t used = 0;
        for (std::size_t k = 0; k < count; ++k)
        {
            const int row = rows[k];
            if (k + 8 < count)
                adjacency_.Fetch(rows[k + 8]);
            const bool isTwin = k > 0 && adjacency_.HaveEqualRows(row, rows[k - 1]);
            if (!isTwin)
            {
                Reserve(row);
                CollectColumns(row);
            }
            if (length_ - 1 > std::numeric_limits<Offset>::max() || used + length_ > kMaxIndex)
                return false;
            if (used + length_ > columns_.size())
                columns_.resize(2 * (used + length_));
            int* const sorted = columns_.data() + used;
            if (isTwin)
                std::copy_n(sorted - length_, length_, sorted);
            else
                SortColumns(sorted);
            lengths_[row] = int(length_);
            StoreOffsets(row);
            used += length_;
        }
        return true;
    }

    /// The columns of the rows built, row after row.
    const RawVector<int>& Columns() const { return columns_; }

private:
    /// The last occurrence of a column: its row (upper half) and its ordinal among the row's
    /// columns.
    using Mark = std::uint64_t;

    const int* List(std::size_t e) const { return lists_ + (e == 0 ? 0 : ends_[e - 1]); }
    std::size_t Size(std::size_t e) const { return ends_[e] - (e == 0 ? 0 : ends_[e - 1]); }

    /// The row's columns in the order in which its elements name them, and for each entry of
    /// those elements which column it is.
    void CollectColumns(int row)
    {
        const Touch* const end = adjacency_.end(row);
        Mark* const marks = marks_.data();
        int* const unsorted = unsorted_.data();
        int* slots = slots_.data();
        Mark length = 0;
        for (const Touch* t = adjacency_.begin(row); t != end; ++t)
        {
            const int* const list = List(std::size_t(t->element));
            const std::size_t size = Size(std::size_t(t->element));
            for (std::size_t k = 0; k < size; ++k)
            {
                Mark mark = marks[list[k]];
                if (mark >> 32 != Mark(row))
                {
                    mark = Mark(row) << 32 | length;
                    marks[list[k]] = mark;
                    unsorted[length++] = list[k];
                }
                slots[k] = int(mark & 0xffffffff);
            }
            slots += size;
        }
        length_ = std::size_t(length);
    }

    /// Room for what CollectColumns finds.
    void Reserve(int row)
    {
        const auto touches = std::uint64_t(adjacency_.end(row) - adjacency_.begin(row));
        const std::uint64_t most = touches * widest_ + kRankMargin;
        if (slots_.size() >= most)
            return;
        // One long list must not be counted for every element of the row.
        std::uint64_t entries = kRankMargin;
        for (const Touch* t = adjacency_.begin(row); t != adjacency_.end(row); ++t)
            entries += Size(std::size_t(t->element));
        if (slots_.size() >= entries)
            return;
        const std::uint64_t room = std::min(most, 2 * entries);
        if (room > unsorted_.max_size())
            throw std::bad_alloc();
        slots_.resize(std::size_t(room));
        unsorted_.resize(std::size_t(room));
        rank_.resize(std::size_t(room));
    }

    /// Writes the columns, sorted, to @p sorted, and finds the rank of each.
    void SortColumns(int* sorted)
    {
        const int* const unsorted = unsorted_.data();
        int* const rank = rank_.data();
        constexpr std::size_t kShort = 64; // up to here comparing all with all is quicker
        if (length_ <= kShort)
        {
            Rank(unsorted, int(length_), rank);
            for (std::size_t i = 0; i < length_; ++i)
                sorted[rank[i]] = unsorted[i];
            return;
        }
        std::copy_n(unsorted, length_, sorted);
        std::sort(sorted, sorted + length_);
        for (std::size_t i = 0; i < length_; ++i)
            rank[marks_[std::size_t(sorted[i])] & 0xffffffff] = int(i);
    }

    void StoreOffsets(int row) const
    {
        // Copies, since the compiler assumes that stored bytes may alias members.
        const int* const rank = rank_.data();
        const int* slot = slots_.data();
        const Touch* const end = adjacency_.end(row);
        for (const Touch* t = adjacency_.begin(row); t != end; ++t)
        {
            const std::size_t e = std::size_t(t->element), size = Size(e);
            Offset* const out = offsets_ + offsetStart_[e] + std::size_t(t->place) * size;
            for (std::size_t k = 0; k < size; ++k)
                out[k] = Offset(rank[slot[k]]);
            slot += size;
        }
    }

    const Adjacency& adjacency_;
    const int* lists_;
    const std::size_t* ends_;
    const std::size_t* offsetStart_;
    Offset* offsets_;
    int* lengths_;
    std::size_t equations_;
    std::size_t widest_; ///< entries of the longest element list

    RawVector<Mark> marks_; ///< of every equation
    RawVector<int> columns_;

    // Of the present row:
    std::size_t length_ = 0;
    std::vector<int> unsorted_; ///< its columns
    std::vector<int> rank_;     ///< of each of them
    std::vector<int> slots_;    ///< which column each entry of its elements is
};

/// Accumulates the lengths in rowStart; false when the sum is more than an int can count.
bool SumLengths(std::vector<int>& rowStart)
{
    std::size_t sum = 0;
    for (int& start : rowStart)
    {
        sum += std::size_t(start);
        if (sum > kMaxIndex)
            return false;
        start = int(sum);
    }
    return true;
}

/// Builds all rows with offsets of one type, in parts that threads build independently and
/// concatenate once all lengths are known.
template <class Offset>
bool BuildAs(Pattern& pattern, const Adjacency& touches, int parts)
{
    pattern.offsetBytes = int(sizeof(Offset));
    const std::size_t entries = pattern.offsetStart.back();
    pattern.offsets.resize(entries * sizeof(Offset));
    pattern.rowStart.assign(std::size_t(pattern.n) + 1, 0);
    const RawVector<int>& order = touches.Order();
    const auto border = [&](int part) {
        return order.size() * std::size_t(part) / std::size_t(parts);
    };
    std::vector<RowBuilder<Offset>> builders;
    builders.reserve(std::size_t(parts));
    std::size_t widest = 0;
    for (std::size_t e = 0; e < pattern.elements.Count(); ++e)
        widest = std::max(widest, std::size_t(pattern.ElementSize(e)));
    for (int part = 0; part < parts; ++part)
        builders.emplace_back(pattern, touches, widest);
    const auto forParts = [&](auto body) {
        parallel::ForEach(std::size_t(parts), [&](std::size_t part) { body(int(part)); });
    };

    std::atomic<bool> isBuilt = true;
    forParts([&](int part) {
        const std::size_t first = border(part), count = border(part + 1) - first;
        if (!builders[std::size_t(part)].Build(order.data() + first, count,
                                               entries / std::size_t(parts) / 4 * 3))
            isBuilt = false;
    });
    if (!isBuilt || !SumLengths(pattern.rowStart))
        return false;
    pattern.columns.resize(std::size_t(pattern.rowStart.back()));
    forParts([&](int part) {
        const int* from = builders[std::size_t(part)].Columns().data();
        for (std::size_t k = border(part); k < border(part + 1); ++k)
        {
            const int* start = pattern.rowStart.data() + order[k];
            std::copy_n(from, start[1] - start[0], pattern.columns.data() + start[0]);
            from += start[1] - start[0];
        }
    });
    return true;
}

} // namespace

bool BuildRows(Pattern& pattern)
{
    constexpr std::size_t kWorthThreads = 100'000; // entries, about 0.4 ms
    constexpr int kMostParts = 8; // each stores the last occurrence of every column
    const int parts =
        pattern.offsetStart.back() < kWorthThreads ? 1 : std::min(ThreadCount(0), kMostParts);
    const Adjacency touches(pattern, parts);
    pattern.firstElement.resize(std::size_t(pattern.n));
    const double span = SumBlocks(pattern.n, [&](int begin, int end) {
        double sum = 0; // of integers, which is exact
        for (int row = begin; row < end; ++row)
            if (touches.begin(row) != touches.end(row))
            {
                pattern.firstElement[std::size_t(row)] = touches.begin(row)->element;
                sum += (touches.end(row) - 1)->element - touches.begin(row)->element;
            }
        return sum;
    });
    pattern.span = touches.Order().empty() ? 0 : span / double(touches.Order().size());
    return BuildAs<std::uint8_t>(pattern, touches, parts) ||
           BuildAs<std::uint16_t>(pattern, touches, parts) ||
           BuildAs<std::uint32_t>(pattern, touches, parts);
}

} // namespace numerics
