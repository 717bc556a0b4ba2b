/// @file
/// @internal The water-content curve's loop over arrays, for each processor level.
#pragma once

#include <cstddef>

namespace math::fn::flow::impl
{

/// The curve's parameters as its inner loop wants them; none is missing and a > 0.
struct CurveTerms
{
    double overA; ///< 1/a
    double n;
    double m;
    double saturatedWC;
    double overResidual; ///< 1/(0.003 L)
    double grownAtLimit; ///< 1 + L/(0.003 L)
};

/// From this exponent on 2^x overflows, and the shape term, its reciprocal's power, is 0.
constexpr double kOverflow = 1024;

/// contents[i] at pressures[i]; the arrays may be the same one.
using CurveLoop = void(const CurveTerms&, const double* pressures, double* contents,
                       std::size_t count);

namespace sse2
{
CurveLoop Loop;
}
namespace avx2
{
CurveLoop Loop;
}
namespace avx512
{
CurveLoop Loop;
}

} // namespace math::fn::flow::impl
