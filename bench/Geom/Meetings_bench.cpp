// Where the lines of one set meet those of another: two sets of segments, and a section through the
// edges of a mesh, whose index each peer builds too. The peers deliver the points with their pairs,
// sorted by the line of the first set, then along it.
#include "Geom/Geom_LineMeetings2D.h"
#include "Geom/SegmentSets.h"

#include <benchmark/benchmark.h>

#include <CGAL/Simple_cartesian.h>
#include <CGAL/box_intersection_d.h>
#include <CGAL/intersections.h>
#include <algorithm>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/segment.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{
using Geom::LineSet2D;

struct Hit
{
    std::size_t first;
    double along;
    std::size_t second;
    double x, y;

    bool operator<(const Hit& o) const
    {
        return std::tie(first, along, second) < std::tie(o.first, o.along, o.second);
    }
};
using Hits = std::vector<Hit>;

Hit HitAt(const LineSet2D& first, std::size_t i, std::size_t k, double x, double y)
{
    const auto& [a, b] = first[i];
    return {i, (x - a.x) * (b.x - a.x) + (y - a.y) * (b.y - a.y), k, x, y};
}

Hits CgalBoxes(const LineSet2D& first, const LineSet2D& second)
{
    using Kernel = CGAL::Simple_cartesian<double>;
    using Box = CGAL::Box_intersection_d::Box_with_info_d<double, 2, std::size_t>;
    std::vector<Kernel::Segment_2> segments[2];
    std::vector<Box> boxes[2];
    for (int set = 0; set < 2; ++set)
        for (const Geom::Line2D& line : set == 0 ? first : second)
        {
            segments[set].emplace_back(Kernel::Point_2(line.first.x, line.first.y),
                                       Kernel::Point_2(line.second.x, line.second.y));
            boxes[set].emplace_back(segments[set].back().bbox(), segments[set].size() - 1);
        }
    Hits hits;
    CGAL::box_intersection_d(
        boxes[0].begin(), boxes[0].end(), boxes[1].begin(), boxes[1].end(),
        [&](const Box& a, const Box& b) {
            const auto result = CGAL::intersection(segments[0][a.info()], segments[1][b.info()]);
            if (!result)
                return;
            if (const auto* p = boost::get<Kernel::Point_2>(&*result))
                hits.push_back(HitAt(first, a.info(), b.info(), p->x(), p->y()));
        });
    std::sort(hits.begin(), hits.end());
    return hits;
}

Hits BoostTree(const LineSet2D& first, const LineSet2D& second)
{
    namespace bg = boost::geometry;
    using Point = bg::model::d2::point_xy<double>;
    using Segment = bg::model::segment<Point>;
    using Entry = std::pair<bg::model::box<Point>, std::size_t>;
    const auto segmentOf = [](const Geom::Line2D& line) {
        return Segment({line.first.x, line.first.y}, {line.second.x, line.second.y});
    };
    std::vector<Entry> entries;
    for (const Geom::Line2D& line : second)
        entries.emplace_back(bg::return_envelope<bg::model::box<Point>>(segmentOf(line)),
                             entries.size());
    const bg::index::rtree<Entry, bg::index::quadratic<16>> tree(entries);
    Hits hits;
    std::vector<Point> met;
    for (std::size_t i = 0; i < first.size(); ++i)
    {
        const Segment segment = segmentOf(first[i]);
        for (auto found = tree.qbegin(bg::index::intersects(segment)); found != tree.qend();
             ++found)
        {
            met.clear();
            bg::intersection(segment, segmentOf(second[found->second]), met);
            if (!met.empty())
                hits.push_back(HitAt(first, i, found->second, met[0].x(), met[0].y()));
        }
    }
    std::sort(hits.begin(), hits.end());
    return hits;
}

using Sets = std::pair<LineSet2D, LineSet2D>;

Sets TwoSets(std::size_t n)
{
    LineSet2D all = bench::ShortSegments(2 * n);
    return {{all.begin(), all.begin() + std::ptrdiff_t(n)},
            {all.begin() + std::ptrdiff_t(n), all.end()}};
}

/// The edges of side x side squares, and lines through them.
Sets MeshAndSections(int side, std::size_t sections)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> shift(-0.25, 0.25), anywhere(0, side);
    std::vector<Geom::Point2D> nodes;
    for (int i = 0; i < (side + 1) * (side + 1); ++i)
        nodes.push_back({i % (side + 1) + shift(random), i / (side + 1) + shift(random)});
    Sets sets;
    for (int i = 0; i < (side + 1) * (side + 1); ++i)
    {
        if (i % (side + 1) < side)
            sets.second.push_back({nodes[std::size_t(i)], nodes[std::size_t(i + 1)]});
        if (i / (side + 1) < side)
            sets.second.push_back({nodes[std::size_t(i)], nodes[std::size_t(i + side + 1)]});
    }
    while (sets.first.size() < sections)
        sets.first.push_back({{anywhere(random), -1}, {anywhere(random), side + 1.0}});
    return sets;
}

using Peer = Hits (*)(const LineSet2D&, const LineSet2D&);

void RacePeer(benchmark::State& state, Peer peer, const Sets& sets)
{
    std::vector<Geom::LineMeeting2D> ours;
    Geom::LineMeetings2D(ours, sets.first, sets.second, Geom::Precision());
    const Hits theirs = peer(sets.first, sets.second);
    // Ends within KVI's tolerance only may be on one side.
    if (std::max(ours.size(), theirs.size()) - std::min(ours.size(), theirs.size()) >
        ours.size() / 1000 + 2)
        return state.SkipWithError("other meetings");
    for (auto _ : state)
    {
        Hits hits = peer(sets.first, sets.second);
        benchmark::DoNotOptimize(hits.data());
    }
}

void RaceKvi(benchmark::State& state, const Sets& sets)
{
    for (auto _ : state)
    {
        std::vector<Geom::LineMeeting2D> meetings;
        Geom::LineMeetings2D(meetings, sets.first, sets.second, Geom::Precision());
        benchmark::DoNotOptimize(meetings.data());
        state.counters["meetings"] = double(meetings.size());
    }
}

const bool kRegistered = [] {
    const std::pair<const char*, Sets (*)()> rows[] = {
        {"3s|1e4 short with 1e4", [] { return TwoSets(10000); }},
        {"3s|1e5 short with 1e5", [] { return TwoSets(100000); }},
        {"3s|1 line with 1.8e5 edges", [] { return MeshAndSections(300, 1); }},
        {"3s|100 lines with 1.8e5 edges", [] { return MeshAndSections(300, 100); }}};
    for (const auto& [row, make] : rows)
    {
        const auto add = [&, &row = row](const char* who, auto run) {
            benchmark::RegisterBenchmark((std::string(row) + "|" + who).c_str(), run)
                ->Unit(benchmark::kMillisecond);
        };
        add("kvi", [make = make](auto& state) { RaceKvi(state, make()); });
        add("CGAL box join", [make = make](auto& state) { RacePeer(state, CgalBoxes, make()); });
        add("Boost R-tree", [make = make](auto& state) { RacePeer(state, BoostTree, make()); });
    }
    return true;
}();
} // namespace
