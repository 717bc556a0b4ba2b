/// @file
/// @internal Iterative solution of A x = b by preconditioned Krylov methods.
#pragma once

#include "numerics/SolveRecord.h"
#include "numerics/iterative/DirectAdvice.h"
#include "numerics/iterative/UnknownPlaces.h"
#include "numerics/system/MatrixView.h"

#include <memory>

namespace numerics
{
using math::SolveMethod;
using math::SolveOutcome;
using math::SolveRecord;

/// Storage that iterative solves keep from one to the next: the levels of the multigrid
/// preconditioner and the work vectors. The contents are recomputed for every matrix; keeping the
/// object saves the allocations.
class KrylovCache
{
public:
    KrylovCache();
    ~KrylovCache();
    KrylovCache(KrylovCache&&) noexcept;
    KrylovCache& operator=(KrylovCache&&) noexcept;

    /// Frees the memory.
    void Clear();

    struct Storage;
    Storage& Get();
    DirectAdvice& Advice() { return advice_; }
    /// Where the unknowns are, for the multigrid; empty unless set.
    UnknownPlaces& Places() { return places_; }

private:
    DirectAdvice advice_;
    UnknownPlaces places_;
    std::unique_ptr<Storage> storage_;
};

/// Solves A x = b for a symmetric definite A by conjugate gradients, with smoothed aggregation
/// multigrid as the preconditioner.
///
/// @param x        start values on entry (those that are not finite count as 0), solution on exit
/// @param tol      converged when ||b - A x|| <= tol ||b|| in the 2-norm. The residual recomputed
/// from x counts, not the recursive one of the iteration.
/// @param maxIter  iterations allowed; 0 or less leaves x unchanged and reports its residual
///
/// The outcome is Solved when also the row-wise error is at most sqrt(tol), so that no equation is
/// left unsolved because its coefficients are small; the iteration continues until that holds.
/// Stagnated when the error stops decreasing before; NotConverged after maxIter iterations;
/// Breakdown when the matrix proves not to be definite (with the equation, if any, that has no
/// diagonal); NotFinite with the equation whose row or right side holds NaN or infinity, x
/// untouched; Singular with the equation whose row is all zero with a nonzero right side. An
/// all-zero row with a zero right side leaves its unknown at the start value. Unless the outcome is
/// NotFinite, x is the best approximation found, the start included.
///
/// The same bits come from every run and every number of threads.
SolveRecord SolveKrylovSymmetric(const MatrixView& A, const double* b, double* x, double tol,
                                 int maxIter, KrylovCache& cache);

/// The same for a general A, by BiCGSTAB with multigrid or by IDR(4) with incomplete factors: see
/// NonSymmetricMethods. The record names the method that ran last, the log at level verbose also
/// those given up before and the memory of the factors, which take at most 10 kB an equation and
/// 30 bytes a stored value while they are made. Where memory cannot hold a later method the best x
/// of those before is kept.
SolveRecord SolveKrylovNonSymmetric(const MatrixView& A, const double* b, double* x, double tol,
                                    int maxIter, KrylovCache& cache);

} // namespace numerics
