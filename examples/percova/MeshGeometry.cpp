#include "MeshGeometry.h"

#include "KVI.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace percova
{
namespace
{

struct Derivative
{
    double dN[2][8];
};

/// Local points where an element of @p type is watched.
std::vector<Point> WatchedPoints(ElementType type)
{
    const double g = std::sqrt(0.6); // the outer Gauss point of three
    switch (type)
    {
    case ElementType::T3:
        return {{1.0 / 3, 1.0 / 3}};
    case ElementType::Q4:
        return {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}};
    case ElementType::T6:
        return {{1.0 / 6, 1.0 / 6}, {2.0 / 3, 1.0 / 6}, {1.0 / 6, 2.0 / 3}, {1.0 / 3, 1.0 / 3}};
    default:
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
            Shape_Derivative(derivative.dN, point.x, point.y, ShapeNodesOf(type).flags.data());
            all[static_cast<std::size_t>(type)].push_back(derivative);
        }
    return all;
}

} // namespace

const ShapeNodes& ShapeNodesOf(ElementType type)
{
    static constexpr std::array<ShapeNodes, 4> kNodes{{
        {{1, 1, 1, 0, 0, 0, 0, 0}, {0, 1, 2, 0, 0, 0, 0, 0}},
        {{1, 1, 1, 1, 0, 0, 0, 0}, {0, 1, 2, 3, 0, 0, 0, 0}},
        {{1, 1, 1, 0, 1, 1, 1, 0}, {0, 1, 2, 4, 5, 6, 0, 0}},
        {{1, 1, 1, 1, 1, 1, 1, 1}, {0, 1, 2, 3, 4, 5, 6, 7}},
    }};
    return kNodes[static_cast<std::size_t>(type)];
}

double SmallestJacobian(const Mesh& mesh, std::size_t element)
{
    static const std::array<std::vector<Derivative>, 4> derivatives = MakeDerivatives();
    const ElementType type = mesh.type[element];
    const ShapeNodes& shape = ShapeNodesOf(type);
    const int* nodes = mesh.ElementNodes(element);
    double smallest = std::numeric_limits<double>::infinity();
    for (const Derivative& at : derivatives[static_cast<std::size_t>(type)])
    {
        double J[2][2] = {};
        for (std::size_t i = 0; i < static_cast<std::size_t>(NodeCount(type)); ++i)
        {
            const auto node = static_cast<std::size_t>(nodes[i]);
            const auto place = static_cast<std::size_t>(shape.place[i]);
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

Point CentreOf(const Mesh& mesh, std::size_t element)
{
    const int corners = Corners(mesh.type[element]);
    Point centre;
    for (int i = 0; i < corners; ++i)
    {
        const auto node = static_cast<std::size_t>(mesh.ElementNodes(element)[i]);
        centre.x += mesh.x[node] / corners;
        centre.y += mesh.y[node] / corners;
    }
    return centre;
}

} // namespace percova
