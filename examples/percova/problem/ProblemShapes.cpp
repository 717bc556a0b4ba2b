// Validity of the polygons and lines of a problem: valid rings, and edges that do not cross.
#include "problem/NumberText.h"
#include "problem/ProblemReader.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace percova
{
namespace
{

// The library's finders and rings compare within 5e-5 of a unit. Scaled to a size of 1e4, that is
// 5e-9 of the problem: no more than rounding. Shapes that meet are scaled to a size of 5, so that a
// corner within 1e-5 of another edge, typed with few digits, does not cross it.
constexpr double kOwnSize = 1e4, kSharedSize = 5;

constexpr std::size_t kMostPointsOfAll = 50'000; ///< of all polygons, or of all lines

/// A polygon or line of the problem, for the messages.
struct Shape
{
    std::string what; ///< "polygon of 'soil'"
    Place place;
    Polyline points; ///< as given; a polygon closed; no point twice in a row
    bool isRing = false;
};

Shape ShapeOf(std::string what, const Place& place, const Polyline& line, bool isRing)
{
    Shape shape{std::move(what), place, line, isRing};
    if (isRing && !line.empty())
        shape.points.push_back(line.front());
    // A ring may be given closed; a line has a point twice where its value jumps.
    shape.points.erase(std::unique(shape.points.begin(), shape.points.end()), shape.points.end());
    return shape;
}

/// Scales shapes to a size that suits the library's tolerance.
class Drawing
{
public:
    Drawing(const std::vector<Shape>& shapes, double size)
    {
        for (const Shape& shape : shapes)
            for (const Point& point : shape.points)
                Geom::ExtentsGrow2D(box_, point);
        const double largest = std::max(WidthOf(box_), HeightOf(box_));
        factor_ = largest > 0 ? size / largest : 1;
    }
    Polyline Drawn(const Polyline& line) const
    {
        Polyline drawn;
        for (const Point& point : line)
            drawn.push_back({(point.x - box_.minX) * factor_, (point.y - box_.minY) * factor_});
        return drawn;
    }
    Point Given(Point drawn) const
    {
        return {drawn.x / factor_ + box_.minX, drawn.y / factor_ + box_.minY};
    }

private:
    Geom::Extents2D box_;
    double factor_ = 1;
};

using Finder = void (*)(std::vector<Geom::LineEvent2D>&, const Geom::LineSet2D&);

/// Calls @p visit(i, j, point) for the pairs of lines that a finder of the library reports, i < j,
/// until it gives false. All lines may meet each other, so many are looked at by parts, two parts
/// at a time: there are never more than half a million events at once.
template <class Visit>
void ForEachMeeting(Finder find, const Geom::LineSet2D& lines, Visit visit)
{
    constexpr std::size_t kPart = 500;
    const std::size_t size = lines.size() <= 2 * kPart ? 2 * kPart : kPart;
    std::vector<Geom::Extents2D> boxes((lines.size() + size - 1) / size);
    for (std::size_t i = 0; i < lines.size(); ++i)
        for (const Point& end : {lines[i].first, lines[i].second})
            Geom::ExtentsGrow2D(boxes[i / size], end);
    const auto endOf = [&](std::size_t part) { return std::min((part + 1) * size, lines.size()); };
    std::vector<Geom::LineEvent2D> events;
    for (std::size_t one = 0; one < boxes.size(); ++one)
        for (std::size_t two = one; two < boxes.size(); ++two)
        {
            if (!Geom::IsExtentsIntersected2D(boxes[one], boxes[two], Geom::Precision()))
                continue;
            Geom::LineSet2D some(lines.data() + one * size, lines.data() + endOf(one));
            const std::size_t split = some.size();
            if (two != one)
                some.insert(some.end(), lines.data() + two * size, lines.data() + endOf(two));
            find(events, some);
            for (const Geom::LineEvent2D& event : events)
            {
                const auto number = [&](Geom::LineSet2D::const_iterator line) {
                    const auto k = static_cast<std::size_t>(line - some.cbegin());
                    return k < split ? one * size + k : two * size + k - split;
                };
                const auto [i, j] = std::minmax({number(event.line1), number(event.line2)});
                if ((two == one || i / size != j / size) && !visit(i, j, event.point))
                    return;
            }
        }
}

/// Either direction will do; the library's valid one is counter-clockwise.
bool IsRing(Polyline ring)
{
    if (Geom::PolygonArea2D(ring.data(), ring.size()) < 0)
        std::reverse(ring.begin(), ring.end());
    return Geom::PolygonIsValid2D(ring.data(), ring.size(), false);
}

/// Reports the faults of shapes; positions are given in the units of the file.
class ShapeCheck
{
public:
    ShapeCheck(const Problem& problem, Faults& faults) : problem_(problem), faults_(faults) {}

    void CheckEach(const std::vector<Shape>& shapes);
    void CheckTogether(const std::vector<Shape>& shapes);

private:
    std::string PointText(Point at) const
    {
        const double unit = problem_.units.metres;
        return '(' + Short(at.x / unit) + ", " + Short(at.y / unit) + ')';
    }
    std::string RepeatedPoint(const Shape& shape, const Polyline& drawn) const;
    std::string FaultOfEdges(const Shape& shape, const Polyline& drawn,
                             const Drawing& drawing) const;

    const Problem& problem_;
    Faults& faults_;
};

void ShapeCheck::CheckEach(const std::vector<Shape>& shapes)
{
    const Drawing drawing(shapes, kOwnSize);
    for (const Shape& shape : shapes)
    {
        const Polyline drawn = drawing.Drawn(shape.points);
        std::string fault = shape.isRing ? RepeatedPoint(shape, drawn) : "";
        if (fault.empty())
            fault = FaultOfEdges(shape, drawn, drawing);
        if (fault.empty() && shape.isRing && !IsRing(drawn))
            fault = "encloses no area";
        if (!fault.empty())
            faults_.Error(problem_.file, shape.place, "the " + shape.what + ' ' + fault);
    }
}

std::string ShapeCheck::RepeatedPoint(const Shape& shape, const Polyline& drawn) const
{
    // Points as lines of no length meet where they are equal.
    Geom::LineSet2D points;
    for (std::size_t i = 0; i + 1 < drawn.size(); ++i)
        points.push_back({drawn[i], drawn[i]});
    std::string fault;
    ForEachMeeting(Geom::LineIntersectionEvents2D, points, [&](std::size_t i, std::size_t, Point) {
        fault = "has the point " + PointText(shape.points[i]) + " twice";
        return false;
    });
    return fault;
}

/// Where two edges meet that should not. Neighbours meet in their common point and nowhere else.
std::string ShapeCheck::FaultOfEdges(const Shape& shape, const Polyline& drawn,
                                     const Drawing& drawing) const
{
    if (drawn.size() < 2)
        return "has no length";
    Geom::LineSet2D edges;
    Geom::PolygonGetLines2D(edges, drawn);
    const bool isClosed = drawn.front() == drawn.back();
    std::string fault;
    const auto visit = [&](std::size_t i, std::size_t j, Point at) {
        const bool areNeighbours = j == i + 1 || (isClosed && i == 0 && j + 1 == edges.size());
        Point from, to;
        const bool overlap = Geom::LineIntersection2D(from, to, drawn[i], drawn[i + 1], drawn[j],
                                                      drawn[j + 1], Geom::Precision()) == 2;
        if (areNeighbours && !overlap)
            return true;
        const auto edge = [&](std::size_t k) {
            return PointText(shape.points[k]) + " - " + PointText(shape.points[k + 1]);
        };
        fault = std::string(overlap ? "overlaps itself" : "crosses itself") + ": its edges " +
                edge(i) + " and " + edge(j) +
                (overlap ? " lie on one another" : " meet at " + PointText(drawing.Given(at)));
        return false;
    };
    ForEachMeeting(Geom::LineIntersectionEvents2D, edges, visit);
    return fault;
}

void ShapeCheck::CheckTogether(const std::vector<Shape>& shapes)
{
    const Drawing drawing(shapes, kSharedSize);
    Geom::LineSet2D edges;
    std::vector<std::size_t> end; // of each shape's edges
    for (const Shape& shape : shapes)
    {
        Geom::PolygonGetLines2D(edges, drawing.Drawn(shape.points));
        end.push_back(edges.size());
    }
    constexpr std::size_t kMost = 100;                               // pairs
    std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>> reported; // a pair of shapes once
    ForEachMeeting(Geom::LineCrossingEvents2D, edges, [&](std::size_t i, std::size_t j, Point at) {
        const auto owner = [&](std::size_t edge) {
            return std::upper_bound(end.begin(), end.end(), edge) - end.begin();
        };
        const std::pair pair(owner(i), owner(j));
        if (pair.first == pair.second ||
            std::find(reported.begin(), reported.end(), pair) != reported.end())
            return true;
        reported.push_back(pair);
        const Shape& one = shapes[static_cast<std::size_t>(pair.first)];
        const Shape& two = shapes[static_cast<std::size_t>(pair.second)];
        faults_.Error(problem_.file, two.place,
                      "the " + two.what + " crosses the " + one.what + " at " +
                          PointText(drawing.Given(at)));
        return reported.size() < kMost;
    });
}

} // namespace

void CheckShapes(const Problem& problem, Faults& faults)
{
    std::vector<Shape> polygons, lines;
    for (const Region& region : problem.regions)
        if (!region.polygon.empty())
            polygons.push_back(ShapeOf("polygon of '" + region.name + '\'', region.polygonPlace,
                                       region.polygon, true));
    for (const Boundary& boundary : problem.boundaries)
        if (!boundary.line.empty())
            lines.push_back(ShapeOf("line of '" + boundary.name + '\'', boundary.linePlace,
                                    boundary.line, false));
    ShapeCheck check(problem, faults);
    for (const std::vector<Shape>* shapes : {&polygons, &lines})
    {
        std::size_t points = 0;
        for (const Shape& shape : *shapes)
            points += shape.points.size();
        if (points > kMostPointsOfAll)
        {
            faults.Error(problem.file, {},
                         "has " + std::to_string(points) + " points in its " +
                             (shapes == &lines ? "lines" : "polygons") + ", more than the " +
                             std::to_string(kMostPointsOfAll) + " that are allowed");
            continue;
        }
        check.CheckEach(*shapes);
        check.CheckTogether(*shapes);
    }
}

} // namespace percova
