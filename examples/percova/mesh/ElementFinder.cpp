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

ElementFinder::ElementFinder(const Mesh& mesh, const std::vector<Geom::Extents2D>& where)
{
    constexpr unsigned kLeaf = 8;
    constexpr std::size_t kMostBoxes = 32; // more would take longer than to insert all elements
    const bool isAnywhere = where.empty() || where.size() > kMostBoxes;
    const Geom::Precision3D precision = PrecisionFor(mesh);
    std::vector<std::vector<Point>> rings;
    std::vector<std::uint32_t> elements;
    Geom::Extents2D box;
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
    {
        Geom::Extents2D own;
        for (int k = 0; k < NodeCount(mesh.type[e]); ++k)
        {
            const int node = mesh.ElementNodes(e)[k];
            Geom::ExtentsGrow2D(own, {mesh.x[node], mesh.y[node]});
            Geom::ExtentsGrow2D(box, {mesh.x[node], mesh.y[node]});
        }
        // A curved side may reach beyond its nodes, and a point may be just outside.
        const double reach = WidthOf(own) + HeightOf(own);
        Geom::ExtentsGrow2D(own, {own.minX - reach, own.minY - reach});
        Geom::ExtentsGrow2D(own, {own.maxX + reach, own.maxY + reach});
        const auto isMet = [&](const Geom::Extents2D& each) {
            return Geom::IsExtentsIntersected2D(own, each, precision);
        };
        if (!isAnywhere && std::none_of(where.begin(), where.end(), isMet))
            continue;
        elements.push_back(static_cast<std::uint32_t>(e)); // none is numbered so high
        rings.push_back(RingAround(mesh, e));
        for (const Point& point : rings.back())
            Geom::ExtentsGrow2D(box, point);
    }
    if (rings.empty())
        return;
    tree_.Initialize(box, kLeaf, PrecisionFor(box), static_cast<unsigned>(rings.size()));
    for (std::size_t i = 0; i < rings.size(); ++i)
        (void)tree_.Insert(elements[i], rings[i]);
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
