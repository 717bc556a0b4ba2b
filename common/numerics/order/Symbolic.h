/// @file
/// @internal The structure of a sparse factorisation, independent of values.
#pragma once

#include "numerics/order/AdjacencyGraph.h"

#include <cstddef>
#include <vector>

namespace numerics
{

/// Rows of a panel: dense blocks are stored in panels of this many rows, each by columns. The last
/// panel of a block has 8, 16 or 24 rows, padded with zeros.
constexpr int kPanel = 24;

/// Rows that the panel beginning at row @p first of @p rows takes in storage.
constexpr int PanelHeight(int rows, int first)
{
    return rows - first >= kPanel ? kPanel : (rows - first + 7) / 8 * 8;
}

/// Columns with nearly the same rows below, eliminated together in one dense block, the front.
/// Rows and columns are positions in the order of elimination.
struct Supernode
{
    int first = 0;               ///< its first position
    int pivots = 0;              ///< positions eliminated here
    int rows = 0;                ///< positions below that these reach
    int parent = -1;             ///< the supernode that assembles its contribution, -1 for none
    std::size_t rowStart = 0;    ///< where its rows begin in Symbolic::rows
    std::size_t factorStart = 0; ///< where its part of a factor begins, in doubles

    /// Doubles of the contribution block: magnitudes of the rows' diagonal entries, then the lower
    /// triangle of rows x rows in panels.
    std::size_t ContributionSize() const;
    /// Doubles of its part of a factor: pivot panels, then the panels of the rows below.
    std::size_t FactorSize() const;
};

/// The structure of the factors of a matrix with symmetric pattern.
struct Symbolic
{
    std::vector<int> order;            ///< equation at each position of the elimination
    std::vector<int> position;         ///< of each equation
    std::vector<Supernode> supernodes; ///< children before parents
    std::vector<int> rows;             ///< ascending within each supernode
    std::size_t factorSize = 0;        ///< doubles of one triangular factor
    std::size_t stackSize = 0;         ///< doubles of the contributions that wait at one time
    double flops = 0;                  ///< of one triangular factor, additions and products
    int widestFront = 0;               ///< pivots and rows
};

/// Structure of the factors when the vertices of @p compressed are eliminated in the given order;
/// within the freedom of the tree, positions are renumbered.
Symbolic Analyse(const CompressedGraph& compressed, const std::vector<int>& order);

/// The cost of one triangular factor.
struct FactorCost
{
    double flops = 0;   ///< additions and products
    double entries = 0; ///< stored values
};

/// The cost of a factorisation in the given order, without the rest of the analysis.
FactorCost PredictCost(const AdjacencyGraph& graph, const std::vector<int>& order);

} // namespace numerics
