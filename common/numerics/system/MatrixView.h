/// @file
/// @internal A read-only view of the stored system matrix for the solvers.
#pragma once

namespace numerics
{

/// Compressed rows, columns ascending within a row. Read-only: a solver keeps its own factors.
struct MatrixView
{
    int n = 0;                     ///< equations
    const int* rowStart = nullptr; ///< n + 1 positions; the last is the number of stored values
    const int* columns = nullptr;  ///< zero-based column of each stored value
    const double* values = nullptr;
};

} // namespace numerics
