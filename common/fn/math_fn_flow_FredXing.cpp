#include "fn/math_fn_flow_FredXing.h"

#include "fn/curve/FredXingLoop.h"
#include "fn/curve/Log2Exp2.h"
#include "platform/platform_cpu.h"

#include <algorithm>
#include <numbers>

namespace math::fn::flow
{
namespace
{

constexpr double kFixedExtent = 1e6;
constexpr double kResidualShare = 0.003; // of the limit, deliberately not a parameter

curve::CurveLoop* ChosenLoop()
{
    constexpr curve::CurveLoop* kLoops[] = {curve::sse2::Loop, curve::avx2::Loop,
                                            curve::avx512::Loop};
    return kLoops[platform::SimdLevel()];
}

/// Inline, so that the operator reads its fields where it needs them.
inline double Content(const curve::CurveTerms& c, double pressure, double* slope)
{
    using curve::Exp2, curve::Log2;
    const double suction = -pressure;
    // Written so that the two logarithms cancel at the limit.
    const double correction = (c.wholeLog2 - Log2(1 + suction * c.overResidual)) * c.overWhole;
    const double exponent = c.n * Log2(suction * c.overA);
    if (exponent >= curve::kOverflow)
    {
        if (slope != nullptr)
            *slope = 0.0 * correction;
        return c.saturatedWC * 0.0 * correction;
    }
    // In powers of two: with w = log2(e + (s/a)^n), the shape term (1 / ln(e + (s/a)^n))^m is
    // 2^(-m (log2 w + log2 ln 2)). Above 1000 the logarithm of e + 2^x is x, to the last bit.
    const double grows = exponent > 1000 ? 0 : Exp2(exponent);
    const double w = exponent > 1000 ? exponent : Log2(std::numbers::e + grows);
    const double logs = Log2(w) + curve::kLog2OfLn2;
    // ln(e + ...) is at least 1: rounding must not raise the content above saturation.
    const double shape = c.saturatedWC * Exp2(-c.m * (logs < 0 ? 0 : logs));
    if (slope != nullptr)
    {
        const double steep = exponent > 1000 ? 1 : grows / (std::numbers::e + grows);
        *slope = shape * std::numbers::log2e *
                 (correction * (c.m * c.n) * (steep / suction) / w +
                  c.overResidual * c.overWhole / (1 + suction * c.overResidual));
    }
    return shape * correction;
}

} // namespace

FredXing::FredXing(const double& a, const double& n, const double& m, const double& saturatedWC,
                   const double& limit)
    : a_(a), n_(n), m_(m), saturatedWC_(saturatedWC), limit_(limit),
      overResidual_(1 / (kResidualShare * limit)),
      wholeLog2_(curve::Log2(1 + limit * overResidual_)), overWhole_(1 / wholeLog2_), overA_(1 / a)
{
}

double FredXing::operator()(const double& p) const
{
    if (HasMissing())
        return MissingValue<double>();
    if (p >= 0 || !(a_ > 0))
        return saturatedWC_;
    return Content({overA_, n_, m_, saturatedWC_, overResidual_, 0, wholeLog2_, overWhole_}, p,
                   nullptr);
}

void FredXing::Evaluate(const double* pressures, double* contents, std::size_t count) const
{
    Evaluate(pressures, contents, nullptr, count);
}

void FredXing::Evaluate(const double* pressures, double* contents, double* slopes,
                        std::size_t count) const
{
    if (HasMissing() || !(a_ > 0))
    {
        std::fill_n(contents, count, HasMissing() ? MissingValue<double>() : saturatedWC_);
        if (slopes != nullptr)
            std::fill_n(slopes, count, HasMissing() ? MissingValue<double>() : 0);
        return;
    }
    static curve::CurveLoop* const loop = ChosenLoop();
    const double grown = 1 + limit_ * overResidual_;
    loop({overA_, n_, m_, saturatedWC_, overResidual_, grown, wholeLog2_, overWhole_}, pressures,
         contents, slopes, count);
}

bool FredXing::IsValid() const
{
    return !IsMissingValue(a_) && !IsMissingValue(n_) && !IsMissingValue(m_) &&
           !IsMissingValue(limit_) && a_ > 0 && n_ > 0 && m_ > 0 && saturatedWC_ > 0;
}

std::pair<double, double> FredXing::PressureLimits() const { return {-limit_, 0.0}; }

Geom::Extents2D FredXing::Extents() const { return {-kFixedExtent, 0, 0, (*this)(-kFixedExtent)}; }

double FredXing::CalcLimit(const UnitSet& units) { return units.FromKilopascal(kFixedExtent); }

} // namespace math::fn::flow

double curve::ContentAt(const CurveTerms& curve, double pressure, double* slope)
{
    return math::fn::flow::Content(curve, pressure, slope);
}
