/// @file
/// @internal The iterations themselves: conjugate gradients and BiCGSTAB.
#pragma once

#include "numerics/solve/BlockVector.h"
#include "numerics/system/MatrixView.h"

namespace numerics
{

/// z = M^-1 r for an approximation M of the matrix. Linear: the same M at every call.
class Preconditioner
{
public:
    virtual ~Preconditioner() = default;
    virtual void Apply(const double* r, double* z) = 0;
};

/// Why an iteration stopped.
enum class IterationEnd
{
    Reached,     ///< the recursive residual meets the target
    OutOfSteps,  ///< the allowed steps were used up
    Stalled,     ///< hundreds of steps without a smaller residual, or too large numbers
    NotDefinite, ///< conjugate gradients met a direction of zero or changing sign of energy
    ZeroProduct  ///< BiCGSTAB divided by a zero product
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
    int patience;     ///< steps without a smaller residual, after which the run gives up
    int steps = 0;    ///< out: steps made
};

/// Conjugate gradients; x ends at the smallest residual seen. @p work keeps the vectors from one
/// run to the next.
IterationEnd RunConjugateGradients(IterationRun& run, std::vector<Vec>& work);

/// MINRES, for a symmetric A of any definiteness; M is definite. The norm of the residual in M^-1
/// never grows.
/// Source: Paige and Saunders (1975), SIAM J. Numer. Anal. 12(4), 617-629, preconditioned as in
/// Elman, Silvester and Wathen (2014), Finite Elements and Fast Iterative Solvers, 4.1.
IterationEnd RunMinRes(IterationRun& run, std::vector<Vec>& work);

/// BiCGSTAB, preconditioned from the right. x ends at most at twice the smallest residual seen.
IterationEnd RunBiCgStab(IterationRun& run, std::vector<Vec>& work);

} // namespace numerics
