/// @file
/// @internal The elimination tree of a sparse symmetric matrix.
#pragma once

#include "numerics/order/AdjacencyGraph.h"

#include <vector>

namespace numerics
{

/// The tree of an order of elimination, renumbered so that every subtree is consecutive
/// (postorder): the parent of a step is the first later step that it updates.
struct EliminationTree
{
    std::vector<int> order;   ///< vertex eliminated at each step
    std::vector<int> parent;  ///< of each step, -1 for none
    std::vector<int> count;   ///< equations in the step's column of the factor, its own included
    std::vector<int> start;   ///< where the earlier neighbours of each step begin
    std::vector<int> earlier; ///< steps before that a step is connected with in the matrix
};

/// Time nearly in proportion to the edges.
/// Source: Liu (1990), SIAM J. Matrix Anal. Appl. 11(1), 134-172, for the tree; Gilbert, Ng and
/// Peyton (1994), ibid. 15(4), 1075-1091, for the counts.
EliminationTree BuildEliminationTree(const AdjacencyGraph& graph, const std::vector<int>& order);

/// Children before parents, each subtree consecutive, siblings in the order of their numbers.
std::vector<int> PostOrder(const std::vector<int>& parent);

} // namespace numerics
