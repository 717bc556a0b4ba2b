/// @file
/// @internal Scaling of a sparse matrix before it is factorised.
#pragma once

#include "numerics/system/MatrixView.h"

#include <vector>

namespace numerics
{

/// Powers of two s_i for which the largest entries of the rows and columns of S A S are near 1,
/// so that scaling rounds nothing. 0 for an equation whose row and column hold nothing but zeros.
///
/// Source: Ruiz (2001), A scaling algorithm to equilibrate both rows and columns norms in
/// matrices, RAL-TR-2001-034.
std::vector<double> Equilibrate(const MatrixView& A);

} // namespace numerics
