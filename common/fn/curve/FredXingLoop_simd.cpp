// Fused multiply-add is on for this source: its results have an error bound, but not guaranteed
// bits.
#include "fn/curve/FredXingLoop.h"
#include "fn/curve/SimdLog2Exp2.h"

#include <limits>

#include <immintrin.h>

namespace curve::KVI_SIMD
{
namespace
{

#if defined(__AVX512F__)
constexpr int kWidth = 8;
#elif defined(__AVX2__)
constexpr int kWidth = 4;
#else
constexpr int kWidth = 2;
#endif

using P = curve::Pack<kWidth>;
using V = P::V;
using Mask = P::Mask;

constexpr double kLog2OfLn2 = -0.5287663729448977, kSmallest = 0x1p-1022;
constexpr double kLog2OfE = 1.4426950408889634;
constexpr double kLargest = std::numeric_limits<double>::max();

bool Any(Mask mask)
{
#if defined(__AVX512F__)
    return _mm512_test_epi64_mask(__m512i(mask), __m512i(mask)) != 0;
#elif defined(__AVX2__)
    return _mm256_movemask_pd(__m256d(mask)) != 0;
#else
    return _mm_movemask_pd(__m128d(mask)) != 0;
#endif
}

/// Inputs that the logarithms below cannot handle, element by element: NaN, an infinite suction,
/// s/a that is not a normal number, a negative limit.
[[gnu::noinline, gnu::cold]] V ContentsOneByOne(const CurveTerms& c, V p, V& slope)
{
    double each[kWidth], slopes[kWidth] = {};
    P::Store(each, p);
    for (int i = 0; i < kWidth; ++i)
        each[i] = each[i] >= 0 ? c.saturatedWC : ContentAt(c, each[i], &slopes[i]);
    slope = P::Load(slopes);
    return P::Load(each);
}

/// The contents at one register of pressures. In powers of two: with w = log2(e + (s/a)^n), the
/// shape term (1 / ln(e + (s/a)^n))^m is 2^(-m (log2 w + log2 ln 2)).
/// @param[out] slope  derivatives by the pressure, if @p kWithSlope
template <bool kWithSlope>
V Contents(const CurveTerms& c, V whole, V overWhole, V p, V& slope)
{
    const Mask saturated = Mask(p >= 0);
    const V suction = saturated ? P::Set(1) : -p;
    const V grown = 1.0 + suction * c.overResidual;
    const V scaled = suction * c.overA;
    const Mask usual = Mask(scaled >= kSmallest) & Mask(scaled <= kLargest) & Mask(grown >= 1) &
                       Mask(grown <= kLargest);
    if (Any(~(usual | saturated))) [[unlikely]]
        return ContentsOneByOne(c, p, slope);
    const V exponent = c.n * P::Log2(scaled);
    const V clipped = exponent > 1000 ? P::Set(1000) : exponent;
    const V grows = P::Exp2(clipped < -1022 ? P::Set(-1022) : clipped); // (s/a)^n
    const V sum = 2.718281828459045 + grows;
    // Above 1000 the logarithm of e + 2^x is x, to the last bit.
    const V w = exponent > 1000 ? exponent : P::Log2(sum);
    const V logs = P::Log2(w) + kLog2OfLn2;
    const V power = -c.m * (logs < 0 ? P::Set(0) : logs); // ln(e + ...) is at least 1
    const Mask vanishes = Mask(exponent >= kOverflow) | Mask(power < -1000);
    const V shape = vanishes ? P::Set(0) : P::Exp2(power);
    // Written so that the two logarithms cancel at the limit.
    const V correction = (whole - P::Log2(grown)) * overWhole;
    const V content = c.saturatedWC * shape * correction;
    if constexpr (kWithSlope)
    {
        const V steep = exponent < -1022 ? P::Set(0) : grows / sum;
        const V ofShape = correction * (c.m * c.n) * (steep / suction) / w;
        const V ofCorrection = c.overResidual * overWhole / grown;
        slope = saturated ? P::Set(0) : c.saturatedWC * shape * kLog2OfE * (ofShape + ofCorrection);
    }
    return saturated ? P::Set(c.saturatedWC) : content;
}

template <bool kWithSlope>
void Run(const CurveTerms& c, const double* pressures, double* contents, double* slopes,
         std::size_t count)
{
    const V whole = P::Log2(P::Set(c.grownAtLimit)), overWhole = 1.0 / whole;
    V slope = P::Set(0);
    std::size_t i = 0;
    for (; i + kWidth <= count; i += kWidth)
    {
        const V p = P::Load(pressures + i);
        P::Store(contents + i, Contents<kWithSlope>(c, whole, overWhole, p, slope));
        if constexpr (kWithSlope)
            P::Store(slopes + i, slope);
    }
    if (i == count)
        return;
    double rest[kWidth] = {}, restSlopes[kWidth];
    for (std::size_t k = i; k < count; ++k)
        rest[k - i] = pressures[k];
    P::Store(rest, Contents<kWithSlope>(c, whole, overWhole, P::Load(rest), slope));
    P::Store(restSlopes, slope);
    for (std::size_t k = i; k < count; ++k)
    {
        contents[k] = rest[k - i];
        if constexpr (kWithSlope)
            slopes[k] = restSlopes[k - i];
    }
}

} // namespace

void Loop(const CurveTerms& c, const double* pressures, double* contents, double* slopes,
          std::size_t count)
{
    (slopes != nullptr ? Run<true> : Run<false>)(c, pressures, contents, slopes, count);
}

} // namespace curve::KVI_SIMD
