#include "numerics/solve/Ordering.h"

#include "numerics/solve/MinimumDegree.h"

namespace numerics
{

std::vector<int> ChooseOrder(const AdjacencyGraph& graph) { return MinimumDegreeOrder(graph); }

} // namespace numerics
