#include "mesh/LineCut.h"

#include "mesh/MeshGeometry.h"
#include "mesh/Neighbours.h"

#include <algorithm>
#include <cmath>

namespace percova
{
namespace
{

constexpr double kShortest = 1e-9; ///< a piece below this share of its segment is ignored

/// The box of a side. A curved one lies within the triangle of its ends and the point where the
/// tangents in them meet.
Geom::Extents2D BoxOf(const Mesh& mesh, const Edge& side)
{
    const auto [first, last, middle] = side.nodes;
    const Point a{mesh.x[first], mesh.y[first]}, b{mesh.x[last], mesh.y[last]};
    Geom::Extents2D box;
    Geom::ExtentsGrow2D(box, a);
    Geom::ExtentsGrow2D(box, b);
    if (middle >= 0)
        Geom::ExtentsGrow2D(
            box, {2 * mesh.x[middle] - (a.x + b.x) / 2, 2 * mesh.y[middle] - (a.y + b.y) / 2});
    return box;
}

} // namespace

ElementPlace LinePiece::PlaceAt(const Mesh& mesh, std::size_t k, double t) const
{
    ElementPlace place;
    (void)FindInElement(mesh, elements[k], At(t), place); // it is there but for rounding
    return place;
}

LineCutter::LineCutter(const Mesh& mesh, const ElementFinder& finder)
    : mesh_(mesh), finder_(finder), precision_(PrecisionFor(mesh))
{
    ForEachSide(mesh, [&](const Edge& edge) { sides_.push_back(edge); });
}

std::vector<LinePiece> LineCutter::Cut(const Polyline& line) const
{
    std::vector<LinePiece> pieces;
    double start = 0;
    for (std::size_t k = 1; k < line.size(); ++k)
    {
        if (line[k] == line[k - 1])
            continue;
        CutSegment(line[k - 1], line[k], start, pieces);
        start += std::hypot(line[k].x - line[k - 1].x, line[k].y - line[k - 1].y);
    }
    return pieces;
}

void LineCutter::CutSegment(Point a, Point b, double start, std::vector<LinePiece>& pieces) const
{
    const double whole = std::hypot(b.x - a.x, b.y - a.y);
    const LinePiece segment{a, b};
    double from = 0;
    for (const double to : CutsOf(a, b))
    {
        if (to - from < kShortest)
            continue;
        LinePiece piece{segment.At(from), segment.At(to), start + from * whole,
                        (to - from) * whole};
        for (const ElementPlace& place : finder_.At(mesh_, piece.At(0.5)))
            piece.elements.push_back(place.element);
        pieces.push_back(std::move(piece));
        from = to;
    }
}

/// The places where the segment from @p a to @p b meets the sides, as shares of its length,
/// ascending, with its ends.
std::vector<double> LineCutter::CutsOf(Point a, Point b) const
{
    Geom::Extents2D box;
    Geom::ExtentsGrow2D(box, a);
    Geom::ExtentsGrow2D(box, b);
    const Point along{b.x - a.x, b.y - a.y};
    const double square = along.x * along.x + along.y * along.y;
    std::vector<double> cuts{0, 1};
    for (const Edge& edge : sides_)
    {
        if (!Geom::IsExtentsIntersected2D(box, BoxOf(mesh_, edge), precision_))
            continue;
        const Polyline side = ChordsOf(mesh_, edge);
        for (std::size_t i = 1; i < side.size(); ++i)
        {
            Point meet[2];
            const int count =
                Geom::LineIntersection2D(meet[0], meet[1], a, b, side[i - 1], side[i], precision_);
            for (int k = 0; k < count; ++k)
                cuts.push_back(
                    std::clamp(((meet[k].x - a.x) * along.x + (meet[k].y - a.y) * along.y) / square,
                               0.0, 1.0));
        }
    }
    std::sort(cuts.begin(), cuts.end());
    return cuts;
}

double LengthOf(const Polyline& line)
{
    double length = 0;
    for (std::size_t k = 1; k < line.size(); ++k)
        length += std::hypot(line[k].x - line[k - 1].x, line[k].y - line[k - 1].y);
    return length;
}

double LengthInside(const std::vector<LinePiece>& pieces)
{
    double length = 0;
    for (const LinePiece& piece : pieces)
        length += piece.elements.empty() ? 0 : piece.length;
    return length;
}

} // namespace percova
