#include "numerics/order/Ordering.h"

#include "numerics/order/BandOrder.h"
#include "numerics/order/MinimumDegree.h"
#include "numerics/order/NestedDissection.h"
#include "numerics/order/Symbolic.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace numerics
{

namespace
{

/// Whether neighbours have numbers as far apart as those of any two vertices.
bool IsScattered(const AdjacencyGraph& graph)
{
    constexpr double kShare = 0.1; // of the vertices; a third in random order
    double distance = 0;
    for (int v = 0; v < graph.Size(); ++v)
        for (int k = graph.start[std::size_t(v)]; k < graph.start[std::size_t(v) + 1]; ++k)
            distance += std::abs(graph.neighbours[std::size_t(k)] - v);
    return distance > kShare * double(graph.Size()) * double(graph.neighbours.size());
}

/// @p graph with the vertices in @p order.
AdjacencyGraph Renumbered(const AdjacencyGraph& graph, const std::vector<int>& order)
{
    std::vector<int> number(order.size());
    for (std::size_t v = 0; v < order.size(); ++v)
        number[std::size_t(order[v])] = int(v);
    AdjacencyGraph result;
    result.start.reserve(graph.start.size());
    result.neighbours.reserve(graph.neighbours.size());
    result.weight.reserve(order.size());
    for (const int v : order)
    {
        const auto first = std::ptrdiff_t(result.neighbours.size());
        for (int k = graph.start[std::size_t(v)]; k < graph.start[std::size_t(v) + 1]; ++k)
            result.neighbours.push_back(number[std::size_t(graph.neighbours[std::size_t(k)])]);
        std::sort(result.neighbours.begin() + first, result.neighbours.end());
        result.start.push_back(int(result.neighbours.size()));
        result.weight.push_back(graph.weight[std::size_t(v)]);
    }
    return result;
}

std::vector<int> BestOrder(const AdjacencyGraph& graph)
{
    std::vector<int> order = MinimumDegreeOrder(graph);
    const double flops = PredictCost(graph, order).flops;
    if (!IsWorthDissecting(graph, flops))
        return order;
    std::vector<int> dissected = NestedDissectionOrder(graph);
    return PredictCost(graph, dissected).flops < flops ? dissected : order;
}

} // namespace

bool IsWorthDissecting(const AdjacencyGraph& graph, double flops)
{
    // Dissection costs about half a microsecond an edge, and saves half to three quarters of the
    // operations where these are many: solids, not plane meshes of a hundred thousand equations.
    constexpr double kWorthTrying = 2e9, kWorthPerNeighbour = 15e3;
    return flops >= kWorthTrying && flops >= kWorthPerNeighbour * double(graph.neighbours.size());
}

std::vector<int> ChooseOrder(const AdjacencyGraph& graph)
{
    if (!IsScattered(graph))
        return BestOrder(graph);
    // Neighbours in memory and, among vertices of equal degree, in turn: a third of the time, and
    // six tenths of the operations, in a plane mesh that is numbered at random.
    const std::vector<int> banded = BandOrder(graph);
    std::vector<int> order = BestOrder(Renumbered(graph, banded));
    for (int& v : order)
        v = banded[std::size_t(v)];
    return order;
}

} // namespace numerics
