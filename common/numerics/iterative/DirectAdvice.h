/// @file
/// @internal The recommendation of the direct solver where an iteration costs more.
#pragma once

#include "numerics/SolveRecord.h"
#include "numerics/system/MatrixView.h"

namespace numerics
{

/// Steps from one look at an iteration to the next.
constexpr int kAdviceInterval = 30;

/// The state of an iteration.
struct IterationProgress
{
    int steps;         ///< made
    int allowed;       ///< in all
    double before;     ///< norm of the residual kAdviceInterval steps ago
    double norm;       ///< of the residual now
    double target;     ///< norm at which the iteration ends
    double entriesPer; ///< stored values that a step passes over, those of the preconditioner too
};

/// Steps still to be made if each reduces the residual as the last kAdviceInterval did on average;
/// at most those allowed, which are left too when these did not reduce it. The first steps say
/// little: a residual that oscillates from node to node falls faster than what remains of it.
double RemainingSteps(const IterationProgress& progress);

/// Recommends the direct solver, in the log at level information and once for a system: while an
/// iteration runs, when its remaining steps are predicted to cost more than a factorisation, and
/// after one that failed. Nothing is computed while the log's filter rejects the record.
///
/// The prediction counts operations, not time, so it is the same in every run; only whether memory
/// can hold the factors depends on the machine. It takes an order of elimination, once for a
/// system, which costs as much as five to twenty steps with multigrid.
class DirectAdvice
{
public:
    /// For every kAdviceInterval-th step of a method.
    void Look(const MatrixView& A, const wchar_t* method, const IterationProgress& progress);
    /// @param record  how the iterations for A ended
    void Conclude(const MatrixView& A, const math::SolveRecord& record);

private:
    bool IsWanted() const;
    void Predict(const MatrixView& A);
    bool FitsMemory() const;

    bool isGiven_ = false;
    double entries_ = 0; ///< of a matrix whose products cost as much as the factors; 0: unknown
    double bytes_ = 0;   ///< of the factors
};

} // namespace numerics
