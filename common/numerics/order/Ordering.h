/// @file
/// @internal The order of elimination of a sparse matrix.
#pragma once

#include "numerics/order/AdjacencyGraph.h"

#include <vector>

namespace numerics
{

/// The order by minimum degree, or by nested dissection where that promises to save more work
/// than it costs: order[k] is the vertex eliminated at step k. A graph that is numbered at random
/// is renumbered first.
std::vector<int> ChooseOrder(const AdjacencyGraph& graph);

/// Whether nested dissection is tried after minimum degree has come to @p flops operations.
bool IsWorthDissecting(const AdjacencyGraph& graph, double flops);

} // namespace numerics
