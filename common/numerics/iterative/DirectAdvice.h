/// @file
/// @internal The recommendation of the direct solver where an iteration costs more.
#pragma once

#include "numerics/SolveRecord.h"
#include "numerics/system/MatrixView.h"

namespace numerics
{

/// The state of an iteration.
struct IterationProgress
{
    int steps;         ///< made
    int allowed;       ///< in all
    double first;      ///< norm of the residual before the first step
    double norm;       ///< of the residual now
    double target;     ///< norm at which the iteration ends
    double entriesPer; ///< stored values that a step passes over, those of the preconditioner too
};

/// Steps still to be made if each reduces the residual as those before did on average; at most
/// those allowed, which are left too when the residual has not become smaller.
double RemainingSteps(const IterationProgress& progress);

/// Recommends the direct solver, in the log at level information and once for a system: while an
/// iteration runs, when its remaining steps are predicted to cost more than a factorisation, and
/// after one that failed. Nothing is computed while the log's filter rejects the record.
///
/// The prediction counts operations, not time, so it is the same in every run; only whether memory
/// can hold the factors depends on the machine. It takes an order of elimination, once for a
/// system, which costs about as much as ten steps with multigrid.
class DirectAdvice
{
public:
    /// Looks at every 50th step.
    void Observe(const MatrixView& A, const wchar_t* method, const IterationProgress& progress)
    {
        if (progress.steps % kLookEvery == 0)
            Look(A, method, progress);
    }
    /// @param record  how the iterations for A ended
    void Conclude(const MatrixView& A, const math::SolveRecord& record);

private:
    static constexpr int kLookEvery = 50;

    bool IsWanted() const;
    void Look(const MatrixView& A, const wchar_t* method, const IterationProgress& progress);
    void Predict(const MatrixView& A);
    bool FitsMemory() const;

    bool isGiven_ = false;
    double entries_ = 0; ///< of a matrix whose products cost as much as the factors; 0: unknown
    double bytes_ = 0;   ///< of the factors
};

} // namespace numerics
