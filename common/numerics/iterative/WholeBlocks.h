/// @file
/// @internal Matrices of nodes with several unknowns, whose entries come in whole blocks.
#pragma once

#include "numerics/system/MatrixView.h"
#include "numerics/system/SparseRows.h"

#include <vector>

namespace numerics
{

/// A with the rows and columns @p from, in blocks of @p size, columns ascending. A row whose number
/// is negative, of a component that its node lacks, has a diagonal only.
SparseRows InWholeBlocks(const MatrixView& A, const std::vector<int>& from, int size);

/// @p C with zeros where its blocks of @p size rows and columns, 2 or 3, have no entry.
SparseRows Padded(const SparseRows& C, int size);

/// Unknowns of the nodes of a level and the next.
struct BlockSizes
{
    int fine, coarse; ///< 2 or 3 and 3; 3 or 6 and 6
};

/// C = R A P for R = P^T, columns ascending. A, P and C consist of whole blocks: the rows of a node
/// have the same columns, in P in any order of the blocks. A row of zeros in R gives a diagonal of
/// 1 in C.
SparseRows BlockTripleProduct(const SparseRows& R, const MatrixView& A, const SparseRows& P,
                              BlockSizes sizes);

} // namespace numerics
