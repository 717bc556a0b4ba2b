/// @file
/// @internal Base-2 logarithm and exponential of one number: plain operations and tables, so the
/// same bits on every processor and with every C library.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

namespace curve
{

constexpr double kLog2OfLn2 = -0.5287663729448977; ///< log2(ln 2)

/// log2(1/c) for a number c that is short enough for x/c to be exact in two parts.
struct Log2Entry
{
    double reciprocal; ///< 1/c, ten bits
    double log2;       ///< log2 c
};
extern const Log2Entry kLog2Table[64];
extern const double kExp2Table[64]; ///< 2^(i/64)

/// log2 x within 1.1 ulp or 3.3e-16, whichever is larger; exact for powers of two. Minus infinity
/// for 0, NaN for x < 0 and NaN, infinity for infinity.
inline double Log2(double x)
{
    double exponent = -1023;
    if (!(x >= 0x1p-1022 && x < std::numeric_limits<double>::infinity()))
    {
        if (!(x > 0) || x > 1)
            return x == 0  ? -std::numeric_limits<double>::infinity()
                   : x > 1 ? x
                           : x - x + 0.0 / (x - x);
        x *= 0x1p54;
        exponent -= 54;
    }
    // x = 2^k z, 1 <= z < 2, and z times the reciprocal of a number near it is 1 + r.
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const Log2Entry& entry = kLog2Table[(bits >> 46) & 63];
    const std::uint64_t fraction = (bits & 0x000fffffffffffff) | 0x3ff0000000000000;
    const auto z = std::bit_cast<double>(fraction);
    const auto high = std::bit_cast<double>(fraction & 0xfffffffff8000000);
    const double r = (high * entry.reciprocal - 1) + (z - high) * entry.reciprocal;
    // log2(1 + r) / r for -0.0098 < r < 1/64, fitted at Chebyshev points: error 2e-17.
    const double r2 = r * r;
    const double series = ((1.4426950408889634 - 0.7213475204444822 * r) +
                           r2 * (0.48089834696294514 - 0.36067376018571756 * r)) +
                          r2 * r2 *
                              ((0.28853900868549587 - 0.24044984357146718 * r) +
                               r2 * (0.20611335118705248 - 0.1766909951181263 * r));
    const double k = double(std::int32_t(bits >> 52)) + exponent;
    return (k + entry.log2) + r * series;
}

/// 2^x within 1.1 ulp for -1022 <= x < 1024; 0 below, infinity from 1024 up, NaN for NaN.
inline double Exp2(double x)
{
    if (!(x >= -1022 && x < 1024))
        return x < 0 ? 0 : x > 0 ? std::numeric_limits<double>::infinity() : x;
    constexpr double kShift = 0x1.8p46; // the sum's last bit is worth 1/64
    const double shifted = x + kShift;
    const double r = x - (shifted - kShift);
    const auto bits = std::bit_cast<std::uint64_t>(shifted);
    const double power = kExp2Table[bits & 63];
    const auto scale = std::bit_cast<double>(((bits >> 6) + 1023) << 52);
    // (2^r - 1) / r for |r| <= 1/128, fitted at Chebyshev points: error 3e-16 of r.
    const double series =
        (0.6931471805599453 + 0.2402265069589214 * r) +
        r * r * ((0.055504108664803826 + 0.009618140859595685 * r) + r * r * 0.001333356978334557);
    return (power + power * (r * series)) * scale;
}

} // namespace curve
