// Which element of a jittered mesh of quadrangles holds a point. KVI inserts its items one by one;
// CGAL locates the triangle of a Delaunay triangulation over the same nodes, twice as many cells.
#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_QuadTree2D.h"

#include <benchmark/benchmark.h>

#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_hierarchy_2.h>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <cmath>
#include <geos/algorithm/RayCrossingCounter.h>
#include <geos/index/strtree/TemplateSTRtree.h>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace
{
using Geom::Point2D;

struct Mesh
{
    int side;
    std::vector<Point2D> nodes;
    std::vector<std::vector<Point2D>> elements;  ///< closed counter-clockwise rings
    std::vector<unsigned> corners, starts = {0}; ///< the same by numbers of nodes
    Geom::Extents2D box;
};

/// side x side elements of size about 1, nodes moved by up to a quarter.
const Mesh& MeshOf(int side)
{
    static std::map<int, Mesh> meshes;
    Mesh& mesh = meshes[side];
    if (!mesh.elements.empty())
        return mesh;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> shift(-0.25, 0.25);
    mesh.side = side;
    for (int row = 0; row <= side; ++row)
        for (int column = 0; column <= side; ++column)
        {
            mesh.nodes.push_back({column + shift(random), row + shift(random)});
            Geom::ExtentsGrow2D(mesh.box, mesh.nodes.back());
        }
    for (int row = 0; row < side; ++row)
        for (int column = 0; column < side; ++column)
        {
            const Point2D* lower = &mesh.nodes[std::size_t(row * (side + 1) + column)];
            const Point2D* upper = lower + side + 1;
            mesh.elements.push_back({lower[0], lower[1], upper[1], upper[0], lower[0]});
            for (const Point2D* node : {lower, lower + 1, upper + 1, upper})
                mesh.corners.push_back(unsigned(node - mesh.nodes.data()));
            mesh.starts.push_back(unsigned(mesh.corners.size()));
        }
    return mesh;
}

/// Points well inside the mesh, at random or row by row.
std::vector<Point2D> Queries(const Mesh& mesh, int count, bool isRaster)
{
    std::mt19937 random(2);
    std::uniform_real_distribution<double> anywhere(0.3, mesh.side - 0.3);
    const int perRow = int(std::sqrt(count));
    const double step = (mesh.side - 0.6) / perRow;
    std::vector<Point2D> points;
    for (int i = 0; i < count; ++i)
        points.push_back(isRaster ? Point2D{0.3 + i % perRow * step, 0.3 + i / perRow * step}
                                  : Point2D{anywhere(random), anywhere(random)});
    return points;
}

constexpr std::size_t kNowhere = ~std::size_t{0};

class Kvi
{
public:
    explicit Kvi(const Mesh& mesh)
    {
        // Elements of a mesh overlap on every edge of a leaf: fuller leaves hold fewer of them
        // twice.
        tree_.Initialize(mesh.box, 16, Geom::Precision(), unsigned(mesh.elements.size()));
        for (unsigned i = 0; i < mesh.elements.size(); ++i)
            tree_.Insert(i, mesh.elements[i]);
    }
    std::size_t Find(const Point2D& p) { return tree_.Find(p); }

private:
    Geom::QuadTree2D tree_;
};

/// The same from flat arrays.
class KviLoaded
{
public:
    explicit KviLoaded(const Mesh& mesh)
    {
        tree_.Initialize(mesh.box, 16, Geom::Precision(), 0);
        tree_.Load(mesh.nodes.data(), mesh.corners.data(), mesh.starts.data(),
                   unsigned(mesh.elements.size()));
    }
    std::size_t Find(const Point2D& p) { return tree_.Find(p); }

private:
    Geom::QuadTree2D tree_;
};

namespace bg = boost::geometry;
using BoostPoint = bg::model::d2::point_xy<double>;
using BoostRing = bg::model::ring<BoostPoint, false>;
using BoostBox = bg::model::box<BoostPoint>;
using BoostItem = std::pair<BoostBox, std::size_t>;

template <bool IsPacked>
class Boost
{
public:
    explicit Boost(const Mesh& mesh)
    {
        std::vector<BoostItem> items;
        for (const auto& element : mesh.elements)
        {
            BoostRing& ring = rings_.emplace_back();
            for (const Point2D& p : element)
                ring.emplace_back(p.x, p.y);
            const BoostItem item = {bg::return_envelope<BoostBox>(ring), rings_.size() - 1};
            if (IsPacked)
                items.push_back(item);
            else
                tree_.insert(item);
        }
        if (IsPacked)
            tree_ = Tree(items);
    }
    std::size_t Find(const Point2D& p)
    {
        const BoostPoint point(p.x, p.y);
        for (auto found = tree_.qbegin(bg::index::intersects(point)); found != tree_.qend();
             ++found)
            if (bg::covered_by(point, rings_[found->second]))
                return found->second;
        return kNowhere;
    }

private:
    using Tree = bg::index::rtree<BoostItem, bg::index::quadratic<16>>;
    std::vector<BoostRing> rings_;
    Tree tree_;
};

class Geos
{
public:
    explicit Geos(const Mesh& mesh) : mesh_(mesh), tree_(10, mesh.elements.size())
    {
        for (std::size_t i = 0; i < mesh.elements.size(); ++i)
        {
            geos::geom::Envelope box;
            for (const Point2D& p : mesh.elements[i])
                box.expandToInclude(p.x, p.y);
            tree_.insert(box, i);
        }
        tree_.query(geos::geom::Envelope(0, 0, 0, 0), [](std::size_t) {}); // builds it now
    }
    std::size_t Find(const Point2D& p)
    {
        std::size_t found = kNowhere;
        const geos::geom::Coordinate point(p.x, p.y);
        tree_.query(geos::geom::Envelope(p.x, p.x, p.y, p.y), [&](std::size_t i) {
            const std::vector<Point2D>& ring = mesh_.elements[i];
            geos::algorithm::RayCrossingCounter counter(point);
            for (std::size_t k = 1; k < ring.size(); ++k)
                counter.countSegment({ring[k - 1].x, ring[k - 1].y}, {ring[k].x, ring[k].y});
            if (!counter.isPointInPolygon())
                return true;
            found = i;
            return false; // no further
        });
        return found;
    }

private:
    const Mesh& mesh_;
    geos::index::strtree::TemplateSTRtree<std::size_t> tree_;
};

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using HierarchyCells = CGAL::Triangulation_data_structure_2<
    CGAL::Triangulation_hierarchy_vertex_base_2<CGAL::Triangulation_vertex_base_2<Kernel>>>;
using Hierarchy =
    CGAL::Triangulation_hierarchy_2<CGAL::Delaunay_triangulation_2<Kernel, HierarchyCells>>;
using Walk = CGAL::Delaunay_triangulation_2<Kernel>;

/// The hierarchy starts from its top, the plain triangulation from the face found last.
template <class Triangles>
class Cgal
{
public:
    explicit Cgal(const Mesh& mesh)
    {
        std::vector<Kernel::Point_2> points;
        for (const Point2D& p : mesh.nodes)
            points.emplace_back(p.x, p.y);
        triangles_.insert(points.begin(), points.end());
    }
    std::size_t Find(const Point2D& p)
    {
        const bool isWalk = std::is_same_v<Triangles, Walk>;
        last_ = triangles_.locate({p.x, p.y}, isWalk ? last_ : Face());
        return triangles_.is_infinite(last_) ? kNowhere : 0;
    }

private:
    using Face = typename Triangles::Face_handle;
    Triangles triangles_;
    Face last_;
};

template <class Index>
void Build(benchmark::State& state, int side)
{
    const Mesh& mesh = MeshOf(side);
    for (auto _ : state)
    {
        Index index(mesh);
        benchmark::DoNotOptimize(index);
    }
}

/// On a common edge two results are right.
bool IsOnEdge(const std::vector<Point2D>& ring, const Point2D& p)
{
    for (std::size_t i = 1; i < ring.size(); ++i)
        if (Geom::LineContainsPoint2D(ring[i - 1], ring[i], p, Geom::Precision()))
            return true;
    return false;
}

template <class Index>
void Query(benchmark::State& state, int side, int count, bool isRaster)
{
    const Mesh& mesh = MeshOf(side);
    const std::vector<Point2D> points = Queries(mesh, count, isRaster);
    Index index(mesh);
    Geos reference(mesh);
    for (std::size_t i = 0; i < points.size(); i += 97)
    {
        const std::size_t found = index.Find(points[i]), expected = reference.Find(points[i]);
        const bool isCell =
            std::is_same_v<Index, Cgal<Hierarchy>> || std::is_same_v<Index, Cgal<Walk>>;
        if (found == kNowhere ||
            (!isCell && found != expected && !IsOnEdge(mesh.elements[found], points[i])))
            return state.SkipWithError("wrong element");
    }
    for (auto _ : state)
        for (const Point2D& p : points)
        {
            std::size_t found = index.Find(p);
            benchmark::DoNotOptimize(found);
        }
}

template <class Index>
void Register(const std::string& who)
{
    const auto add = [](const std::string& name, auto run) {
        benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond);
    };
    add("4|build 1e4|" + who, [](auto& state) { Build<Index>(state, 100); });
    add("4|build 1e5|" + who, [](auto& state) { Build<Index>(state, 316); });
    add("4|random 1e5 in 1e4|" + who, [](auto& state) { Query<Index>(state, 100, 100000, false); });
    add("4|random 1e6 in 1e5|" + who,
        [](auto& state) { Query<Index>(state, 316, 1000000, false); });
    add("4|raster 1e6 in 1e5|" + who, [](auto& state) { Query<Index>(state, 316, 1000000, true); });
}

const bool kRegistered = [] {
    Register<Kvi>("kvi");
    for (const auto& [name, side] : {std::pair{"1e4", 100}, {"1e5", 316}})
    {
        const std::string row = std::string("4|load ") + name + "|";
        benchmark::RegisterBenchmark((row + "kvi").c_str(), [side = side](auto& state) {
            Build<KviLoaded>(state, side);
        })->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((row + "Boost R-tree packed").c_str(), [side = side](
                                                                                auto& state) {
            Build<Boost<true>>(state, side);
        })->Unit(benchmark::kMillisecond);
    }
    Register<Boost<true>>("Boost R-tree packed");
    Register<Boost<false>>("Boost R-tree one by one");
    Register<Geos>("GEOS STR tree");
    Register<Cgal<Hierarchy>>("CGAL hierarchy");
    benchmark::RegisterBenchmark("4|raster 1e6 in 1e5|CGAL from last face", [](auto& state) {
        Query<Cgal<Walk>>(state, 316, 1000000, true);
    })->Unit(benchmark::kMillisecond);
    return true;
}();
} // namespace
