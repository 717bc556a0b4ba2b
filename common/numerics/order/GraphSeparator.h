/// @file
/// @internal A small set of vertices that separates a graph into two parts.
#pragma once

#include "numerics/order/AdjacencyGraph.h"

#include <vector>

namespace numerics
{

constexpr signed char kSeparator = 2;

/// Side 0 or 1 of each vertex, or kSeparator. No edge joins the sides, none of which has more than
/// about three fifths of the weight. The same for the same graph. Time in proportion to the edges.
std::vector<signed char> FindSeparator(const AdjacencyGraph& graph);

} // namespace numerics
