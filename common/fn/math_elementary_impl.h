/// @file
/// @internal Logarithm and exponential over a register of doubles, in plain operations only: the
/// same bits on every processor, for every register width and with every C library.
///
/// Include it only in sources whose vector type V no other source of another processor level uses.
#pragma once

#include <cstdint>

namespace math::impl
{

/// A register of N doubles, the integers and the masks of its size, and how to make one.
template <int N>
struct Pack
{
    typedef double V __attribute__((vector_size(8 * N)));
    typedef std::uint64_t I __attribute__((vector_size(8 * N)));

    typedef std::int64_t Mask __attribute__((vector_size(8 * N)));

    static V Set(double value) { return V{} + value; }
    static V Load(const double* from)
    {
        V v;
        __builtin_memcpy(&v, from, sizeof v);
        return v;
    }
    static void Store(double* to, V v) { __builtin_memcpy(to, &v, sizeof v); }

    /// Natural logarithm, within 1 ulp, of finite x > 0; minus infinity for 0. With @p Normal the
    /// caller promises x >= 2.2e-308. Any other x gives some number, which the caller throws away.
    ///
    /// x = 2^k m with sqrt(1/2) <= m < sqrt 2, and ln m = 2 atanh(t), t = (m - 1)/(m + 1); the
    /// series in t^2 is a polynomial fitted at Chebyshev points, relative error 5e-16 of its own.
    template <bool Normal = true>
    static V Log(V x)
    {
        V power = Set(0);
        V normal = x;
        if constexpr (!Normal)
        {
            const Mask tiny = Mask(x < 0x1p-1022);
            normal = tiny ? x * 0x1p54 : x;
            power = tiny ? Set(-54) : power;
        }
        constexpr std::uint64_t kSqrtHalf = 0x3fe6a09e667f3bcd, kOne = 0x3ff0000000000000;
        const I shifted = I(normal) + (kOne - kSqrtHalf);
        // The biased exponent becomes a double by standing in the low digits of 2^52.
        const V k = V((shifted >> 52) | 0x4330000000000000) - (0x1p52 + 1023) + power;
        const V f = V((shifted & 0x000fffffffffffff) + kSqrtHalf) - 1.0;
        const V t = f / (f + 2.0);
        const V z = t * t, z2 = z * z;
        const V series =
            (0.666666666666667 + 0.39999999999899505 * z) +
            z2 *
                ((0.28571428625975487 + 0.2222221113479508 * z) +
                 z2 * ((0.18182889125261723 + 0.15331721600556042 * z) + z2 * 0.14616449685043406));
        const V log = kLn2High * k + (f - (t * (f - z * series) - kLn2Low * k));
        if constexpr (Normal)
            return log;
        else
            return x == 0 ? Set(-__builtin_inf()) : log;
    }

    /// e^x within 1 ulp for x up to 709; 0 below -708, NaN for NaN.
    ///
    /// x = k ln 2 + r with |r| <= (ln 2)/2; e^r by a polynomial of degree 11, error 1.3e-17.
    static V Exp(V x)
    {
        const Mask zero = Mask(x < -708.0);
        const V clipped = zero ? Set(-708.0) : x;
        const V shifted = clipped * 1.4426950408889634 + 0x1.8p52; // rounds to the nearest integer
        const V k = shifted - 0x1.8p52;
        const V rest = clipped - kLn2High * k, tail = kLn2Low * k;
        const V r = rest - tail;
        const V r2 = r * r, r4 = r2 * r2;
        const V low = (0.5000000000000001 + 0.16666666666666669 * r) +
                      r2 * (0.04166666666662413 + 0.008333333333330062 * r);
        const V high = (0.0013888888917213717 + 0.00019841269863053618 * r) +
                       r2 * (2.4801521295954376e-05 + 2.7557268459997064e-06 * r) +
                       r4 * (2.7620088445409746e-07 + 2.510038549551032e-08 * r);
        const V value = 1.0 + (rest + (r2 * (low + r4 * high) - tail));
        const V scale = V((I(shifted) + 1023) << 52);
        return zero ? Set(0) : value * scale;
    }

private:
    // ln 2 in two parts; k times the first is exact for every exponent k.
    static constexpr double kLn2High = 0.6931471803691238, kLn2Low = 1.9082149292705877e-10;
};

} // namespace math::impl
