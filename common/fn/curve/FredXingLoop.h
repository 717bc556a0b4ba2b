/// @file
/// @internal The water-content curve's loop over arrays, for each processor level.
#pragma once

#include <cstddef>

namespace curve
{

/// The curve's parameters prepared for evaluation; none is missing and a > 0.
struct CurveTerms
{
    double overA; ///< 1/a
    double n;
    double m;
    double saturatedWC;
    double overResidual; ///< 1/(0.003 L)
    double grownAtLimit; ///< 1 + L/(0.003 L)
    double wholeLog2;    ///< log2 of grownAtLimit
    double overWhole;    ///< 1/wholeLog2
};

/// The content at one pressure that is not >= 0, with the same bits on every target.
/// @param slope  gets its derivative by the pressure where it is not null
double ContentAt(const CurveTerms& curve, double pressure, double* slope);

/// From this exponent on 2^x overflows, and the shape term, its reciprocal's power, is 0.
constexpr double kOverflow = 1024;

/// contents[i] at pressures[i], and slopes[i], its derivative by the pressure, where slopes is not
/// null. The contents may overwrite the pressures.
using CurveLoop = void(const CurveTerms&, const double* pressures, double* contents, double* slopes,
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

} // namespace curve
