/// @file
/// What a solve of a system of equations did, for callers whose return value is always 0.
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
    Solved,       ///< x fulfils the equations as far as the method can
    ZeroPivot,    ///< a pivot was zero, or too small to divide by; see equation
    NotFinite,    ///< the matrix or the right-hand side holds NaN or infinity; see equation
    Breakdown,    ///< the iteration could not go on
    NotConverged, ///< the iterations allowed were used up
    TooLarge,     ///< for its 32-bit indices or for the memory; nothing was computed
    Failed        ///< the solver reported an error; see reason
};

/// The account of one solve. Residuals are of the unknowns as they now stand.
struct SolveRecord
{
    SolveMethod method = SolveMethod::None;      ///< how it was solved
    SolveOutcome outcome = SolveOutcome::Solved; ///< how it ended
    int equation = -1;    ///< zero-based equation that the outcome speaks of, -1 for none
    int iterations = 0;   ///< iterations made; 0 for a direct solver
    double tolerance = 0; ///< relative residual reached by an iterative solver's own measure
    double residual = 0;  ///< ||b - A x|| / ||b|| in the 2-norm (||b - A x|| when b is zero)
    std::wstring reason;  ///< a sentence for the log, empty when solved
    std::wstring solver;  ///< who solved, such as "pardiso (mkl 2020.4)"
};

} // namespace math
