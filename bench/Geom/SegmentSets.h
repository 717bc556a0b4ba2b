// The segment sets of the benchmarks, and the result of every finder: points with their pairs,
// sorted by x, then y.
#pragma once

#include "Geom/Geom_LineEvents2D.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <random>
#include <tuple>
#include <vector>

namespace bench
{

constexpr double kSide = 1000; // the square that the segments lie in

/// @p n segments of the length @p length in every direction, anywhere in the square.
inline Geom::LineSet2D Segments(std::size_t n, double length)
{
    std::mt19937_64 random(n);
    std::uniform_real_distribution<double> unit(0, 1);
    Geom::LineSet2D lines;
    while (lines.size() < n)
    {
        const double angle = 6.283185307179586 * unit(random);
        const double x = kSide * unit(random), y = kSide * unit(random);
        lines.push_back(
            Geom::LineGet2D({x, y}, {x + length * std::cos(angle), y + length * std::sin(angle)}));
    }
    return lines;
}

/// About as many crossings as segments.
inline Geom::LineSet2D ShortSegments(std::size_t n)
{
    return Segments(n, kSide * std::sqrt(3.14 / double(n)));
}

/// About every eleventh pair crosses.
inline Geom::LineSet2D LongSegments(std::size_t n) { return Segments(n, 0.38 * kSide); }

struct Hit
{
    double x, y;
    std::size_t first, second;

    bool operator<(const Hit& o) const { return std::tie(x, y) < std::tie(o.x, o.y); }
};

/// Whether @p hits are the events of the set, but for the few ends that lie on another segment only
/// within KVI's tolerance: one in ten thousand may be on one side alone.
inline bool AreAllEvents(const std::vector<Hit>& hits, const Geom::LineSet2D& lines)
{
    std::vector<Geom::LineEvent2D> events;
    Geom::LineIntersectionEvents2D(events, lines);
    const auto asPair = [](std::size_t a, std::size_t b) { return std::minmax({a, b}); };
    std::vector<std::pair<std::size_t, std::size_t>> theirs, ours, other;
    for (const Hit& hit : hits)
        theirs.push_back(asPair(hit.first, hit.second));
    for (const Geom::LineEvent2D& event : events)
        ours.push_back(asPair(std::size_t(event.line1 - lines.begin()),
                              std::size_t(event.line2 - lines.begin())));
    std::sort(theirs.begin(), theirs.end());
    std::sort(ours.begin(), ours.end());
    std::set_symmetric_difference(theirs.begin(), theirs.end(), ours.begin(), ours.end(),
                                  std::back_inserter(other));
    return std::is_sorted(hits.begin(), hits.end()) && other.size() <= events.size() / 10000 + 2;
}

} // namespace bench
