#include "numerics/numerics_Pattern.h"
#include "numerics/numerics_Threads.h"

#include <tbb/parallel_for.h>

#include <algorithm>

namespace math::impl
{
namespace
{

/// Where the entries of one element go.
template <class Offset>
struct Landing
{
    const int* list;
    int size;
    const int* rowStart;
    const Offset* offset; ///< of the first entry; row-major
    double* values;
};

/// Fetches the start of a row of so many entries from an element.
inline void FetchRow(const double* row, int size)
{
    constexpr int kLine = 8; // doubles
    __builtin_prefetch(row, 1);
    __builtin_prefetch(row + kLine, 1);
    if (size > 8)
    {
        __builtin_prefetch(row + 2 * kLine, 1);
        __builtin_prefetch(row + 3 * kLine, 1);
    }
}

/// Adds the rows i of an element with takes(equation) true. kSize is the element's size where that
/// is common, so that the loop along a row has no end to test; otherwise 0. Where @p soon is given,
/// row by row the rows of that list are fetched meanwhile.
template <int kSize, class Offset, class Takes>
inline void AddRows(const Landing<Offset>& to, const double* m, const int* soon, Takes takes)
{
    const int size = kSize > 0 ? kSize : to.size;
    const Offset* offset = to.offset;
    for (int i = 0; i < size; ++i, offset += size, m += size)
    {
        if (soon)
            FetchRow(to.values + to.rowStart[soon[i]], size);
        if (!takes(to.list[i]))
            continue;
        double* const row = to.values + to.rowStart[to.list[i]];
        for (int j = 0; j < size; ++j)
            row[offset[j]] += m[j];
    }
}

/// The list of an element a little further on where rows lie far apart, which halves the time
/// there; otherwise null.
inline const int* ListToFetch(const Pattern& p, std::size_t at, std::size_t size)
{
    return p.isScattered && at + 4 * size <= p.elements.values.size()
               ? p.elements.values.data() + at + 3 * size
               : nullptr;
}

template <class Offset, class Takes>
inline void AddOne(const Pattern& p, std::size_t element, const double* m, double* values,
                   Takes takes)
{
    const std::size_t at = p.ElementStart(element);
    const void* const offsets = p.offsets.data();
    const Landing<Offset> to = {
        p.elements.values.data() + at, int(p.elements.ends[element] - at), p.rowStart.data(),
        static_cast<const Offset*>(offsets) + p.offsetStart[element], values};
    const int* const soon = ListToFetch(p, at, std::size_t(to.size));
    switch (to.size)
    {
    case 3:
        return AddRows<3>(to, m, soon, takes);
    case 4:
        return AddRows<4>(to, m, soon, takes);
    case 6:
        return AddRows<6>(to, m, soon, takes);
    case 8:
        return AddRows<8>(to, m, soon, takes);
    case 16:
        return AddRows<16>(to, m, soon, takes);
    default:
        return AddRows<0>(to, m, soon, takes);
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

/// Each part of the elements is one thread's own, and so are the rows that no earlier part
/// touches. What it has for other rows is added at the end, part after part.
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
    tbb::parallel_for(0, parts, [&](int part) {
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
    // Twice as many parts as threads, but few enough that most rows are a part's own.
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

} // namespace math::impl
