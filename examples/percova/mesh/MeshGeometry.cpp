#include "mesh/MeshGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace percova
{
namespace
{

constexpr int kFlags[4][8] = {{1, 1, 1, 0, 0, 0, 0, 0},
                              {1, 1, 1, 1, 0, 0, 0, 0},
                              {1, 1, 1, 0, 1, 1, 1, 0},
                              {1, 1, 1, 1, 1, 1, 1, 1}};

struct Derivative
{
    double dN[2][8];
};

/// Local points where the Jacobian of an element of @p type is checked.
std::vector<Point> WatchedPoints(ElementType type)
{
    const double g = std::sqrt(0.6); // the outer Gauss point of three
    switch (type)
    {
    case ElementType::T3:
        return {{1.0 / 3, 1.0 / 3}};
    case ElementType::T6:
        return {{1.0 / 6, 1.0 / 6}, {2.0 / 3, 1.0 / 6}, {1.0 / 6, 2.0 / 3}, {1.0 / 3, 1.0 / 3}};
    default: // Q4 and Q8
        return {{-g, -g}, {0, -g}, {g, -g}, {-g, 0}, {0, 0}, {g, 0}, {-g, g}, {0, g}, {g, g}};
    }
}

std::array<std::vector<Derivative>, 4> MakeDerivatives()
{
    std::array<std::vector<Derivative>, 4> all;
    for (const ElementType type :
         {ElementType::T3, ElementType::Q4, ElementType::T6, ElementType::Q8})
        for (const Point& point : WatchedPoints(type))
        {
            Derivative derivative{};
            Shape_Derivative(derivative.dN, point.x, point.y, PlaceFlags(type));
            all[static_cast<std::size_t>(type)].push_back(derivative);
        }
    return all;
}

} // namespace

const int* PlaceFlags(ElementType type) { return kFlags[int(type)]; }

double SmallestJacobian(const Mesh& mesh, std::size_t element)
{
    static const std::array<std::vector<Derivative>, 4> derivatives = MakeDerivatives();
    const ElementType type = mesh.type[element];
    const int* nodes = mesh.ElementNodes(element);
    double smallest = std::numeric_limits<double>::infinity();
    for (const Derivative& at : derivatives[static_cast<std::size_t>(type)])
    {
        double J[2][2] = {};
        for (int i = 0; i < NodeCount(type); ++i)
        {
            const int node = nodes[i], place = PlaceOf(type, i);
            for (int k = 0; k < 2; ++k)
            {
                J[k][0] += at.dN[k][place] * mesh.x[node];
                J[k][1] += at.dN[k][place] * mesh.y[node];
            }
        }
        smallest = std::min(smallest, J[0][0] * J[1][1] - J[0][1] * J[1][0]);
    }
    return smallest;
}

double LengthOf(const Mesh& mesh, const Edge& edge)
{
    const auto at = [&](int i) {
        const auto node = static_cast<std::size_t>(edge.nodes[static_cast<std::size_t>(i)]);
        return Point{mesh.x[node], mesh.y[node]};
    };
    const Point a = at(0), b = at(1);
    const double chord = std::hypot(b.x - a.x, b.y - a.y);
    if (edge.nodes[2] < 0)
        return chord;
    const Point m = at(2);
    const double start = std::hypot(-3 * a.x + 4 * m.x - b.x, -3 * a.y + 4 * m.y - b.y);
    const double stop = std::hypot(a.x - 4 * m.x + 3 * b.x, a.y - 4 * m.y + 3 * b.y);
    return (start + 4 * chord + stop) / 6;
}

Polyline ChordsOf(const Mesh& mesh, const Edge& edge)
{
    const auto at = [&](int i) { return Point{mesh.x[edge.nodes[i]], mesh.y[edge.nodes[i]]}; };
    const Point a = at(0), b = at(1);
    if (edge.nodes[2] < 0)
        return {a, b};
    const Point m = at(2);
    Polyline line{a};
    for (int i = 1; i < kChords; ++i)
    {
        const double t = double(i) / kChords;
        const double A = (1 - t) * (1 - 2 * t), B = t * (2 * t - 1), M = 4 * t * (1 - t);
        line.push_back({A * a.x + B * b.x + M * m.x, A * a.y + B * b.y + M * m.y});
    }
    line.push_back(b);
    return line;
}

Polyline RingOf(const Mesh& mesh, std::size_t element)
{
    const int* nodes = mesh.ElementNodes(element);
    const int corners = Corners(mesh.type[element]);
    Polyline ring;
    const auto add = [&](int node) { ring.push_back({mesh.x[node], mesh.y[node]}); };
    for (int i = 0; i < corners; ++i)
    {
        add(nodes[i]);
        if (IsQuadratic(mesh.type[element]))
            add(nodes[corners + i]);
    }
    add(nodes[0]);
    return ring;
}

Point CentreOf(const Mesh& mesh, std::size_t element)
{
    const Polyline ring = RingOf(mesh, element);
    return Geom::PolygonCentreOfMass2D(ring.data(), ring.size());
}

Geom::Precision3D PrecisionFor(const Geom::Extents2D& box)
{
    constexpr double kShare = 1e-9;
    Geom::Precision3D precision;
    precision.ScaleEpsilon(kShare * std::max(WidthOf(box), HeightOf(box)) /
                           precision.halfEpsilon[0]);
    return precision;
}

Geom::Precision3D PrecisionFor(const Mesh& mesh)
{
    Geom::Extents2D box;
    for (std::size_t n = 0; n < mesh.Nodes(); ++n)
        Geom::ExtentsGrow2D(box, {mesh.x[n], mesh.y[n]});
    return PrecisionFor(box);
}

} // namespace percova
