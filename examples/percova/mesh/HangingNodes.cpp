#include "mesh/HangingNodes.h"

#include "mesh/MeshGeometry.h"
#include "problem/NumberText.h"
#include "problem/Plane.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace percova
{
namespace
{

constexpr std::size_t kReported = 10; ///< nodes reported individually

/// How far from the chords of a side of the rim a node may be and still lie on it.
double ToleranceOf(const Mesh& mesh, const Edge& edge)
{
    const double rounding = 1e-6 * LengthOf(mesh, edge);
    if (edge.nodes[2] < 0)
        return rounding;
    const auto [a, b, m] = edge.nodes;
    const double bend = std::hypot(mesh.x[m] - (mesh.x[a] + mesh.x[b]) / 2,
                                   mesh.y[m] - (mesh.y[a] + mesh.y[b]) / 2);
    return rounding + bend / (kChords * kChords); // the distance of the chords from the curve
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
    // Disconnected elements have their sides on the rim, so only that is searched.
    const std::vector<Edge> rim = RimOf(mesh);
    const std::vector<int> nodes = RimNodes(mesh, rim);
    std::size_t found = 0;
    for (const Edge& edge : rim)
    {
        const double tolerance = ToleranceOf(mesh, edge);
        const Polyline line = ChordsOf(mesh, edge);
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
                NearestOn(line, node).distance > tolerance || ++found > kReported)
                continue;
            faults.Warning(mesh.file, {},
                           "node " + std::to_string(mesh.number[*at]) + " at (" + Short(node.x) +
                               ", " + Short(node.y) + ") lies on a side of element " +
                               std::to_string(mesh.elementNumber[edge.element]) +
                               " which does not have it: no water passes there");
        }
    }
    if (found > kReported)
        faults.Warning(mesh.file, {},
                       std::to_string(found - kReported) +
                           " more nodes lie on sides of elements which do not have them");
}

} // namespace percova
