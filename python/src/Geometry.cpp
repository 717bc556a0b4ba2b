#include "Module.h"

#include <limits>

namespace python
{
namespace
{

Geom::Precision3D PrecisionOf(int digits)
{
    Geom::Precision3D precision;
    const int all[3] = {digits, digits, digits};
    precision.Set(all);
    return precision;
}

py::array_t<double> CoordinatesOf(const std::vector<Geom::Point2D>& points)
{
    py::array_t<double> out({static_cast<py::ssize_t>(points.size()), py::ssize_t{2}});
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        out.mutable_data()[2 * i] = points[i].x;
        out.mutable_data()[2 * i + 1] = points[i].y;
    }
    return out;
}

/// A ring whose last point repeats its first.
std::vector<Geom::Point2D> ClosedRing(const Array<double>& points)
{
    std::vector<Geom::Point2D> ring = PointsOf(points);
    if (!ring.empty() && !(ring.front() == ring.back()))
        ring.push_back(ring.front());
    return ring;
}

Geom::Region2D RegionOf(const Array<double>& outline, const std::vector<Array<double>>& holes)
{
    Geom::Region2D region{ClosedRing(outline), {}};
    for (const auto& hole : holes)
        region.holes.push_back(ClosedRing(hole));
    return region;
}

py::tuple Crossings(const Array<double>& segments)
{
    if (segments.ndim() != 2 || segments.shape(1) != 4)
        throw py::value_error("segments have the shape (n, 4): x1, y1, x2, y2");
    Geom::LineSet2D lines;
    for (py::ssize_t i = 0; i < segments.shape(0); ++i)
    {
        const double* const s = segments.data(i);
        lines.push_back({{s[0], s[1]}, {s[2], s[3]}});
    }
    std::vector<Geom::LineEvent2D> events;
    {
        py::gil_scoped_release release;
        Geom::LineCrossingEvents2D(events, lines);
    }
    std::vector<Geom::Point2D> points;
    py::array_t<std::int64_t> pairs({static_cast<py::ssize_t>(events.size()), py::ssize_t{2}});
    std::int64_t* pair = pairs.mutable_data();
    for (const Geom::LineEvent2D& event : events)
    {
        points.push_back(event.point);
        *pair++ = event.line1 - lines.begin();
        *pair++ = event.line2 - lines.begin();
    }
    return py::make_tuple(CoordinatesOf(points), pairs);
}

std::unique_ptr<Geom::QuadTree2D> MakeTree(const Array<double>& points, const Array<int>& corners,
                                           int digits)
{
    if (corners.ndim() != 2)
        throw py::value_error("corners have the shape (elements, corners of one)");
    const std::vector<Geom::Point2D> nodes = PointsOf(points);
    Geom::Extents2D box;
    for (const Geom::Point2D& node : nodes)
        Geom::ExtentsGrow2D(box, node);
    std::vector<std::uint32_t> numbers, starts{0};
    for (py::ssize_t i = 0; i < corners.size(); ++i)
    {
        const int corner = corners.data()[i];
        if (corner < 0 || static_cast<std::size_t>(corner) >= nodes.size())
            throw py::index_error("there is no point " + std::to_string(corner));
        numbers.push_back(static_cast<std::uint32_t>(corner));
        if ((i + 1) % corners.shape(1) == 0)
            starts.push_back(static_cast<std::uint32_t>(i + 1));
    }
    auto tree = std::make_unique<Geom::QuadTree2D>();
    py::gil_scoped_release release;
    tree->Initialize(box, 10, PrecisionOf(digits), 0);
    tree->Load(nodes.data(), numbers.data(), starts.data(),
               static_cast<std::uint32_t>(starts.size() - 1));
    return tree;
}

/// An identifier for Python: -1 for none.
std::int64_t Number(std::uint32_t id)
{
    return id == Geom::CellTable::MissingID() ? -1 : std::int64_t{id};
}

py::array_t<std::int64_t> Find(const Geom::QuadTree2D& tree, const Array<double>& points)
{
    const std::vector<Geom::Point2D> places = PointsOf(points);
    py::array_t<std::int64_t> out(static_cast<py::ssize_t>(places.size()));
    std::int64_t* const ids = out.mutable_data();
    py::gil_scoped_release release;
    for (std::size_t i = 0; i < places.size(); ++i)
        ids[i] = Number(tree.Find(places[i]));
    return out;
}

py::tuple Nearest(const Geom::QuadTree2D& tree, const Array<double>& points)
{
    const std::vector<Geom::Point2D> places = PointsOf(points);
    const auto count = static_cast<py::ssize_t>(places.size());
    py::array_t<std::int64_t> out(count);
    py::array_t<double> distances(count);
    std::int64_t* const ids = out.mutable_data();
    double* const far = distances.mutable_data();
    {
        py::gil_scoped_release release;
        for (std::size_t i = 0; i < places.size(); ++i)
        {
            ids[i] = Number(tree.FindNearest(places[i], &far[i]));
            if (ids[i] < 0)
                far[i] = std::numeric_limits<double>::infinity();
        }
    }
    return py::make_tuple(out, distances);
}

py::array_t<std::int64_t> FindInBox(const Geom::QuadTree2D& tree, double minX, double minY,
                                    double maxX, double maxY)
{
    std::vector<std::uint32_t> ids;
    tree.FindInBox(ids, {minX, maxX, minY, maxY});
    return ArrayOf<std::int64_t>(ids);
}

py::array_t<int> Locate(const Array<double>& outline, const Array<double>& points,
                        const std::vector<Array<double>>& holes, int digits)
{
    const Geom::Region2D region = RegionOf(outline, holes);
    const std::vector<Geom::Point2D> places = PointsOf(points);
    const Geom::Precision3D precision = PrecisionOf(digits);
    py::array_t<int> out(static_cast<py::ssize_t>(places.size()));
    int* const where = out.mutable_data();
    py::gil_scoped_release release;
    for (std::size_t i = 0; i < places.size(); ++i)
        where[i] = int(Geom::RegionLocatePoint2D(region, places[i], precision));
    return out;
}

py::str Flaw(const Array<double>& outline, const std::vector<Array<double>>& holes, int digits)
{
    constexpr const char* kFlaws[] = {"",
                                      "a coordinate is not finite",
                                      "a ring has too few points",
                                      "a ring is not closed",
                                      "two neighbours of a ring are equal",
                                      "a ring meets itself",
                                      "two rings meet",
                                      "a hole is not within the outline",
                                      "a hole is within another one"};
    return kFlaws[int(Geom::RegionCheck2D(RegionOf(outline, holes), PrecisionOf(digits)).flaw)];
}

} // namespace

