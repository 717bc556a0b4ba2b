/// @file
/// @internal Base-2 logarithm and exponential over a register of doubles.
///
/// For loops over arrays: absolute error of Log2 and relative error of Exp2 a few 1e-16, the last
/// bits differing between processor levels. Include it only in sources compiled per level.
#pragma once

#include <cstdint>

#ifdef __AVX512F__
#include <immintrin.h>
#endif

namespace curve
{

/// A register of N doubles, the integers and the masks of its size, and their operations.
template <int N>
struct PackTypes
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
};

template <int N>
struct Pack : PackTypes<N>
{
    using typename PackTypes<N>::V;
    using typename PackTypes<N>::I;

    /// log2 x for normal x > 0; anything else gives an arbitrary number, which the caller discards.
    ///
    /// x = 2^k m with sqrt(1/2) <= m < sqrt 2, and ln m = 2 atanh(t), t = (m - 1)/(m + 1); the
    /// series in t^2 is a polynomial fitted at Chebyshev points, relative error 5e-16 of its own.
    static V Log2(V x)
    {
        constexpr std::uint64_t kSqrtHalf = 0x3fe6a09e667f3bcd, kOne = 0x3ff0000000000000;
        const I shifted = I(x) + (kOne - kSqrtHalf);
        // The biased exponent becomes a double in the low digits of 2^52.
        const V k = V((shifted >> 52) | 0x4330000000000000) - (0x1p52 + 1023);
        const V f = V((shifted & 0x000fffffffffffff) + kSqrtHalf) - 1.0;
        const V t = f / (f + 2.0);
        const V z = t * t, z2 = z * z;
        const V series =
            (0.666666666666667 + 0.39999999999899505 * z) +
            z2 *
                ((0.28571428625975487 + 0.2222221113479508 * z) +
                 z2 * ((0.18182889125261723 + 0.15331721600556042 * z) + z2 * 0.14616449685043406));
        return k + (f - t * (f - z * series)) * 1.4426950408889634;
    }

    /// 2^x for -1022 <= x <= 1022.
    ///
    /// x = k + r with |r| <= 1/2; (2^r - 1)/r by a polynomial of degree 10, error 4e-17.
    static V Exp2(V x)
    {
        const V shifted = x + 0x1.8p52; // rounds to the nearest integer
        const V r = x - (shifted - 0x1.8p52);
        const V r2 = r * r, r4 = r2 * r2;
        const V low = (0.6931471805599453 + 0.24022650695910097 * r) +
                      r2 * (0.0555041086648216 + 0.009618129107606854 * r);
        const V high = (0.0013333558146416916 + 0.00015403530441794136 * r) +
                       r2 * (1.525273382986708e-05 + 1.3215442552522291e-06 * r) +
                       r4 * ((1.0178062426976924e-07 + 7.072593027878997e-09 * r) +
                             r2 * 4.4549643712692967e-10);
        return (1.0 + r * (low + r4 * high)) * V((I(shifted) + 1023) << 52);
    }
};

#ifdef __AVX512F__

/// Tables of 16 numbers in registers replace the division and half of the polynomial.
template <>
struct Pack<8> : PackTypes<8>
{
    static V Log2(V x)
    {
        const __m512i index =
            _mm512_srli_epi64(__m512i(I(x)), 48); // the top 4 bits of the fraction
        const V reciprocal = Table(index, kReciprocal), log2 = Table(index, kLog2);
        const V z = _mm512_getmant_pd(x, _MM_MANT_NORM_1_2, _MM_MANT_SIGN_src);
        const V r = _mm512_fmsub_pd(z, reciprocal, _mm512_set1_pd(1));
        // log2(1 + r) / r for |r| <= 1/32, fitted at Chebyshev points: error 1.2e-15 of r.
        V series = Fma(r, -0.18061897210002292, 0.2064127207183868);
        series = Fma(r, series, -0.240449001246639);
        series = Fma(r, series, 0.2885388168108306);
        series = Fma(r, series, -0.3606737602558851);
        series = Fma(r, series, 0.4808983470003692);
        series = Fma(r, series, -0.7213475204444807);
        series = Fma(r, series, 1.4426950408889623);
        return _mm512_fmadd_pd(r, series, V(_mm512_getexp_pd(x)) + log2);
    }

    static V Exp2(V x)
    {
        const V shifted = x + 0x1.8p48; // the sum's last bit is worth 1/16
        const V r = x - (shifted - 0x1.8p48);
        const V power = Table(__m512i(I(shifted)), kPower);
        // (2^r - 1) / r for |r| <= 1/32, fitted at Chebyshev points: error 5e-16 of r.
        V series = Fma(r, 0.00015403723980749256, 0.0013333781576784268);
        series = Fma(r, series, 0.009618129106919537);
        series = Fma(r, series, 0.0555041086566393);
        series = Fma(r, series, 0.24022650695910075);
        series = Fma(r, series, 0.6931471805599457);
        const V value = _mm512_fmadd_pd(power, r * series, power);
        return _mm512_scalef_pd(value, x - r); // scales by 2^floor(x - r)
    }

private:
    static V Fma(V r, V a, double b) { return _mm512_fmadd_pd(r, a, _mm512_set1_pd(b)); }
    static V Fma(V r, double a, double b) { return Fma(r, Set(a), b); }
    static V Table(__m512i index, const double (&table)[16])
    {
        return _mm512_permutex2var_pd(_mm512_loadu_pd(table), index, _mm512_loadu_pd(table + 8));
    }

    // 1/c and log2 c for c = 1 + (i + 1/2)/16, and 2^(i/16).
    static constexpr double kReciprocal[16] = {
        0.9696969696969697, 0.9142857142857143, 0.8648648648648649, 0.8205128205128205,
        0.7804878048780488, 0.7441860465116279, 0.7111111111111111, 0.6808510638297872,
        0.6530612244897959, 0.6274509803921569, 0.6037735849056604, 0.5818181818181818,
        0.5614035087719298, 0.5423728813559322, 0.5245901639344263, 0.5079365079365079};
    static constexpr double kLog2[16] = {
        0.044394119358453395, 0.1292830169449665,  0.2094533656289497,  0.28540221886224837,
        0.3575520046180836,   0.42626475470209796, 0.49185309632967467, 0.5545888516776374,
        0.6147098441152083,   0.6724253419714956,  0.7279204545631992,  0.7813597135246597,
        0.8328900141647417,   0.8826430493618412,  0.9307373375628862,  0.9772799234999165};
    static constexpr double kPower[16] = {1.0,
                                          1.0442737824274138,
                                          1.0905077326652577,
                                          1.1387886347566916,
                                          1.189207115002721,
                                          1.241857812073484,
                                          1.2968395546510096,
                                          1.3542555469368927,
                                          1.4142135623730951,
                                          1.4768261459394993,
                                          1.5422108254079407,
                                          1.6104903319492543,
                                          1.681792830507429,
                                          1.7562521603732995,
                                          1.8340080864093424,
                                          1.9152065613971474};
};

#endif

} // namespace curve
