#include "mesh/HangingNodes.h"

#include "mesh/MeshGeometry.h"
#include "mesh/Neighbours.h"
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
/// Pairs of a side and a node that are looked at: many more than a mesh of millions needs.
constexpr std::size_t kMostLooks = 1'000'000'000;

double Extent(const std::vector<double>& values)
{
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    return values.empty() ? 0 : *most - *least;
}

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

/// The nodes of the rim, by their coordinate @p along.
std::vector<int> RimNodes(const std::vector<Edge>& rim, const std::vector<double>& along)
{
    std::vector<int> nodes;
    for (const Edge& edge : rim)
        for (const int node : edge.nodes)
            if (node >= 0)
                nodes.push_back(node);
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    std::stable_sort(nodes.begin(), nodes.end(),
                     [&](int one, int two) { return along[one] < along[two]; });
    return nodes;
}

} // namespace

void WarnOfHangingNodes(const Mesh& mesh, Faults& faults)
{
    // Disconnected elements have their sides on the rim, so only that is searched.
    const std::vector<Edge> rim = RimOf(mesh);
    // Along the longer extent there are fewer nodes beside each side.
    const bool isTall = Extent(mesh.y) > Extent(mesh.x);
    const std::vector<double>& along = isTall ? mesh.y : mesh.x;
    const std::vector<double>& across = isTall ? mesh.x : mesh.y;
    const std::vector<int> nodes = RimNodes(rim, along);
    std::size_t found = 0, looks = 0;
    for (const Edge& edge : rim)
    {
        const double tolerance = ToleranceOf(mesh, edge);
        const Polyline line = ChordsOf(mesh, edge);
        Geom::Extents2D box;
        for (const Point& point : line)
            Geom::ExtentsGrow2D(box, isTall ? Point{point.y, point.x} : point);
        auto at = std::lower_bound(nodes.begin(), nodes.end(), box.minX - tolerance,
                                   [&](int node, double least) { return along[node] < least; });
        for (; at != nodes.end() && along[*at] <= box.maxX + tolerance; ++at)
        {
            if (++looks > kMostLooks)
                return faults.Warning(mesh.file, {},
                                      "its rim is too long to search all of it for nodes that lie "
                                      "on sides which do not have them");
            if (across[*at] < box.minY - tolerance || across[*at] > box.maxY + tolerance)
                continue;
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
