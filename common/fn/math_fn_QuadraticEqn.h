/// @file
/// Real roots of a quadratic equation, with guarded divisions.
#pragma once

#include "foundation/kvi_export.h"
#include "foundation/math_algorithm_Tolerance.h"

namespace math::fn
{

/// A x^2 + B x + C = 0. Any coefficient may be zero, huge or missing.
class KVI_API QuadraticEqn
{
public:
    /// The equation a x^2 + b x + c = 0.
    QuadraticEqn(double a, double b, double c) : a_(a), b_(b), c_(c) {}

    /// Writes the real roots below a limit and returns how many there are: 0, 1 or 2.
    ///
    /// With D = B^2 - 4 A C > 0 the roots are q/A and C/q, q = -(B + sign(B) sqrt D)/2, the form
    /// that does not cancel; q/A comes first. If the first root is not below the limit, the
    /// second is returned alone; a negligible A leaves the linear equation's root. Otherwise
    /// -B/(2A) counts once if it fulfils the equation within @p tol. A quotient whose magnitude
    /// would reach its bound, the limit or the largest finite double, does not exist. Two roots
    /// equal within @p tol are one. Entries of @p roots beyond the number returned hold the missing
    /// value.
    /// @param limit magnitude from which roots are discarded
    int Solve(double (&roots)[2], const double& limit,
              const algorithm::Tolerance<double>& tol) const;

private:
    double a_;
    double b_;
    double c_;
};

} // namespace math::fn
