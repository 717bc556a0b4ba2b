/// @file
/// @internal A read-only view of the stored system matrix for the solvers.
#pragma once

#include <cstddef>
#include <vector>

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

/// Calls f(k, m) for the position k of each stored (i, j), j < i, in ascending order, m being the
/// position of (j, i) or -1 when that is not stored. Linear in the stored values.
template <class F>
void ForMirrors(const MatrixView& A, const F& f)
{
    std::vector<int> next(A.rowStart, A.rowStart + A.n); // next entry of each row to be passed
    for (int i = 0; i < A.n; ++i)
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1] && A.columns[k] < i; ++k)
        {
            const int j = A.columns[k];
            int& at = next[std::size_t(j)];
            while (at < A.rowStart[j + 1] && A.columns[at] < i)
                ++at;
            f(k, at < A.rowStart[j + 1] && A.columns[at] == i ? at : -1);
        }
}

} // namespace numerics
