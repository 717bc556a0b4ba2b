#include "numerics/solve/Ordering.h"

#include "numerics/solve/MinimumDegree.h"
#include "numerics/solve/NestedDissection.h"
#include "numerics/solve/Symbolic.h"

namespace numerics
{

std::vector<int> ChooseOrder(const AdjacencyGraph& graph)
{
    // Dissection costs about half a microsecond an edge, and saves half to three quarters of the
    // operations where these are many: solids, not plane meshes of a hundred thousand equations.
    constexpr double kWorthTrying = 2e9, kWorthPerNeighbour = 15e3;
    std::vector<int> order = MinimumDegreeOrder(graph);
    const double flops = PredictFlops(graph, order);
    if (flops < kWorthTrying || flops < kWorthPerNeighbour * double(graph.neighbours.size()))
        return order;
    std::vector<int> dissected = NestedDissectionOrder(graph);
    return PredictFlops(graph, dissected) < flops ? dissected : order;
}

} // namespace numerics
