/// @file
/// @internal Orderings that keep the factors of a sparse matrix sparse: minimum degree.
#pragma once

#include "numerics/order/AdjacencyGraph.h"

#include <vector>

namespace numerics
{

/// The order of elimination by approximate minimum degree: order[k] is the vertex eliminated at
/// step k. Vertices with far more neighbours than the others come last.
///
/// Source: Amestoy, Davis and Duff (1996), SIAM J. Matrix Anal. Appl. 17(4), 886-905: a quotient
/// graph of elements, degrees bounded from above, vertices with equal neighbours eliminated
/// together.
std::vector<int> MinimumDegreeOrder(const AdjacencyGraph& graph);

} // namespace numerics
