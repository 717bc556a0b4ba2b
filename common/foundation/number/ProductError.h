/// @file
/// The rounding error of a product of doubles.
#pragma once

namespace foundation
{

/// a * b - product, exactly, for a product that is a * b rounded, while nothing overflows or
/// underflows.
/// Source: Dekker (1971), Numer. Math. 18, 224-242.
inline double ProductError(double a, double b, double product)
{
    constexpr double kSplitter = 0x1p27 + 1;
    const auto upperHalf = [](double v) {
        const double scaled = kSplitter * v;
        return scaled - (scaled - v);
    };
    const double a1 = upperHalf(a), a2 = a - a1;
    const double b1 = upperHalf(b), b2 = b - b1;
    return a2 * b2 - (((product - a1 * b1) - a2 * b1) - a1 * b2);
}

} // namespace foundation
