/// @file
/// @internal The iterations themselves: conjugate gradients, MINRES, BiCGSTAB and IDR(s).
#pragma once

#include "numerics/iterative/DirectAdvice.h"
#include "numerics/system/BlockVector.h"
#include "numerics/system/MatrixView.h"
#include "numerics/system/StopRequest.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace numerics
{

/// z = M^-1 r for an approximation M of the matrix. Linear: the same M at every call.
class Preconditioner
{
public:
    virtual ~Preconditioner() = default;
    virtual void Apply(const double* r, double* z) = 0;
    /// Stored values that Apply passes over.
    virtual double Entries() const = 0;
};

/// Why an iteration stopped.
enum class IterationEnd
{
    Reached,     ///< the recursive residual meets the target
    OutOfSteps,  ///< the allowed steps were used up
    Stalled,     ///< too slow, see StagnationLimit, or too large numbers
    NotDefinite, ///< conjugate gradients met a direction of zero or changing sign of energy
    ZeroProduct  ///< BiCGSTAB or IDR divided by a zero product
};

/// When an iteration gives up: after this many steps in which the residual did not fall below
/// @c part of its smallest norm before them.
struct StagnationLimit
{
    int steps;
    double part = 0.99;
};

/// Monitors the residual and detects stagnation.
class StagnationCheck
{
public:
    StagnationCheck(double norm, StagnationLimit limit) : smallest_(norm), limit_(limit) {}
    /// @returns true when there was no progress for too long or the numbers left their range
    bool HasStagnated(double norm);

private:
    double smallest_;
    StagnationLimit limit_;
    int since_ = 0;
};

/// One run of an iteration from a given x and its residual.
struct IterationRun
{
    const MatrixView& A;
    Preconditioner& M;
    double target;    ///< absolute 2-norm of the residual to be reached
    int stepsAllowed; ///< for this run
    double* x;        ///< the approximation, improved in place
    double* r;        ///< its residual b - A x on entry; then updated recursively
    StagnationLimit limit;
    DirectAdvice& advice;
    const wchar_t* method;
    double normBefore; ///< of r on entry; then at the last look
    int steps = 0;     ///< out: steps made

    /// After each step. @param products  with A and with M, each, in a step
    void Observe(double norm, int products = 1)
    {
        if (steps % kAdviceInterval != 0)
            return;
        const double entries = products * (A.rowStart[A.n] + M.Entries());
        advice.Look(A, method, {steps, stepsAllowed, normBefore, norm, target, entries});
        normBefore = norm;
    }
};

/// What a step returns that would have to divide by zero.
constexpr double kBroken = std::numeric_limits<double>::quiet_NaN();

/// Repeats state.Step(), which counts itself and returns the norm of the residual or kBroken. The
/// residual oscillates, so state.best keeps x, but is written only for a clear improvement of
/// state.smallest: x ends at most at twice the smallest residual seen, also after a breakdown.
template <class State>
IterationEnd RunOscillating(IterationRun& run, State& state)
{
    StagnationCheck stagnation(state.smallest, run.limit);
    IterationEnd end = IterationEnd::OutOfSteps;
    double norm = state.smallest;
    while (run.steps < run.stepsAllowed)
    {
        StopRequest::ThrowIfCurrent();
        norm = state.Step();
        if (norm <= run.target)
            return IterationEnd::Reached;
        if (std::isnan(norm) || stagnation.HasStagnated(norm))
        {
            end = std::isnan(norm) ? IterationEnd::ZeroProduct : IterationEnd::Stalled;
            break;
        }
        run.Observe(norm, State::kProducts);
        if (norm < 0.5 * state.smallest)
        {
            state.smallest = norm;
            std::copy(run.x, run.x + run.A.n, state.best);
        }
    }
    if (!(norm <= state.smallest))
        std::copy(state.best, state.best + run.A.n, run.x);
    return end;
}

/// Conjugate gradients; x ends at the smallest residual seen. @p work keeps the vectors from one
/// run to the next.
IterationEnd RunConjugateGradients(IterationRun& run, std::vector<Vec>& work);

/// MINRES, for a symmetric A of any definiteness; M is definite. The norm of the residual in M^-1
/// never grows.
/// Source: Paige and Saunders (1975), SIAM J. Numer. Anal. 12(4), 617-629, preconditioned as in
/// Elman, Silvester and Wathen (2014), Finite Elements and Fast Iterative Solvers, 4.1.
IterationEnd RunMinRes(IterationRun& run, std::vector<Vec>& work);

/// IDR(4), preconditioned from the right: the residual lies in ever smaller subspaces, a product
/// with A a step. x ends at most at twice the smallest residual seen.
/// Source: van Gijzen and Sonneveld (2011), ACM Trans. Math. Software 38(1), 5.
IterationEnd RunIdr(IterationRun& run, std::vector<Vec>& work);

/// BiCGSTAB, preconditioned from the right. x ends at most at twice the smallest residual seen.
IterationEnd RunBiCgStab(IterationRun& run, std::vector<Vec>& work);

} // namespace numerics
