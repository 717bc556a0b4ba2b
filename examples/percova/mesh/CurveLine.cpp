#include "mesh/CurveLine.h"

#include "mesh/MeshGeometry.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace percova
{

Polyline LineOfCurve(const Mesh& mesh, int group)
{
    std::map<int, std::vector<const Edge*>> around; // by node
    std::size_t count = 0;
    for (const Edge& edge : mesh.edges)
        if (edge.group == group)
        {
            around[edge.nodes[0]].push_back(&edge);
            around[edge.nodes[1]].push_back(&edge);
            ++count;
        }
    std::vector<int> ends;
    for (const auto& [node, edges] : around)
        if (edges.size() > 2)
            return {};
        else if (edges.size() == 1)
            ends.push_back(node);
    if (ends.size() != 2)
        return {};
    const auto place = [&](int node) {
        return std::pair(mesh.x[std::size_t(node)], mesh.y[std::size_t(node)]);
    };
    int node = place(ends[0]) < place(ends[1]) ? ends[0] : ends[1];
    Polyline line;
    const Edge* before = nullptr;
    for (; count > 0; --count)
    {
        const std::vector<const Edge*>& edges = around[node];
        const Edge* const next = edges.front() != before ? edges.front() : edges.back();
        if (next == before)
            return {}; // the rest is a ring of its own
        Polyline side = ChordsOf(mesh, *next);
        if (next->nodes[0] != node)
            std::reverse(side.begin(), side.end());
        line.insert(line.end(), side.begin() + (line.empty() ? 0 : 1), side.end());
        node = next->nodes[0] == node ? next->nodes[1] : next->nodes[0];
        before = next;
    }
    return line;
}

} // namespace percova
