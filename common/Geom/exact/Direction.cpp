#include "Geom/exact/Plane.h"

#include <numbers>

namespace geom
{
namespace
{

// Pi / 2 in three parts; the first two have 33 bits, so that 2^20 multiples of them are exact.
constexpr double kHalfPi1 = 0x1.921fb544p+0;
constexpr double kHalfPi2 = 0x1.0b4611a6p-34;
constexpr double kHalfPi3 = 0x1.3198a2e037073p-69;
constexpr double kMostAngle = 1e6;

/// x + the further terms of the series of sine, for |x| <= pi / 4 and a small remainder y of x.
double Sine(double x, double y)
{
    const double z = x * x;
    double sum = 1 / 355687428096000.0; // 17!
    for (const double factorial :
         {-1307674368000.0, 6227020800.0, -39916800.0, 362880.0, -5040.0, 120.0, -6.0})
        sum = sum * z + 1 / factorial;
    return x + (y * (1 - 0.5 * z) + x * (z * sum));
}

double Cosine(double x, double y)
{
    const double z = x * x;
    double sum = 1 / 20922789888000.0; // 16!
    for (const double factorial : {-87178291200.0, 479001600.0, -3628800.0, 40320.0, -720.0, 24.0})
        sum = sum * z + 1 / factorial;
    const double half = 0.5 * z, head = 1 - half;
    return head + (((1 - head) - half) + (z * z * sum - x * y));
}

} // namespace

Point2D Direction(double angle)
{
    if (std::fabs(angle) > kMostAngle)
        angle = std::fmod(angle, 2 * std::numbers::pi); // exact, for that divisor
    if (!std::isfinite(angle))
        return {angle, angle};
    const double quarters = std::round(angle / kHalfPi1);
    const double rough = angle - quarters * kHalfPi1;
    const double middle = quarters * kHalfPi2;
    const double reduced = rough - middle;
    const double back = rough - reduced;
    const double lost = ((rough - (reduced + back)) + (back - middle)) - quarters * kHalfPi3;
    const double x = reduced + lost, y = (reduced - x) + lost;
    const double sine = Sine(x, y), cosine = Cosine(x, y);
    switch (static_cast<long long>(quarters) & 3)
    {
    case 0:
        return {cosine, sine};
    case 1:
        return {-sine, cosine};
    case 2:
        return {-cosine, -sine};
    default:
        return {sine, -cosine};
    }
}

} // namespace geom
