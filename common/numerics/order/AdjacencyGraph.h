/// @file
/// @internal The undirected graph of a sparse matrix, and the merging of equal equations in it.
#pragma once

#include "numerics/system/MatrixView.h"

#include <vector>

namespace numerics
{

/// Vertices with weights; each edge is stored at both ends, loops are not stored.
struct AdjacencyGraph
{
    std::vector<int> start{0};
    std::vector<int> neighbours;
    std::vector<int> weight; ///< equations that a vertex stands for

    int Size() const { return int(start.size()) - 1; }
};

/// Equal positions above and below the diagonal, and equal values there.
struct Symmetry
{
    bool ofPattern = true;
    bool ofValues = true; ///< but for the rounding of sums made in another order
};

/// Compares the halves of A in one pass.
Symmetry FindSymmetry(const MatrixView& A);

/// A graph in which equations with equal neighbours, as the unknowns of one node have, share a
/// vertex.
struct CompressedGraph
{
    AdjacencyGraph graph;
    std::vector<int> vertexOf; ///< of each equation
};

/// The compressed graph of A + A^T, vertices numbered by their first equations.
/// @param isSymmetric  the pattern of A is that of its transpose
CompressedGraph Compress(const MatrixView& A, bool isSymmetric);

} // namespace numerics
