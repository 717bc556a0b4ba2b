#include "numerics/solve/NestedDissection.h"

#include "numerics/solve/GraphSeparator.h"
#include "numerics/solve/MinimumDegree.h"
#include "numerics/solve/StopRequest.h"

#include <cstddef>
#include <utility>

namespace numerics
{
namespace
{

constexpr int kLeaf = 200; // number of vertices that minimum degree orders as well

/// A part of the graph with the numbers of its vertices in the whole.
struct Part
{
    AdjacencyGraph graph;
    std::vector<int> vertices;
};

/// The vertices of one side with the edges between them.
Part Extract(const Part& whole, const std::vector<signed char>& side, int wanted)
{
    Part part;
    const std::size_t n = whole.vertices.size();
    std::vector<int> number(n, -1);
    for (std::size_t v = 0; v < n; ++v)
        if (side[v] == wanted)
        {
            number[v] = int(part.vertices.size());
            part.vertices.push_back(whole.vertices[v]);
        }
    part.graph.start.reserve(part.vertices.size() + 1);
    part.graph.weight.reserve(part.vertices.size());
    for (std::size_t v = 0; v < n; ++v)
    {
        if (number[v] < 0)
            continue;
        for (int k = whole.graph.start[v]; k < whole.graph.start[v + 1]; ++k)
            if (const int u = number[std::size_t(whole.graph.neighbours[std::size_t(k)])]; u >= 0)
                part.graph.neighbours.push_back(u);
        part.graph.start.push_back(int(part.graph.neighbours.size()));
        part.graph.weight.push_back(whole.graph.weight[v]);
    }
    return part;
}

} // namespace

std::vector<int> NestedDissectionOrder(const AdjacencyGraph& graph)
{
    Part whole{graph, std::vector<int>(std::size_t(graph.Size()))};
    for (std::size_t v = 0; v < whole.vertices.size(); ++v)
        whole.vertices[v] = int(v);
    // Filled from the back: the last separator first, then its parts.
    std::vector<int> order(whole.vertices.size());
    std::size_t end = order.size();
    std::vector<Part> parts;
    parts.push_back(std::move(whole));
    while (!parts.empty())
    {
        StopRequest::ThrowIfCurrent();
        const Part part = std::move(parts.back());
        parts.pop_back();
        const std::size_t n = part.vertices.size();
        if (int(n) > kLeaf)
        {
            const std::vector<signed char> side = FindSeparator(part.graph);
            std::size_t inSeparator = 0;
            for (std::size_t v = n; v-- > 0;)
                if (side[v] == kSeparator)
                {
                    order[--end] = part.vertices[v];
                    ++inSeparator;
                }
            Part first = Extract(part, side, 0), second = Extract(part, side, 1);
            if (!first.vertices.empty() && !second.vertices.empty())
            {
                parts.push_back(std::move(first));
                parts.push_back(std::move(second));
                continue;
            }
            end += inSeparator; // it cannot be separated
        }
        const std::vector<int> own = MinimumDegreeOrder(part.graph);
        for (std::size_t k = n; k-- > 0;)
            order[--end] = part.vertices[std::size_t(own[k])];
    }
    return order;
}

} // namespace numerics
