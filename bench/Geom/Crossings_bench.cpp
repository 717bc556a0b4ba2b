// Where the segments of a set meet. The peers deliver the crossing points with their pairs, sorted
// by x, then y; KVI its events, which are unique and in the order of EvLess. The segments are in
// general position, so all find the same.
#include "Geom/SegmentSets.h"

#include <benchmark/benchmark.h>

#include <CGAL/Simple_cartesian.h>
#include <CGAL/box_intersection_d.h>
#include <CGAL/intersections.h>
#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <geos/algorithm/LineIntersector.h>
#include <geos/geom/CoordinateArraySequence.h>
#include <geos/geom/CoordinateSequence.h>
#include <geos/noding/BasicSegmentString.h>
#include <geos/noding/MCIndexNoder.h>
#include <geos/noding/SegmentIntersector.h>
#include <memory>

namespace
{
using bench::Hit;
using Hits = std::vector<Hit>;
using Geom::LineSet2D;

Hits CgalBoxJoin(const LineSet2D& lines)
{
    using Kernel = CGAL::Simple_cartesian<double>;
    using Box = CGAL::Box_intersection_d::Box_with_info_d<double, 2, std::size_t>;
    std::vector<Kernel::Segment_2> segments;
    std::vector<Box> boxes;
    for (const Geom::Line2D& line : lines)
    {
        segments.emplace_back(Kernel::Point_2(line.first.x, line.first.y),
                              Kernel::Point_2(line.second.x, line.second.y));
        boxes.emplace_back(segments.back().bbox(), segments.size() - 1);
    }
    Hits hits;
    CGAL::box_self_intersection_d(boxes.begin(), boxes.end(), [&](const Box& a, const Box& b) {
        const auto result = CGAL::intersection(segments[a.info()], segments[b.info()]);
        if (!result)
            return;
        if (const auto* point = boost::get<Kernel::Point_2>(&*result))
            hits.push_back({point->x(), point->y(), a.info(), b.info()});
    });
    std::sort(hits.begin(), hits.end());
    return hits;
}

/// Takes the intersections of strings of one segment each.
class GeosTaker final : public geos::noding::SegmentIntersector
{
public:
    void processIntersections(geos::noding::SegmentString* a, std::size_t ia,
                              geos::noding::SegmentString* b, std::size_t ib) override
    {
        if (a == b)
            return;
        intersector_.computeIntersection(a->getCoordinate(ia), a->getCoordinate(ia + 1),
                                         b->getCoordinate(ib), b->getCoordinate(ib + 1));
        if (!intersector_.hasIntersection())
            return;
        const auto& point = intersector_.getIntersection(0);
        hits.push_back({point.x, point.y, NumberOf(a), NumberOf(b)});
    }
    Hits hits;

private:
    static std::size_t NumberOf(const geos::noding::SegmentString* s)
    {
        return std::size_t(reinterpret_cast<std::uintptr_t>(s->getData()));
    }
    geos::algorithm::LineIntersector intersector_;
};

Hits GeosNoder(const LineSet2D& lines)
{
    std::vector<std::unique_ptr<geos::geom::CoordinateSequence>> points;
    std::vector<std::unique_ptr<geos::noding::SegmentString>> strings;
    std::vector<geos::noding::SegmentString*> all;
    for (const auto& [a, b] : lines)
    {
        auto sequence = std::make_unique<geos::geom::CoordinateArraySequence>();
        sequence->add(geos::geom::Coordinate(a.x, a.y));
        sequence->add(geos::geom::Coordinate(b.x, b.y));
        points.push_back(std::move(sequence));
        strings.push_back(std::make_unique<geos::noding::BasicSegmentString>(
            points.back().get(), reinterpret_cast<const void*>(std::uintptr_t(strings.size()))));
        all.push_back(strings.back().get());
    }
    GeosTaker taker;
    geos::noding::MCIndexNoder noder(&taker);
    noder.computeNodes(&all);
    std::sort(taker.hits.begin(), taker.hits.end());
    return std::move(taker.hits);
}

Hits BoostTree(const LineSet2D& lines)
{
    namespace bg = boost::geometry;
    using Point = bg::model::d2::point_xy<double>;
    using Segment = bg::model::segment<Point>;
    using Box = bg::model::box<Point>;
    using Entry = std::pair<Box, std::size_t>;
    std::vector<Segment> segments;
    std::vector<Entry> entries;
    for (const auto& [a, b] : lines)
    {
        segments.emplace_back(Point(a.x, a.y), Point(b.x, b.y));
        entries.emplace_back(bg::return_envelope<Box>(segments.back()), entries.size());
    }
    const bg::index::rtree<Entry, bg::index::quadratic<16>> tree(entries);
    Hits hits;
    std::vector<Point> met;
    for (const Entry& entry : entries)
        for (auto other = tree.qbegin(bg::index::intersects(entry.first)); other != tree.qend();
             ++other)
        {
            if (other->second <= entry.second)
                continue;
            met.clear();
            bg::intersection(segments[entry.second], segments[other->second], met);
            if (!met.empty())
                hits.push_back({met[0].x(), met[0].y(), entry.second, other->second});
        }
    std::sort(hits.begin(), hits.end());
    return hits;
}

using MakeSet = LineSet2D (*)(std::size_t);
using Peer = Hits (*)(const LineSet2D&);
using Finder = void (*)(std::vector<Geom::LineEvent2D>&, const LineSet2D&);

void RacePeer(benchmark::State& state, Peer peer, MakeSet make, std::size_t n)
{
    LineSet2D lines = make(n);
    if (Hits hits = peer(lines); !bench::AreAllEvents(hits, lines))
        return state.SkipWithError("other crossings");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(lines.data());
        Hits hits = peer(lines);
        benchmark::DoNotOptimize(hits.data());
    }
}

