// Validity of one ring. The libraries test full simplicity; KVI's rule is lighter (closed, counter-
// clockwise, no repeated vertex, an area), so the fair reference is the same rule on a sorted copy.
#include "Geom/Geom_Polygon.h"
#include "Geom/Geom_Vector.h"

#include <benchmark/benchmark.h>

#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_2.h>
#include <algorithm>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <cmath>
#include <geos/geom/CoordinateArraySequence.h>
#include <geos/geom/GeometryFactory.h>
#include <geos/geom/LinearRing.h>
#include <geos/geom/Polygon.h>
#include <random>

namespace
{
using Ring = std::vector<Geom::Point2D>;

Ring Star(std::size_t n)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> radius(500, 1000);
    Ring ring;
    for (std::size_t i = 0; i < n; ++i)
    {
        const double angle = 6.283185307179586 * double(i) / double(n), r = radius(random);
        ring.push_back({r * std::cos(angle), r * std::sin(angle)});
    }
    ring.push_back(ring.front());
    return ring;
}

/// The light rule with the vertices sorted by x: those within the half-epsilon on x are compared.
bool IsValidBySorting(const Ring& ring)
{
    const Geom::Precision3D& precision = Geom::Precision();
    const std::size_t n = ring.size();
    if (n < 4 || !IsEqual2D(ring.front(), ring.back(), precision) ||
        !Geom::PolygonIsCCW2D(ring.data(), n) ||
        !(std::fabs(Geom::PolygonArea2D(ring.data(), n)) > 2.5e-8))
        return false;
    Ring sorted(ring.begin(), ring.end() - 1);
    std::sort(sorted.begin(), sorted.end(), [](const Geom::Point2D& a, const Geom::Point2D& b) {
        return a.x != b.x ? a.x < b.x : a.y < b.y;
    });
    for (std::size_t i = 0; i < sorted.size(); ++i)
        for (std::size_t k = i + 1;
             k < sorted.size() && sorted[k].x - sorted[i].x <= precision.halfEpsilon[0]; ++k)
            if (std::fabs(sorted[k].y - sorted[i].y) <= precision.halfEpsilon[1])
                return false;
    return true;
}

/// @p make gives a function that tells whether the ring is valid.
template <class Make>
void Race(benchmark::State& state, Make make, std::size_t n)
{
    Ring ring = Star(n);
    const auto isValid = make(ring);
    if (!isValid())
        return state.SkipWithError("not valid");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(ring.data());
        benchmark::ClobberMemory();
        bool valid = isValid();
        benchmark::DoNotOptimize(valid);
    }
}

auto Kvi(Ring& ring)
{
    return [&ring] { return Geom::PolygonIsValid2D(ring.data(), ring.size(), false); };
}

auto SortedCopy(Ring& ring)
{
    return [&ring] { return IsValidBySorting(ring); };
}

auto Geos(const Ring& ring)
{
    auto points = std::make_unique<geos::geom::CoordinateArraySequence>();
    for (const Geom::Point2D& p : ring)
        points->add(geos::geom::Coordinate(p.x, p.y));
    const auto* factory = geos::geom::GeometryFactory::getDefaultInstance();
    std::shared_ptr<geos::geom::Polygon> polygon =
        factory->createPolygon(factory->createLinearRing(std::move(points)));
    return [polygon] { return polygon->isValid(); };
}

auto Boost(const Ring& ring)
{
    using Point = boost::geometry::model::d2::point_xy<double>;
    boost::geometry::model::polygon<Point, false, true> polygon;
    for (const Geom::Point2D& p : ring)
        polygon.outer().push_back({p.x, p.y});
    return [polygon] { return boost::geometry::is_valid(polygon); };
}

auto Cgal(const Ring& ring)
{
    using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
    CGAL::Polygon_2<Kernel> polygon;
    for (std::size_t i = 0; i + 1 < ring.size(); ++i)
        polygon.push_back(Kernel::Point_2(ring[i].x, ring[i].y));
    return [polygon] {
        return polygon.is_simple() && polygon.orientation() == CGAL::COUNTERCLOCKWISE;
    };
}

const bool kRegistered = [] {
    for (const auto& [name, n] :
         {std::pair{"10", 10}, {"100", 100}, {"1e3", 1000}, {"1e4", 10000}, {"1e5", 100000}})
    {
        const auto add = [&name = name, &n = n](const char* who, auto make) {
            const std::string row = std::string("5|ring ") + name + "|" + who;
            benchmark::RegisterBenchmark(row.c_str(), Race<decltype(make)>, make, std::size_t(n));
        };
        add("kvi", Kvi);
        add("sorted copy, same rule", SortedCopy);
        add("CGAL is_simple", Cgal);
        if (n <= 10000)
        {
            add("GEOS isValid", Geos);
            add("Boost is_valid", Boost);
        }
    }
    return true;
}();

} // namespace
