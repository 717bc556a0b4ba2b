#include "HangingNodes.h"

#include "MeshGeometry.h"
#include "NumberText.h"
#include "Plane.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace percova
{
namespace
{

constexpr std::size_t kTold = 10; ///< nodes told one by one
constexpr int kChords = 16;       ///< that a curved side is cut into

/// A side of the rim as a line; @p tolerance is how far from it a node may be and still lie on it.
Polyline LineOf(const Mesh& mesh, const Edge& edge, double& tolerance)
{
    const auto at = [&](int i) { return Point{mesh.x[edge.nodes[i]], mesh.y[edge.nodes[i]]}; };
    const Point a = at(0), b = at(1);
    tolerance = 1e-6 * LengthOf(mesh, edge);
    if (edge.nodes[2] < 0)
        return {a, b};
    const Point m = at(2);
    const double bend = std::hypot(m.x - (a.x + b.x) / 2, m.y - (a.y + b.y) / 2);
    tolerance += bend / (kChords * kChords); // what the chords cut off
    Polyline line;
    for (int i = 0; i <= kChords; ++i)
    {
        const double t = double(i) / kChords;
        const double A = (1 - t) * (1 - 2 * t), B = t * (2 * t - 1), M = 4 * t * (1 - t);
        line.push_back({A * a.x + B * b.x + M * m.x, A * a.y + B * b.y + M * m.y});
    }
    return line;
}

/// The nodes of the rim, by their x.
std::vector<int> RimNodes(const Mesh& mesh, const std::vector<Edge>& rim)
{
    std::vector<int> nodes;
    for (const Edge& edge : rim)
        for (const int node : edge.nodes)
            if (node >= 0)
                nodes.push_back(node);
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    std::stable_sort(nodes.begin(), nodes.end(),
                     [&](int one, int two) { return mesh.x[one] < mesh.x[two]; });
    return nodes;
}

} // namespace

void WarnOfHangingNodes(const Mesh& mesh, Faults& faults)
{
    // Elements that do not hang together leave their sides on the rim, so only that is searched.
    const std::vector<Edge> rim = RimOf(mesh);
    const std::vector<int> nodes = RimNodes(mesh, rim);
    std::size_t found = 0;
    for (const Edge& edge : rim)
    {
        double tolerance = 0;
        const Polyline line = LineOf(mesh, edge, tolerance);
        const auto [left, right] = std::minmax_element(
            line.begin(), line.end(), [](Point one, Point two) { return one.x < two.x; });
        auto at = std::lower_bound(nodes.begin(), nodes.end(), left->x - tolerance,
                                   [&](int node, double x) { return mesh.x[node] < x; });
        for (; at != nodes.end() && mesh.x[*at] <= right->x + tolerance; ++at)
        {
            const Point node{mesh.x[*at], mesh.y[*at]};
            const auto isAt = [&](int other) {
                return other >= 0 &&
                       std::hypot(mesh.x[other] - node.x, mesh.y[other] - node.y) <= 2 * tolerance;
            };
            if (std::any_of(edge.nodes.begin(), edge.nodes.end(), isAt) ||
                NearestOn(line, node).distance > tolerance || ++found > kTold)
                continue;
            faults.Warning(mesh.file, {},
                           "node " + std::to_string(mesh.number[*at]) + " at (" + Short(node.x) +
                               ", " + Short(node.y) + ") lies on a side of element " +
                               std::to_string(mesh.elementNumber[edge.element]) +
                               " which does not have it: no water passes there");
        }
    }
    if (found > kTold)
        faults.Warning(mesh.file, {},
                       std::to_string(found - kTold) +
                           " more nodes lie on sides of elements which do not have them");
}

} // namespace percova
