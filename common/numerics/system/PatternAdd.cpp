#include "numerics/system/Pattern.h"
#include "numerics/system/Threads.h"
#include "parallel/For.h"

#include <algorithm>
#include <cstddef>
#include <emmintrin.h>
#include <type_traits>

namespace numerics
{
namespace
{

/// The destination of one element's entries.
template <class Offset>
struct Target
{
    const int* list;
    int size;
    const int* rowStart;
    const Offset* offset; ///< of the first entry; row-major
    double* values;
};

/// Prefetches the matrix rows of a few elements ahead: callers mostly store their matrices
/// consecutively, with gaps that defeat the hardware prefetcher.
template <int kSize>
inline void FetchAhead(const double* m)
{
    constexpr int kAhead = 160; // doubles
    if constexpr (kSize > 0 && kSize <= 8)
        __builtin_prefetch(m + kAhead);
}

/// Prefetches a row of the matrix: [row, end).
inline void FetchRow(const double* row, const double* end)
{
    constexpr int kLine = 8; // doubles
    for (; row < end; row += kLine)
        __builtin_prefetch(row, 1);
}

/// Do the equations come in consecutive pairs, as the two unknowns of a node? Then the entries of
/// each pair are neighbours in every row.
template <int kSize>
inline bool IsPaired(const int* list, int size)
{
    bool isPaired = size % 2 == 0;
    for (int k = 1; k < (kSize > 0 ? kSize : size); k += 2)
        isPaired = isPaired & (list[k] - 1 == list[k - 1]);
    return isPaired;
}

/// Are the two sides of a 4-node element neighbours in a row-wise numbering? Its corners go round,
/// so the second pair is reversed.
inline bool IsRound(const int* list) { return (list[0] + 1 == list[1]) & (list[3] + 1 == list[2]); }

/// The same two entries at @p to += those of @p m
inline void AddPair(double* to, __m128d m) { _mm_storeu_pd(to, _mm_add_pd(_mm_loadu_pd(to), m)); }

/// row[offset[j]] += m[j] for each of so many entries
template <bool kPaired, class Offset>
inline void AddRow(double* row, const Offset* offset, const double* m, std::ptrdiff_t size)
{
    // Otherwise the compiler adds the row's start to each offset again.
    asm("" : "+r"(row));
    if constexpr (kPaired)
        for (std::ptrdiff_t j = 0; j < size; j += 2)
            AddPair(row + offset[j], _mm_loadu_pd(m + j));
    else
        for (std::ptrdiff_t j = 0; j < size; ++j)
            row[offset[j]] += m[j];
}

/// Adds the rows i of an element with takes(equation) true. kSize is the element's size where that
/// is common, so that no loop has an end to test; otherwise 0. With kFetch the rows of the list
/// @p soon are fetched meanwhile.
template <int kSize, bool kPaired, bool kFetch, class Offset, class Takes>
inline void AddRows(const Target<Offset>& to, const double* m, const int* soon, Takes takes)
{
    const std::ptrdiff_t size = kSize > 0 ? kSize : to.size;
    const auto addRow = [&](std::ptrdiff_t i) {
        FetchAhead<kSize>(m + i * size);
        if constexpr (kFetch)
            FetchRow(to.values + to.rowStart[soon[i]], to.values + to.rowStart[soon[i] + 1]);
        if (takes(to.list[i]))
            AddRow<kPaired>(to.values + to.rowStart[to.list[i]], to.offset + i * size, m + i * size,
                            size);
    };
    if constexpr (kSize == 3 || kSize == 4)
    {
        addRow(0);
        addRow(1);
        addRow(2);
        if constexpr (kSize == 4)
            addRow(3);
    }
    else
        for (std::ptrdiff_t i = 0; i < size; ++i)
            addRow(i);
}

/// The same for the four rows of such an element.
template <class Offset, class Takes>
inline void AddRound(const Target<Offset>& to, const double* m, Takes takes)
{
    for (std::ptrdiff_t i = 0; i < 4; ++i, m += 4)
    {
        FetchAhead<4>(m);
        if (!takes(to.list[i]))
            continue;
        double* const row = to.values + to.rowStart[to.list[i]];
        const __m128d second = _mm_loadu_pd(m + 2);
        AddPair(row + to.offset[4 * i], _mm_loadu_pd(m));
        AddPair(row + to.offset[4 * i + 3], _mm_shuffle_pd(second, second, 1));
    }
}

template <int kSize, class Offset, class Takes>
inline void AddSized(const Target<Offset>& to, const double* m, const int* soon, Takes takes)
{
    const auto add = [&](auto isPaired) {
        if (soon)
            AddRows<kSize, isPaired, true>(to, m, soon, takes);
        else
            AddRows<kSize, isPaired, false>(to, m, soon, takes);
    };
    if constexpr (kSize == 4)
        if (soon == nullptr && IsRound(to.list))
            return AddRound(to, m, takes);
    if constexpr (kSize % 2 == 0)
        if (IsPaired<kSize>(to.list, to.size))
            return add(std::true_type());
    add(std::false_type());
}

/// The list of an element a few positions ahead if rows are far apart, where prefetching halves the
/// time; otherwise null.
inline const int* ListToFetch(const Pattern& p, std::size_t at, std::size_t size)
{
    constexpr std::size_t kAhead = 4; // elements
    return p.isScattered && at + (kAhead + 1) * size <= p.elements.values.size()
               ? p.elements.values.data() + at + kAhead * size
               : nullptr;
}

template <class Offset, class Takes>
inline void AddOne(const Pattern& p, std::size_t element, const double* m, double* values,
                   Takes takes)
{
    const std::size_t at = p.ElementStart(element);
    const void* const offsets = p.offsets.data();
    const Target<Offset> to = {
        p.elements.values.data() + at, int(p.elements.ends[element] - at), p.rowStart.data(),
        static_cast<const Offset*>(offsets) + p.offsetStart[element], values};
    const int* const soon = ListToFetch(p, at, std::size_t(to.size));
    switch (to.size)
    {
    case 3:
        return AddSized<3>(to, m, soon, takes);
    case 4:
        return AddSized<4>(to, m, soon, takes);
    case 6:
        return AddSized<6>(to, m, soon, takes);
    case 8:
        return AddSized<8>(to, m, soon, takes);
    case 16:
        return AddSized<16>(to, m, soon, takes);
    default:
        return AddSized<0>(to, m, soon, takes);
    }
}

constexpr auto kTakeAll = [](int) { return true; };

template <class Offset>
void AddMany(const Pattern& p, std::size_t first, std::size_t count, const double* m,
             double* values)
{
    const std::size_t start = p.offsetStart[first];
    for (std::size_t e = first; e < first + count; ++e)
        AddOne<Offset>(p, e, m + (p.offsetStart[e] - start), values, kTakeAll);
}

/// Each thread owns a part of the elements and the rows that no earlier part touches. Its
/// contributions to other rows are added at the end, in the order of the parts.
template <class Offset>
void AddInParts(const Pattern& p, std::size_t first, std::size_t count, const double* m,
                double* values, int parts)
{
    const std::size_t start = p.offsetStart[first];
    const auto border = [&](int part) {
        return first + count * std::size_t(part) / std::size_t(parts);
    };
    std::vector<std::vector<std::size_t>> later; // elements with such rows
    later.resize(std::size_t(parts));
    parallel::ForEach(std::size_t(parts), [&](std::size_t number) {
        const int part = int(number);
        const std::size_t begin = border(part), end = border(part + 1);
        for (std::size_t e = begin; e < end; ++e)
        {
            bool isWhole = true;
            AddOne<Offset>(p, e, m + (p.offsetStart[e] - start), values, [&](int row) {
                const bool isOwn =
                    part == 0 || std::size_t(p.firstElement[std::size_t(row)]) >= begin;
                isWhole = isWhole && isOwn;
                return isOwn;
            });
            if (!isWhole)
                later[std::size_t(part)].push_back(e);
        }
    });
    for (int part = 1; part < parts; ++part)
        for (const std::size_t e : later[std::size_t(part)])
            AddOne<Offset>(p, e, m + (p.offsetStart[e] - start), values, [&](int row) {
                return std::size_t(p.firstElement[std::size_t(row)]) < border(part);
            });
}

} // namespace

void AddElement(const Pattern& pattern, std::size_t element, const double* m, double* values)
{
    if (pattern.offsetBytes == 1)
        AddOne<std::uint8_t>(pattern, element, m, values, kTakeAll);
    else if (pattern.offsetBytes == 2)
        AddOne<std::uint16_t>(pattern, element, m, values, kTakeAll);
    else
        AddOne<std::uint32_t>(pattern, element, m, values, kTakeAll);
}

void AddElements(const Pattern& pattern, std::size_t first, std::size_t count, const double* m,
                 double* values, int threads)
{
    if (count == 0)
        return;
    const std::size_t entries = pattern.offsetStart[first + count] - pattern.offsetStart[first];
    constexpr std::size_t kWorthThreads = 400'000; // about 0.2 ms
    // Twice as many parts as threads, but few enough that most rows belong to one part.
    const double most = double(count) / (4 * pattern.span + 1);
    const int parts = threads == 1 || entries < kWorthThreads
                          ? 1
                          : int(std::min(most, 2.0 * ThreadCount(threads)));
    const auto run = [&](auto many, auto inParts) {
        if (parts < 2)
            many(pattern, first, count, m, values);
        else
            OnThreads(threads, [&] { inParts(pattern, first, count, m, values, parts); });
    };
    if (pattern.offsetBytes == 1)
        run(AddMany<std::uint8_t>, AddInParts<std::uint8_t>);
    else if (pattern.offsetBytes == 2)
        run(AddMany<std::uint16_t>, AddInParts<std::uint16_t>);
    else
        run(AddMany<std::uint32_t>, AddInParts<std::uint32_t>);
}

} // namespace numerics
