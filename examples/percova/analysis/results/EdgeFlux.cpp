#include "analysis/results/EdgeFlux.h"

#include "analysis/model/Element.h"

namespace percova
{
namespace
{

/// Local coordinates at @p t in [-1, 1] along side @p side of an element.
void AlongSide(ElementType type, int side, double t, double& r, double& s)
{
    constexpr double kTriangle[3][2] = {{0, 0}, {1, 0}, {0, 1}};
    constexpr double kSquare[4][2] = {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}};
    const bool isTriangle = Corners(type) == 3;
    const double* from = isTriangle ? kTriangle[side % 3] : kSquare[side % 4];
    const double* to = isTriangle ? kTriangle[(side + 1) % 3] : kSquare[(side + 1) % 4];
    r = ((1 - t) * from[0] + (1 + t) * to[0]) / 2;
    s = ((1 - t) * from[1] + (1 + t) * to[1]) / 2;
}

/// The side of element @p e between two corner nodes, whichever way; -1 for none.
int SideBetween(const Mesh& mesh, int e, int a, int b)
{
    const int* nodes = mesh.ElementNodes(std::size_t(e));
    const int corners = Corners(mesh.type[e]);
    for (int side = 0; side < corners; ++side)
    {
        const int from = nodes[side], to = nodes[(side + 1) % corners];
        if ((from == a && to == b) || (from == b && to == a))
            return side;
    }
    return -1;
}

} // namespace

EdgeFlux FluxOver(const Solution& s, const Edge& edge, int e, const EdgePoint points[kEdgePoints])
{
    const Mesh& mesh = s.model.mesh;
    const int side = SideBetween(mesh, e, edge.nodes[0], edge.nodes[1]);
    EdgeFlux flux;
    if (side < 0)
        return flux;
    // The normal points out of the element on the left, into the one on the right.
    flux.isOutward = mesh.ElementNodes(std::size_t(e))[side] == edge.nodes[0];
    const Soil& soil = s.soils[s.model.material[e]];
    ElementState element;
    element.Load(mesh, std::size_t(e), s.head.data());
    for (int p = 0; p < kEdgePoints; ++p)
    {
        const double t = 2 * points[p].t - 1;
        double r = 0, at = 0;
        AlongSide(element.type, side, flux.isOutward ? t : -t, r, at);
        PointState point;
        At(element, r, at, point);
        const double kr = soil.kr.At(point.psi);
        const Point conducted = soil.Conducted(point.gradient[0], point.gradient[1]);
        flux.inflow[p] = (flux.isOutward ? kr : -kr) *
                         (conducted.x * points[p].normalX + conducted.y * points[p].normalY);
        flux.gradient[p] = {point.gradient[0], point.gradient[1]};
        flux.psi[p] = point.psi;
    }
    return flux;
}

} // namespace percova
