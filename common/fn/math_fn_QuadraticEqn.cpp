#include "fn/math_fn_QuadraticEqn.h"

#include "foundation/MissingValue.h"

#include <cmath>

namespace math::fn
{
namespace
{

constexpr double kMissing = MissingValue<double>();

/// n / d, or the missing value where either is missing or the quotient would reach the bound.
double Divide(double n, double d, double bound)
{
    if (IsMissingValue(n) || IsMissingValue(d) || !(std::fabs(d) > std::fabs(n / bound)))
        return kMissing;
    return n / d;
}

int Keep(double root, double (&roots)[2])
{
    roots[0] = root;
    return IsMissingValue(root) ? 0 : 1;
}

} // namespace

int QuadraticEqn::Solve(double (&roots)[2], const double& limit,
                        const algorithm::Tolerance<double>& tol) const
{
    const double bound = limit; // the limit may alias one of the roots
    roots[0] = roots[1] = kMissing;
    const double discriminant = b_ * b_ - a_ * 4 * c_;
    if (discriminant > 0 && std::isfinite(discriminant) && !IsMissingValue(discriminant))
    {
        const double q = -0.5 * (b_ + std::copysign(std::sqrt(discriminant), b_));
        const double first = Divide(q, a_, std::numeric_limits<double>::max());
        if (IsMissingValue(first))
            return Keep(Divide(-c_, b_, bound), roots);
        const double second = Divide(c_, q, bound);
        if (!(std::fabs(first) < bound))
            return Keep(second, roots);
        roots[0] = first;
        if (IsMissingValue(second) || tol.Equal(second, first))
            return 1;
        roots[1] = second;
        return 2;
    }
    const double x = Divide(-0.5 * b_, a_, bound);
    if (!IsMissingValue(x) && tol.Equal(x * x * a_ + b_ * x + c_, 0))
        return Keep(x, roots);
    return 0;
}

} // namespace math::fn