std::vector<Geom::Point2D> PointsOf(const Array<double>& points)
{
    if (points.ndim() != 2 || points.shape(1) != 2)
        throw py::value_error("points have the shape (n, 2)");
    std::vector<Geom::Point2D> out(static_cast<std::size_t>(points.shape(0)));
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = {points.data()[2 * i], points.data()[2 * i + 1]};
    return out;
}

void BindGeometry(py::module_& module)
{
    const auto none = std::vector<Array<double>>();
    py::class_<Geom::QuadTree2D>(
        module, "QuadTree",
        "Finds the elements of a mesh that hold a point, meet a box or are nearest. Coordinates "
        "have any one unit of length; the tolerance is half a unit of the last of `digits` "
        "decimal places.")
        .def(py::init(&MakeTree), py::arg("points"), py::arg("corners"), py::arg("digits") = 4,
             "points: shape (n, 2); corners: numbers of points, shape (elements, corners)")
        .def("find", &Find, py::arg("points"),
             "The least number of an element that holds each point, -1 where none does.")
        .def("nearest", &Nearest, py::arg("points"),
             "The nearest element to each point, and how far it is [length]; -1 and inf if none.")
        .def("find_in_box", &FindInBox, py::arg("min_x"), py::arg("min_y"), py::arg("max_x"),
             py::arg("max_y"), "The numbers of all elements that meet the box, ascending.");
    module.def("crossings", &Crossings, py::arg("segments"),
               "Where segments (n, 4: x1, y1, x2, y2) cross properly: points (m, 2) and the "
               "numbers of the two segments (m, 2). Ends that touch do not count.");
    module.def(
        "polygon_area",
        [](const Array<double>& outline, const std::vector<Array<double>>& holes) {
            return Geom::RegionArea2D(RegionOf(outline, holes));
        },
        py::arg("outline"), py::arg("holes") = none,
        "The area [length^2] of a polygon less its holes. Rings have the shape (n, 2); the first "
        "point need not be repeated.");
    module.def("polygon_locate", &Locate, py::arg("outline"), py::arg("points"),
               py::arg("holes") = none, py::arg("digits") = 4,
               "Where each point lies: 1 inside, 0 on the border, -1 outside.");
    module.def("polygon_flaw", &Flaw, py::arg("outline"), py::arg("holes") = none,
               py::arg("digits") = 4, "What is wrong with the polygon; empty when it is sound.");
}

} // namespace python
