/// @file
/// @internal Elimination with partial pivoting, for matrices that need it.
#pragma once

#include "numerics/system/MatrixView.h"
#include "numerics/system/Verdict.h"

namespace numerics
{

/// Solves A x = b by L U with partial pivoting, on one thread and without a precomputed structure:
/// several times the time and memory of SparseDirect.
/// @param scale   S for which S A S is factorised
/// @param errors  of x; set when there is a factor
/// @returns false when a column is left without a pivot: A is singular
bool SolveWithPivoting(const MatrixView& A, const double* scale, const double* b, double* x,
                       SolutionErrors& errors);

} // namespace numerics
