#include "mesh/ElementFinder.h"

#include "mesh/MeshGeometry.h"

#include <algorithm>
#include <cstdint>

namespace percova
{
namespace
{

/// A ring around an element. A curved side, which has the shape of a parabola, lies within the
/// triangle of its ends and the point where the tangents in them meet: where it is convex, the ring
/// goes through that point.
std::vector<Point> RingAround(const Mesh& mesh, std::size_t e)
{
    const int* nodes = mesh.ElementNodes(e);
    const int corners = Corners(mesh.type[e]);
    const auto at = [&](int k) { return Point{mesh.x[nodes[k]], mesh.y[nodes[k]]}; };
    std::vector<Point> ring;
    for (int side = 0; side < corners; ++side)
    {
        const Point a = at(side), b = at((side + 1) % corners);
        ring.push_back(a);
        if (!IsQuadratic(mesh.type[e]))
            continue;
        const Point m = at(corners + side);
        const Point tangents{2 * m.x - (a.x + b.x) / 2, 2 * m.y - (a.y + b.y) / 2};
        if (Geom::TriArea2x2D(a, b, tangents) < 0) // on the outside
            ring.push_back(tangents);
    }
    return ring;
}

} // namespace

ElementFinder::ElementFinder(const Mesh& mesh)
{
    constexpr unsigned kLeaf = 8;
    std::vector<std::vector<Point>> rings;
    Geom::Extents2D box;
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
    {
        rings.push_back(RingAround(mesh, e));
        for (const Point& point : rings.back())
            Geom::ExtentsGrow2D(box, point);
    }
    tree_.Initialize(box, kLeaf, PrecisionFor(box), static_cast<unsigned>(rings.size()));
    for (std::size_t e = 0; e < rings.size(); ++e)
        (void)tree_.Insert(static_cast<std::uint32_t>(e),
                           rings[e]); // no element is numbered so high
}

std::vector<ElementPlace> ElementFinder::At(const Mesh& mesh, Point at) const
{
    std::vector<std::uint32_t> near;
    (void)tree_.FindAll(near, at); // the result is in near
    std::vector<ElementPlace> places;
    for (const std::uint32_t e : near)
        if (ElementPlace place; FindInElement(mesh, e, at, place) == kLocalCoordsInside)
            places.push_back(place);
    return places;
}

int FindInElement(const Mesh& mesh, std::size_t e, Point at, ElementPlace& place)
{
    const int* nodes = mesh.ElementNodes(e);
    const int count = NodeCount(mesh.type[e]);
    double coords[16];
    for (int k = 0; k < count; ++k)
    {
        coords[2 * k] = mesh.x[nodes[k]];
        coords[2 * k + 1] = mesh.y[nodes[k]];
    }
    place.element = e;
    return iGlobal_To_Local_Coords(&place.r, &place.s, at.x, at.y, coords, count);
}

} // namespace percova
