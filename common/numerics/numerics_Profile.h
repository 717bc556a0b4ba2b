/// @file
/// @internal The direct profile (skyline) solvers.
#pragma once

#include "numerics/SolveRecord.h"
#include "numerics/numerics_MatrixView.h"

#include <vector>

namespace math::impl
{

/// Factorises in the given numbering and without pivoting, within the profile: each row from its
/// first stored column to the diagonal, and for U the mirror image. Keeps its storage from solve
/// to solve.
class ProfileSolver
{
public:
    /// The pattern has changed: the profile is recomputed before the next solve.
    void Forget() { stale_ = true; }
    /// Solves A x = b; @p x need not be set. The symmetric form reads the upper triangle only.
    /// @param threads  most threads to use, 0 for all
    SolveRecord Solve(const MatrixView& A, bool symmetric, const double* b, double* x, int threads);

private:
    bool MakeProfile(const MatrixView& A);

    bool stale_ = true;
    std::vector<int> diagonal_; ///< position of each row's diagonal in the profile array
    std::vector<double> lower_;
    std::vector<double> upper_;
};

} // namespace math::impl
