/// @file
/// @internal The sparse direct solver: analysis, factorisation, solution with refinement.
#pragma once

#include "numerics/SolveRecord.h"
#include "numerics/direct/KeptMatrix.h"
#include "numerics/direct/SparseFactor.h"
#include "numerics/order/Symbolic.h"
#include "numerics/system/MatrixView.h"
#include "numerics/system/Verdict.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace numerics
{

/// Solves sparse systems by elimination in a fill-reducing order.
///
/// The analysis is kept while the pattern is the same, the factor while the values are the same
/// too: then a right-hand side costs a substitution and the check of its solution. Both are
/// recognised by comparison, so that callers need not report changes.
class SparseDirect
{
public:
    SparseDirect();
    ~SparseDirect();
    SparseDirect(const SparseDirect&) = delete;
    SparseDirect& operator=(const SparseDirect&) = delete;

    /// Solves A x = b: by L D L^T where the halves of A are equal but for the rounding of sums,
    /// else, and where that leaves too large an error, by L D U; then with rows exchanged by a
    /// weighted matching, and finally with partial pivoting.
    /// @returns Solved when the row-wise error of x says so; NotFinite and TooLarge, x NaN then;
    ///          Singular with the loosest unknown, Stagnated or Breakdown as determined by Judge
    SolveRecord Solve(const MatrixView& A, const double* b, double* x);
    /// Frees all memory.
    void Clear();

    /// The cost of the last solve.
    struct Cost
    {
        bool hasAnalysed = false, hasFactorised = false, isSymmetric = false;
        PivotReport pivots;
        double flops = 0;      ///< of a factorisation
        std::size_t bytes = 0; ///< of the factors and the analysis
    };
    const Cost& LastCost() const { return cost_; }

private:
    void Analyse(const MatrixView& A, bool isSymmetric);
    bool Factorise(const MatrixView& A, bool isSymmetric);
    void Substitute(double* r);
    /// What a solve has come to.
    struct Attempt
    {
        double* x;
        SolutionErrors errors; ///< of x
        bool isSingular;       ///< and the record says so
        SolveRecord record;
    };
    bool SolveAsItIs(const MatrixView& A, bool isSymmetric, const double* b, Attempt& to);
    void SolveMatched(const MatrixView& A, const double* b, Attempt& to);
    SolveRecord RefuseSize() const;
    SolveRecord TrySolve(const MatrixView& A, const double* b, double* x);

    KeptMatrix kept_; ///< analysed and factorised
    Symbolic symbolic_;
    std::vector<double> scale_, work_;
    SparseFactor factor_;
    bool isFactorised_ = false;
    bool needsGeneral_ = false; ///< L D L^T of these values was not enough
    struct Matched;
    std::unique_ptr<Matched> matched_; ///< nor was L D U; kept while the values stand
    double needed_ = 0;                ///< bytes of the factors, once they are known
    Cost cost_;
};

} // namespace numerics
