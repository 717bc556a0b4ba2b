/// @file
/// @internal The water-content curve over one register, and its loop for each processor level.
#pragma once

#include "fn/math_elementary_impl.h"

#include <cstddef>

namespace math::fn::flow::impl
{

/// The curve's parameters as its inner loop wants them; none is missing and a > 0.
struct CurveTerms
{
    double a;
    double n;
    double m;
    double saturatedWC;
    double residual; ///< 0.003 L
    double logLimit; ///< ln(1 + L / residual), from the logarithm used below
};

/// Beyond this exponent e^x overflows, and the shape term, its reciprocal's power, is 0.
constexpr double kOverflow = 709.782712893384;

/// The contents at the pressures of one register; see FredXing::operator() for the formula.
template <int N>
inline typename math::impl::Pack<N>::V WaterContent(const CurveTerms& c,
                                                    typename math::impl::Pack<N>::V p)
{
    using P = math::impl::Pack<N>;
    using V = typename P::V;
    using Mask = typename P::Mask;
    const Mask saturated = Mask(p >= 0);
    const V suction = saturated ? P::Set(1) : -p;
    const V grown = 1.0 + suction / c.residual;
    const V correction = 1.0 - P::Log(grown) / c.logLimit;
    const V exponent = c.n * P::template Log<false>(suction / c.a);
    // Above 700 the logarithm of e + e^x is x, to the last bit.
    const V inner = P::Log(2.718281828459045 + P::Exp(exponent > 700 ? P::Set(700) : exponent));
    const V logarithm = exponent > 700 ? exponent : inner;
    V shape = P::Exp(-c.m * P::Log(logarithm));
    shape = exponent > kOverflow ? P::Set(0) : shape;
    V content = c.saturatedWC * shape * correction;
    // What the logarithms cannot take: NaN, an infinite suction, a negative limit.
    const Mask real = Mask(grown > 0) & Mask(grown < __builtin_inf()) & Mask(exponent == exponent);
    content = real ? content : P::Set(__builtin_nan(""));
    return saturated ? P::Set(c.saturatedWC) : content;
}

/// The content at one pressure below 0, with the bits of the loops: the two logarithms that do not
/// wait for each other share a register.
inline double WaterContentAt(const CurveTerms& c, double p)
{
    using P = math::impl::Pack<2>;
    const double suction = -p;
    const double grown = 1.0 + suction / c.residual;
    const P::V logarithms = P::Log<false>(P::V{suction / c.a, grown});
    const double exponent = c.n * logarithms[0];
    if (!(grown > 0) || !(grown < __builtin_inf()) || !(exponent == exponent))
        return __builtin_nan("");
    if (exponent > kOverflow)
        return c.saturatedWC * 0.0 * (1.0 - logarithms[1] / c.logLimit);
    const double logarithm =
        exponent > 700 ? exponent : P::Log(2.718281828459045 + P::Exp(P::Set(exponent)))[0];
    const double shape = P::Exp(-c.m * P::Log(P::Set(logarithm)))[0];
    return c.saturatedWC * shape * (1.0 - logarithms[1] / c.logLimit);
}

/// contents[i] at pressures[i]; the arrays may be the same one.
template <int N>
inline void WaterContents(const CurveTerms& c, const double* pressures, double* contents,
                          std::size_t count)
{
    using P = math::impl::Pack<N>;
    std::size_t i = 0;
    for (; i + N <= count; i += N)
        P::Store(contents + i, WaterContent<N>(c, P::Load(pressures + i)));
    if (i == count)
        return;
    double rest[N] = {};
    for (std::size_t k = i; k < count; ++k)
        rest[k - i] = pressures[k];
    P::Store(rest, WaterContent<N>(c, P::Load(rest)));
    for (std::size_t k = i; k < count; ++k)
        contents[k] = rest[k - i];
}

using CurveLoop = void(const CurveTerms&, const double*, double*, std::size_t);

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
