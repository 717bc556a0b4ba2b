#include "numerics/order/NestedDissection.h"

#include "numerics/order/GraphSeparator.h"
#include "numerics/order/MinimumDegree.h"
#include "numerics/system/StopRequest.h"
#include "numerics/system/Threads.h"
#include "parallel/For.h"

#include <cstddef>
#include <numeric>
#include <utility>

namespace numerics
{
namespace
{

constexpr int kLeaf = 200; // number of vertices that minimum degree orders as well

/// A part of the graph with the numbers of its vertices in the whole, and its place in the order.
struct Part
{
    AdjacencyGraph graph;
    std::vector<int> vertices;
    std::size_t end = 0; ///< its places in the order are those before this one
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

/// Orders a separator of the part, last of it, and returns the sides; or all of the part, where it
/// is small or cannot be separated.
std::vector<Part> Order(const Part& part, std::vector<int>& order)
{
    const std::size_t n = part.vertices.size();
    std::size_t end = part.end;
    if (int(n) > kLeaf)
    {
        const std::vector<signed char> side = FindSeparator(part.graph);
        std::vector<Part> sides;
        sides.push_back(Extract(part, side, 0));
        sides.push_back(Extract(part, side, 1));
        if (!sides[0].vertices.empty() && !sides[1].vertices.empty())
        {
            for (std::size_t v = n; v-- > 0;)
                if (side[v] == kSeparator)
                    order[--end] = part.vertices[v];
            sides[1].end = end;
            sides[0].end = end - sides[1].vertices.size();
            return sides;
        }
    }
    const std::vector<int> own = MinimumDegreeOrder(part.graph);
    for (std::size_t k = n; k-- > 0;)
        order[--end] = part.vertices[std::size_t(own[k])];
    return {};
}

} // namespace

std::vector<int> NestedDissectionOrder(const AdjacencyGraph& graph)
{
    Part whole{graph, std::vector<int>(std::size_t(graph.Size())), std::size_t(graph.Size())};
    std::iota(whole.vertices.begin(), whole.vertices.end(), 0);
    std::vector<int> order(whole.vertices.size());
    std::vector<Part> parts;
    parts.push_back(std::move(whole));
    const StopRequest* const stop = StopRequest::Current();
    while (!parts.empty())
    {
        std::vector<std::vector<Part>> sides(parts.size());
        parallel::ForEach(
            parts.size(),
            [&](std::size_t k) {
                StopRequest::ThrowIfMade(stop);
                sides[k] = Order(parts[k], order);
                parts[k] = {};
            },
            ThreadCount(0));
        parts.clear();
        for (std::vector<Part>& of : sides)
            for (Part& side : of)
                parts.push_back(std::move(side));
    }
    return order;
}

} // namespace numerics
