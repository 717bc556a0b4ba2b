#include "mesh/Connectivity.h"

#include "mesh/MeshGeometry.h"
#include "mesh/Neighbours.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <set>
#include <string>

namespace percova
{
namespace
{

/// Sets of numbers below a count, joined step by step.
class DisjointSets
{
public:
    explicit DisjointSets(std::size_t count) : parent_(count)
    {
        std::iota(parent_.begin(), parent_.end(), 0);
    }
    /// The least member of the set of @p i.
    int Of(int i)
    {
        while (parent_[i] != i)
            i = parent_[i] = parent_[parent_[i]];
        return i;
    }
    void Join(int i, int j)
    {
        const int a = Of(i), b = Of(j);
        parent_[std::max(a, b)] = std::min(a, b);
    }

private:
    std::vector<int> parent_;
};

} // namespace

MeshParts PartsOf(const Mesh& mesh)
{
    DisjointSets sets(mesh.Nodes());
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
        for (int k = mesh.start[e] + 1; k < mesh.start[e + 1]; ++k)
            sets.Join(mesh.nodes[mesh.start[e]], mesh.nodes[k]);
    MeshParts parts;
    parts.ofNode.resize(mesh.Nodes());
    for (int n = 0; n < int(mesh.Nodes()); ++n)
    {
        const int first = sets.Of(n); // not after n
        parts.ofNode[n] = first == n ? parts.count++ : parts.ofNode[first];
    }
    return parts;
}

std::vector<std::pair<int, int>> CoincidentNodes(const Mesh& mesh, double distance)
{
    std::vector<double> near(mesh.Nodes(), std::numeric_limits<double>::infinity());
    std::vector<int> nodes;
    for (const Edge& edge : RimOf(mesh))
        for (const int node : edge.nodes)
            if (node >= 0)
            {
                near[node] =
                    std::min(near[node], distance > 0 ? distance : 1e-6 * LengthOf(mesh, edge));
                nodes.push_back(node);
            }
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    std::stable_sort(nodes.begin(), nodes.end(),
                     [&](int one, int two) { return mesh.x[one] < mesh.x[two]; });
    std::vector<std::pair<int, int>> pairs;
    for (std::size_t i = 0; i < nodes.size(); ++i)
        for (std::size_t j = i + 1; j < nodes.size(); ++j)
        {
            const int a = nodes[i], b = nodes[j];
            if (mesh.x[b] - mesh.x[a] > near[a])
                break;
            if (std::hypot(mesh.x[b] - mesh.x[a], mesh.y[b] - mesh.y[a]) <=
                std::min(near[a], near[b]))
                pairs.emplace_back(std::min(a, b), std::max(a, b));
        }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

std::size_t JoinParts(Mesh& mesh, double distance, std::vector<int>& place)
{
    const MeshParts parts = PartsOf(mesh);
    DisjointSets sets(mesh.Nodes());
    for (const auto& [one, two] : CoincidentNodes(mesh, distance))
        if (parts.ofNode[one] != parts.ofNode[two])
            sets.Join(one, two);
    const std::size_t before = mesh.Nodes();
    place.resize(before);
    std::size_t next = 0;
    for (std::size_t n = 0; n < before; ++n)
        if (const int stays = sets.Of(int(n)); stays != int(n)) // it comes before n
            place[n] = place[stays];
        else
        {
            place[n] = int(next);
            mesh.x[next] = mesh.x[n];
            mesh.y[next] = mesh.y[n];
            mesh.number[next++] = mesh.number[n];
        }
    mesh.x.resize(next);
    mesh.y.resize(next);
    mesh.number.resize(next);
    for (int& node : mesh.nodes)
        node = place[node];
    return before - next;
}

void WarnOfTouchingParts(const Mesh& mesh, Faults& faults)
{
    const MeshParts parts = PartsOf(mesh);
    if (parts.count < 2)
        return;
    std::size_t count = 0;
    std::pair<int, int> first;
    std::vector<int> lowest(mesh.Nodes()); // of the nodes at the same place
    std::iota(lowest.begin(), lowest.end(), 0);
    for (const auto& pair : CoincidentNodes(mesh, 0))
    {
        lowest[pair.second] = std::min(lowest[pair.first], lowest[pair.second]);
        if (parts.ofNode[pair.first] == parts.ofNode[pair.second])
            continue;
        first = count++ == 0 ? pair : first;
    }
    if (count == 0)
        return; // the hanging nodes are named one by one
    std::set<std::pair<int, int>> sides;
    std::size_t doubled = 0;
    for (const Edge& edge : RimOf(mesh))
    {
        const int a = lowest[edge.nodes[0]], b = lowest[edge.nodes[1]];
        doubled += sides.emplace(std::min(a, b), std::max(a, b)).second ? 0 : 1;
    }
    const auto number = [&](int node) { return std::to_string(mesh.number[node]); };
    faults.Warning(mesh.file, {},
                   "the mesh falls into " + std::to_string(parts.count) +
                       " parts that share no nodes, so no water passes between them, but " +
                       std::to_string(count) + " pairs of nodes and " + std::to_string(doubled) +
                       " pairs of sides lie on each other, the first being nodes " +
                       number(first.first) + " and " + number(first.second) + " at (" +
                       Short(mesh.x[first.first]) + ", " + Short(mesh.y[first.first]) +
                       "). Where no wall is meant, mesh the parts together (in Gmsh "
                       "\"Coherence;\" before meshing, or \"Coherence Mesh;\" after it), or set "
                       "\"join\": true beside the mesh's \"file\" in the problem");
}

} // namespace percova
