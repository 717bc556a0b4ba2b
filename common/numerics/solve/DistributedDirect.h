/// @file
/// @internal The direct solver whose factors are distributed over several processes.
#pragma once

#include "numerics/SolveRecord.h"
#include "numerics/direct/KeptMatrix.h"
#include "numerics/solve/DistributedInterface.h"
#include "numerics/system/MatrixView.h"
#include "numerics/system/Verdict.h"

namespace numerics
{

/// Solves sparse systems with the functions of a solver's library, and judges every solution as
/// SparseDirect does: only a small row-wise error counts as solved.
///
/// The analysis is kept while the pattern is the same, the factor while the values are the same
/// too. Values that are symmetric but for the rounding of sums are factorised as symmetric ones,
/// unless that left too large an error in this pattern before.
class DistributedDirect
{
public:
    DistributedDirect() = default;
    ~DistributedDirect() { Clear(); }
    DistributedDirect(const DistributedDirect&) = delete;
    DistributedDirect& operator=(const DistributedDirect&) = delete;

    /// Solves A x = b with @p functions, which must outlive this object.
    /// @returns Solved when the row-wise error of x says so; NotFinite, TooLarge and Failed, x NaN
    ///          then; Singular with the loosest unknown, Stagnated or Breakdown as determined by
    ///          Judge
    SolveRecord Solve(const DistributedFunctions& functions, const MatrixView& A, const double* b,
                      double* x);
    /// Frees the memory in all processes.
    void Clear();

private:
    void Analyse(const MatrixView& A, bool isSymmetric);
    void Factorise(const MatrixView& A, bool findsNullPivots);
    bool IsSingular(const MatrixView& A, SolveRecord& record);
    SolutionErrors SolveFactorised(const MatrixView& A, bool isSymmetric, const double* b,
                                   double* x, SolveRecord& record);
    SolveRecord TrySolve(const MatrixView& A, const double* b, double* x);

    const DistributedFunctions* functions_ = nullptr;
    void* system_ = nullptr;
    KeptMatrix kept_; ///< analysed and factorised
    bool isFactorised_ = false;
    bool isSymmetric_ = false;  ///< the system analysed
    bool needsGeneral_ = false; ///< the symmetric factor was not enough in this pattern
    int nullPivots_ = 0;        ///< replaced in the current factor
    DistributedReport report_;
};

} // namespace numerics
