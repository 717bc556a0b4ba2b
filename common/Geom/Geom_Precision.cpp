#include "Geom/Geom_Precision.h"

#include "foundation/math_algorithm_Tolerance.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Geom
{
namespace
{

constinit Precision3D g_precision;

int DigitsOf(double epsilon)
{
    constexpr double kMost = std::numeric_limits<int>::max();
    const double exponent = std::trunc(std::log10(epsilon) + 0.5);
    return std::isnan(exponent) ? 0 : -int(std::clamp(exponent, -kMost, kMost));
}

} // namespace

void Precision3D::Set(const int newDigits[3])
{
    constexpr int kLeast = std::numeric_limits<int>::min();
    for (int axis = 0; axis < 3; ++axis)
    {
        digits[axis] = newDigits[axis];
        // The least int has no negation; its neighbour's power of ten is infinite as well.
        const int exponent = -std::max(digits[axis], kLeast + 1);
        epsilon[axis] = math::algorithm::FloatCommon<double>::Pow10(exponent);
        halfEpsilon[axis] = epsilon[axis] * 0.5;
    }
}

void Precision3D::ScaleEpsilon(double factor)
{
    for (int axis = 0; axis < 3; ++axis)
    {
        epsilon[axis] *= factor;
        digits[axis] = DigitsOf(epsilon[axis]);
        halfEpsilon[axis] = epsilon[axis] * 0.5;
    }
}

bool Precision3D::operator==(const Precision3D& other) const
{
    return std::equal(digits, digits + 3, other.digits);
}

const Precision3D& Precision() { return g_precision; }

void SetCompPrecision(const Precision3D& precision) { g_precision = precision; }

} // namespace Geom
