/// @file
/// @internal An order of the vertices of a graph that keeps neighbours close together.
#pragma once

#include "numerics/order/AdjacencyGraph.h"

#include <vector>

namespace numerics
{

/// The reverse Cuthill-McKee order: order[k] is the vertex at position k. Every connected part
/// starts at a vertex that is nearly as far from the others as any. Linear in the edges but for the
/// sorting of neighbours by degree.
/// Source: George and Liu (1981), Computer Solution of Large Sparse Positive Definite Systems, 4.3.
std::vector<int> BandOrder(const AdjacencyGraph& graph);

} // namespace numerics
