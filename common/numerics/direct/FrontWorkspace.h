/// @file
/// @internal The working storage of a sparse factorisation.
#pragma once

#include "numerics/direct/FrontLayout.h"
#include "numerics/direct/SparseFactor.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace numerics
{

/// How the pivots of a tile were found.
struct SparseFactor::TileState
{
    bool isPermuted = false, hasPairs = false;
};

/// A contribution not yet assembled into its parent.
struct SparseFactor::Waiting
{
    int supernode;
    const double* values;
    bool isOnStack;
};

/// One thread's memory.
struct SparseFactor::Workspace
{
    explicit Workspace(const Symbolic& symbolic, bool isSymmetric)
        : stack(symbolic.stackSize * (isSymmetric ? 1 : 2)), top(stack.data()),
          local(symbolic.order.size())
    {
        std::size_t widest = 0;
        for (const Supernode& node : symbolic.supernodes)
            widest = std::max(widest, std::size_t(node.pivots + kPanel));
        panel[0].resize(widest * kPanel);
        if (!isSymmetric)
            panel[1].resize(widest * kPanel);
        tiles.resize(widest / kPanel + 1);
    }

    RawVector<double> stack;
    double* top;
    RawVector<double> panel[2]; ///< L D of the panel at work, and U^T D
    RawVector<int> local;       ///< row of each position in the front
    std::vector<RowPlace> places, contributionPlaces;
    std::vector<Waiting> waiting; ///< contributions not yet assembled
    std::vector<TileState> tiles;
};

/// A supernode's dense block. Side 0 holds L, side 1 holds U^T unless the matrix is symmetric.
struct SparseFactor::Front
{
    const Supernode& node;
    int sides;
    double* factor[2];
    double* contribution[2]; ///< with the magnitudes at the head of side 0
    TileState* tiles;
    int replaced = 0;
    bool isPermuted = false;
};

} // namespace numerics