void RaceKvi(benchmark::State& state, Finder finder, MakeSet make, std::size_t n)
{
    LineSet2D lines = make(n);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(lines.data());
        std::vector<Geom::LineEvent2D> events;
        finder(events, lines);
        benchmark::DoNotOptimize(events.data());
        state.counters["events"] = double(events.size());
    }
}

void Register(const std::string& name, MakeSet make, std::size_t n)
{
    const auto add = [&](const char* who, auto race, auto what) {
        benchmark::RegisterBenchmark(("3|" + name + "|" + who).c_str(), race, what, make, n)
            ->Unit(benchmark::kMillisecond);
    };
    add("kvi", RaceKvi, Finder(Geom::LineIntersectionEvents2D));
    add("CGAL box join", RacePeer, Peer(CgalBoxJoin));
    add("GEOS MCIndexNoder", RacePeer, Peer(GeosNoder));
    add("Boost R-tree join", RacePeer, Peer(BoostTree));
}

/// The other finders beside the fastest peer, which tests for crossing points only.
void RegisterFinder(const std::string& finderName, Finder finder, const std::string& name,
                    MakeSet make, std::size_t n)
{
    const std::string row = "3|" + name + ", " + finderName + "|";
    benchmark::RegisterBenchmark((row + "kvi").c_str(), RaceKvi, finder, make, n)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((row + "CGAL box join").c_str(), RacePeer, Peer(CgalBoxJoin), make,
                                 n)
        ->Unit(benchmark::kMillisecond);
}

const bool kRegistered = [] {
    Register("1e3 short", bench::ShortSegments, 1000);
    Register("1e4 short", bench::ShortSegments, 10000);
    Register("1e5 short", bench::ShortSegments, 100000);
    Register("1e3 long", bench::LongSegments, 1000);
    Register("5e3 long", bench::LongSegments, 5000);
    const std::pair<const char*, Finder> others[] = {
        {"crossing", Geom::LineCrossingEvents2D},
        {"coincident", Geom::LineCoincidentEvents2D},
        {"collision", Geom::LineCollisionEvents2D},
    };
    for (const auto& [name, finder] : others)
    {
        RegisterFinder(name, finder, "1e4 short", bench::ShortSegments, 10000);
        RegisterFinder(name, finder, "1e3 long", bench::LongSegments, 1000);
    }
    return true;
}();

} // namespace
