/// @file
/// The result of solving a system of equations, for callers whose return value is always 0.
#pragma once

#include <string>

namespace math
{

/// The ways of solving.
enum class SolveMethod
{
    None,
    ProfileSymmetric,
    ProfileNonSymmetric,
    IterativeSymmetric,
    IterativeNonSymmetric,
    Pardiso
};

/// How a solve ended.
enum class SolveOutcome
{
    Solved,       ///< checked: x fulfils the equations, see rowWiseError or, iterating, tolerance
    ZeroPivot,    ///< a pivot was zero, or too small to divide by; see equation
    NotFinite,    ///< the matrix or the right-hand side holds NaN or infinity; see equation
    Breakdown,    ///< the method cannot continue with this matrix
    NotConverged, ///< the iterations allowed were used up
    TooLarge,     ///< for its 32-bit indices or for the memory; nothing was computed
    Failed,       ///< the solver reported an error; see reason
    Stagnated,    ///< the error stopped decreasing above the required level; x is the best found
    Singular,     ///< up to rounding, the matrix is singular or an equation without coefficients
                  ///< has a load; see equation and looseModes
    Interrupted   ///< stopped by RequestStop; x is NaN
};

/// The record of one solve. Errors are those of the current unknowns, in the system without the
/// fixed unknowns.
struct SolveRecord
{
    SolveMethod method = SolveMethod::None;      ///< how it was solved
    SolveOutcome outcome = SolveOutcome::Solved; ///< how it ended
    int equation = -1;    ///< zero-based equation that the outcome refers to, -1 for none
    int iterations = 0;   ///< iterations made; 0 for a direct solver
    double tolerance = 0; ///< relative residual reached by an iterative solver's own measure
    double residual = 0;  ///< ||b - A x|| / ||b|| in the 2-norm (||b - A x|| when b is zero)
    /// Row-wise backward error, max_i |b - A x|_i / (|A||x| + |b|)_i: x solves exactly a system
    /// whose every coefficient and load differs by at most this part (Oettli and Prager 1964).
    /// Unlike the residual it detects errors in equations with much smaller coefficients than the
    /// others. Where the unknowns of an equation are only rounding beside the largest one,
    /// (|A||x| + |b|)_i below 1e-12 (iterating, the tolerance) times ||A_i|| ||x||, that product is
    /// added to the divisor, unless the error exceeds 1e-8 of its load or of the largest load.
    double rowWiseError = 0;
    double normWiseError = 0; ///< ||b - A x|| / (||A|| ||x|| + ||b||) in the infinity norm
    int worstEquation = -1;   ///< zero-based equation of rowWiseError, -1 when that is 0
    int looseModes =
        0; ///< when Singular, number of independent unconstrained modes found, a lower bound
    /// A sentence for the log, empty when solved; of an operation that was refused its name comes
    /// first.
    std::wstring reason;
    std::wstring solver; ///< the solver used, such as "pardiso (mkl 2020.4)"
};

} // namespace math
