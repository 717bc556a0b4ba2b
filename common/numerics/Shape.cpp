#include "numerics/Shape.h"

#include <algorithm>

namespace
{

enum class Kind
{
    None,
    Triangle,
    Quadrilateral
};

Kind KindOf(const int nodes[8])
{
    if (nodes[3] > 0)
        return Kind::Quadrilateral;
    return nodes[2] > 0 && nodes[3] == 0 ? Kind::Triangle : Kind::None;
}

/// The corners at the ends of the side of mid-side node 4 + side.
struct Side
{
    int from, to;
};
constexpr Side kQuadrilateralSides[] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}};
constexpr Side kTriangleSides[] = {{0, 1}, {1, 2}, {2, 0}};

/// Each present mid-side node takes half of its function from the corners of its side.
template <int Sides>
void TakeFromCorners(double* N, const int nodes[8], const Side (&sides)[Sides],
                     const double (&middle)[Sides])
{
    for (int side = 0; side < Sides; ++side)
        if (nodes[4 + side] > 0)
        {
            N[4 + side] = middle[side];
            N[sides[side].from] -= middle[side] / 2;
            N[sides[side].to] -= middle[side] / 2;
        }
}

} // namespace

void Shape_Function(double N[8], double r, double s, const int nodes[8])
{
    std::fill(N, N + 8, 0.0);
    switch (KindOf(nodes))
    {
    case Kind::Quadrilateral:
        N[0] = (1 + r) * (1 + s) / 4;
        N[1] = (1 - r) * (1 + s) / 4;
        N[2] = (1 - r) * (1 - s) / 4;
        N[3] = (1 + r) * (1 - s) / 4;
        TakeFromCorners(N, nodes, kQuadrilateralSides,
                        {(1 - r * r) * (1 + s) / 2, (1 - s * s) * (1 - r) / 2,
                         (1 - r * r) * (1 - s) / 2, (1 - s * s) * (1 + r) / 2});
        break;
    case Kind::Triangle:
        N[0] = 1 - r - s;
        N[1] = r;
        N[2] = s;
        TakeFromCorners(N, nodes, kTriangleSides,
                        {4 * r * (1 - r - s), 4 * r * s, 4 * s * (1 - r - s)});
        break;
    case Kind::None:
        break;
    }
}

void Shape_Derivative(double dN[2][8], double r, double s, const int nodes[8])
{
    double* byR = dN[0];
    double* byS = dN[1];
    std::fill(byR, byR + 8, 0.0);
    std::fill(byS, byS + 8, 0.0);
    switch (KindOf(nodes))
    {
    case Kind::Quadrilateral:
        byR[0] = (1 + s) / 4;
        byR[1] = -(1 + s) / 4;
        byR[2] = -(1 - s) / 4;
        byR[3] = (1 - s) / 4;
        byS[0] = (1 + r) / 4;
        byS[1] = (1 - r) / 4;
        byS[2] = -(1 - r) / 4;
        byS[3] = -(1 + r) / 4;
        TakeFromCorners(byR, nodes, kQuadrilateralSides,
                        {-r * (1 + s), -(1 - s * s) / 2, -r * (1 - s), (1 - s * s) / 2});
        TakeFromCorners(byS, nodes, kQuadrilateralSides,
                        {(1 - r * r) / 2, -s * (1 - r), -(1 - r * r) / 2, -s * (1 + r)});
        break;
    case Kind::Triangle:
        byR[0] = -1;
        byR[1] = 1;
        byS[0] = -1;
        byS[2] = 1;
        TakeFromCorners(byR, nodes, kTriangleSides, {4 * (1 - 2 * r - s), 4 * s, -4 * s});
        TakeFromCorners(byS, nodes, kTriangleSides, {-4 * r, 4 * r, 4 * (1 - r - 2 * s)});
        break;
    case Kind::None:
        break;
    }
}
