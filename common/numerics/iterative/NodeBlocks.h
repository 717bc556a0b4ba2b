/// @file
/// @internal The unknowns of each node found from the matrix, and the matrix reordered by nodes.
#pragma once

#include "numerics/iterative/KrylovIteration.h"
#include "numerics/iterative/UnknownPlaces.h"
#include "numerics/system/SparseRows.h"

#include <vector>

namespace numerics
{

/// A in the order of its nodes: node k has the rows k * unknowns to (k + 1) * unknowns - 1, one for
/// each component, as does every node. A component that a node lacks has a row with a diagonal
/// only.
///
/// Unknowns belong to one node when their rows have the same columns, whatever their numbers. The
/// component of an unknown follows from its couplings to neighbours, visited breadth first:
/// couplings of equal components have the larger sum.
struct NodeBlocks
{
    int unknowns = 1; ///< of a node
    SparseRows matrix;
    std::vector<int> from; ///< for each row of matrix the row of A, -1 for a component left out

    /// Does nothing when nodes of one unknown prevail, or A is in the order of its nodes, and A has
    /// a band. Without one, as with random numbers, neighbours are brought together, for the caches
    /// and for threads. Cost: a few passes over A.
    void Build(const MatrixView& A);
    /// The same with the nodes of @p places.
    void Build(const MatrixView& A, const UnknownPlaces& places);
    /// Has matrix been made?
    bool IsReordered() const { return !from.empty(); }

    /// Rows with the same columns.
    struct Groups
    {
        std::vector<int> of;   ///< the group of each row, in the order of their first rows
        std::vector<int> size; ///< rows of each group
    };

private:
    void FromGroups(const MatrixView& A, const Groups& groups, int size);
    void FromPlaces(const MatrixView& A, const UnknownPlaces& places);
    void InBand(const MatrixView& A);
};

/// A preconditioner of the reordered matrix as one of A.
class Reordered : public Preconditioner
{
public:
    Reordered(Preconditioner& inner, const NodeBlocks& blocks);
    void Apply(const double* r, double* z) override;
    double Entries() const override { return inner_.Entries(); }

private:
    Preconditioner& inner_;
    const NodeBlocks& blocks_;
    Vec r_, z_;
};

} // namespace numerics
