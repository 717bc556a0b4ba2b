#include "foundation/math_algorithm_Tolerance.h"

#include <algorithm>
#include <cmath>

namespace math::algorithm
{
namespace
{

constexpr int kTableEnd = 37;

// Written as literals: a product of tens would round, the compiler's reader does not.
constexpr double kPow10[2 * kTableEnd + 1] = {
    1e-37, 1e-36, 1e-35, 1e-34, 1e-33, 1e-32, 1e-31, 1e-30, 1e-29, 1e-28, 1e-27, 1e-26, 1e-25,
    1e-24, 1e-23, 1e-22, 1e-21, 1e-20, 1e-19, 1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12,
    1e-11, 1e-10, 1e-9,  1e-8,  1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,
    1e2,   1e3,   1e4,   1e5,   1e6,   1e7,   1e8,   1e9,   1e10,  1e11,  1e12,  1e13,  1e14,
    1e15,  1e16,  1e17,  1e18,  1e19,  1e20,  1e21,  1e22,  1e23,  1e24,  1e25,  1e26,  1e27,
    1e28,  1e29,  1e30,  1e31,  1e32,  1e33,  1e34,  1e35,  1e36,  1e37,
};

// 5 x 10^-d for d significant digits.
constexpr double kFiveOver[17] = {5,    5e-1,  5e-2,  5e-3,  5e-4,  5e-5,  5e-6,  5e-7, 5e-8,
                                  5e-9, 5e-10, 5e-11, 5e-12, 5e-13, 5e-14, 5e-15, 5e-16};

} // namespace

double FloatCommon<double>::Pow10(int n)
{
    if (n >= -kTableEnd && n <= kTableEnd)
        return kPow10[n + kTableEnd];
    return n > -321 ? std::pow(10.0, n) : 0.0;
}

int FloatCommon<double>::Exp10(double value)
{
    const double magnitude = std::fabs(value);
    if (magnitude == 0 || !std::isfinite(magnitude))
        return 0;
    int exponent = int(std::floor(std::log10(magnitude)));
    // The logarithm of a number beside a power of ten may round across it.
    if (Pow10(exponent + 1) <= magnitude)
        ++exponent;
    else if (Pow10(exponent) > magnitude)
        --exponent;
    return exponent;
}

double Tolerance<double>::At(double value) const
{
    if (digits == kAbsolute)
        return floor;
    const double five = kFiveOver[std::clamp(digits, 0, 16)];
    return std::max(floor, FloatCommon<double>::Pow10(FloatCommon<double>::Exp10(value)) * five);
}

bool Tolerance<double>::Equal(double u, double v) const
{
    return std::fabs(u - v) <= std::max(At(u), At(v));
}

} // namespace math::algorithm
