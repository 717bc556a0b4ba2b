// The crossings of a set, compared with the one textbook sweep among the peers, with exact
// arithmetic.
#include "Geom/SegmentSets.h"

#include <benchmark/benchmark.h>

#include <CGAL/Arr_segment_traits_2.h>
#include <CGAL/Exact_predicates_exact_constructions_kernel.h>
#include <CGAL/Surface_sweep_2_algorithms.h>

namespace
{

void CgalSweep(benchmark::State& state, std::size_t n)
{
    using Kernel = CGAL::Exact_predicates_exact_constructions_kernel;
    using Traits = CGAL::Arr_segment_traits_2<Kernel>;
    Geom::LineSet2D lines = bench::ShortSegments(n);
    std::vector<Geom::LineEvent2D> events;
    Geom::LineIntersectionEvents2D(events, lines);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(lines.data());
        std::vector<Traits::Curve_2> curves;
        for (const auto& [a, b] : lines)
            curves.emplace_back(Kernel::Point_2(a.x, a.y), Kernel::Point_2(b.x, b.y));
        std::vector<Kernel::Point_2> points;
        CGAL::compute_intersection_points(curves.begin(), curves.end(), std::back_inserter(points));
        if (points.size() != events.size())
            return state.SkipWithError("other crossings");
        benchmark::DoNotOptimize(points.data());
    }
}

} // namespace

BENCHMARK_CAPTURE(CgalSweep, 1000, 1000)
    ->Name("3|1e3 short|CGAL surface sweep")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(CgalSweep, 10000, 10000)
    ->Name("3|1e4 short|CGAL surface sweep")
    ->Unit(benchmark::kMillisecond);
