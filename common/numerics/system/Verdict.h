/// @file
/// @internal Whether x is a solution of A x = b: the one check behind every solver's outcome.
///
/// A direct solver ends like this, correct(r) being one substitution with its factor:
/// @code
/// if (const int bad = FirstNotFinite(A, b); bad >= 0)
///     return RefuseNotFinite(bad, record);          // before the matrix is factorised
/// ... factorise, x = A^-1 b ...
/// Judge(A, Refine(A, b, x, correct), record);       // completes the record
/// @endcode
#pragma once

#include "numerics/SolveRecord.h"
#include "numerics/system/BlockVector.h"
#include "numerics/system/MatrixView.h"

#include <algorithm>
#include <cstddef>

namespace numerics
{
using math::SolveOutcome;
using math::SolveRecord;

/// The errors of x as a solution of A x = b. Relative ones are 0 for 0/0; all are NaN when x is not
/// finite or a product overflows.
struct SolutionErrors
{
    /// max_i |b - A x|_i / (|A||x| + |b|)_i: the smallest relative change of the entries of A and
    /// b that makes x exact. Where |A||x| + |b| cancels to less than kCancelled ||A_i|| ||x||, so
    /// that x is only rounding there, ||A_i|| ||x|| is added to it, unless the error shows among
    /// the loads: more than 1e-8 of |b|_i or of the largest load. Sources: Oettli and Prager
    /// (1964), Numer. Math. 6, 405-409; Arioli, Demmel and Duff (1989), SIAM J. Matrix Anal. Appl.
    /// 10(2), 165-190.
    double rowWise = 0;
    int worst = -1;      ///< equation with that error, -1 when all are 0
    double normWise = 0; ///< ||b - A x|| / (||A|| ||x|| + ||b||), infinity norms
    double residual = 0; ///< ||b - A x|| / ||b|| in the 2-norm, ||b - A x|| when b is zero
    /// max |A x|_i / (|A||x|)_i over the equations in which the largest unknowns take part: the
    /// smallest relative change of A's entries that makes these equations singular along x.
    double resistance = 1;
    double unbalanced = 0; ///< max |b - A x| / max |b| over the same equations
    int farthest = -1;     ///< equation of the unknown with the largest magnitude
};

constexpr double kCancelled = 1e-12;
/// Row-wise error up to which a direct solver's x is a solution.
constexpr double kSolvedRowWise = 1e-10;
/// Row-wise error at which further refinement cannot change the outcome.
constexpr double kRefinedRowWise = 1e-13;

/// Measures x in one pass over A, about 1.3 products with it.
/// @param r          receives b - A x
/// @param cancelled  relative size that counts as cancelled; an iteration uses its own tolerance
SolutionErrors MeasureErrors(const MatrixView& A, const double* b, const double* x, double* r,
                             double cancelled = kCancelled);

/// First equation with NaN or infinity in its row or right side, -1 for none. Raises no
/// floating-point exception.
int FirstNotFinite(const MatrixView& A, const double* b);
bool IsFinite(const double* v, std::size_t n);

/// The record of a system that was refused because of @p equation; its errors are NaN.
SolveRecord RefuseNotFinite(int equation, SolveRecord record);

/// The record of a system that memory or 32-bit indices cannot hold; its errors are NaN.
SolveRecord RefuseTooLarge(const wchar_t* reason, SolveRecord record = {});

/// The record of a solve that was stopped on request; its errors are NaN.
SolveRecord RefuseStopped();

/// Is A singular along x up to rounding, so that rounding alone determines the magnitude of x?
/// Detects unsupported parts of a structure, whichever factor or iteration computed x.
bool IsSingularAlong(const SolutionErrors& errors);

/// Completes @p record with the errors of x and, when it is Solved so far, with the outcome that
/// they imply: Solved, Singular, Stagnated, or Breakdown when x is not finite. Other outcomes stay.
/// @param limit  largest row-wise error of a solution
void Judge(const MatrixView& A, const SolutionErrors& errors, SolveRecord& record,
           double limit = kSolvedRowWise);

/// Refines x while its row-wise error is above @p enough and a step halves it, at most @p steps
/// times; a step that does not reduce the error is undone.
/// @param correct  correct(r): r = A^-1 r with the current factor, in place
/// @returns the errors of the resulting x
template <class Correct>
SolutionErrors Refine(const MatrixView& A, const double* b, double* x, Correct correct,
                      int steps = 5, double enough = kRefinedRowWise)
{
    const auto n = std::size_t(A.n);
    Vec r(n), better;
    SolutionErrors errors = MeasureErrors(A, b, x, r.data());
    for (int step = 0; step < steps && errors.rowWise > enough; ++step)
    {
        correct(r.data());
        better.assign(x, x + n);
        for (std::size_t i = 0; i < n; ++i)
            better[i] += r[i];
        const SolutionErrors next = MeasureErrors(A, b, better.data(), r.data());
        if (!(next.rowWise < errors.rowWise))
            break;
        const bool isWorthwhile = next.rowWise < 0.5 * errors.rowWise;
        std::copy(better.begin(), better.end(), x);
        errors = next;
        if (!isWorthwhile)
            break;
    }
    return errors;
}

} // namespace numerics
