/// @file
/// @internal Row exchanges and scales that put large values on the diagonal of a matrix.
#pragma once

#include "numerics/system/MatrixView.h"

#include <vector>

namespace numerics
{

/// A choice of one value in each row and column whose product is largest but for factors of two,
/// and scales with which the chosen values are from 1 to 2 and no other reaches 2. Equation k and
/// unknown k have each other where neither has a value.
struct WeightedMatching
{
    std::vector<int> rowOf;              ///< row whose value is chosen in each column
    std::vector<int> rowScale, colScale; ///< exponents of two
    int freeRow = -1; ///< a row that no choice leaves a value for: A is singular whatever its
                      ///< values; the rest is empty then; -1 for none
};

/// Shortest augmenting paths over the exponents of the values, which are whole numbers: the same
/// result on every machine. About n log n operations for each row that a greedy choice leaves out.
/// Source: Duff and Koster (2001), SIAM J. Matrix Anal. Appl. 22(4), 973-996.
WeightedMatching MatchRows(const MatrixView& A);

} // namespace numerics
