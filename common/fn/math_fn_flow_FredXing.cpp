#include "fn/math_fn_flow_FredXing.h"

#include "fn/fn_FredXing_impl.h"
#include "platform/platform_cpu.h"

#include <algorithm>

namespace math::fn::flow
{
namespace
{

constexpr double kFixedExtent = 1e6;
constexpr double kResidualShare = 0.003; // of the limit, on purpose no parameter of its own

impl::CurveLoop* ChosenLoop()
{
    constexpr impl::CurveLoop* kLoops[] = {impl::sse2::Loop, impl::avx2::Loop, impl::avx512::Loop};
    return kLoops[platform::SimdLevel()];
}

/// ln(1 + L/r) by the very operations that the curve has at s = L, so that they cancel there.
double LogOfLimit(double limit)
{
    using Pair = math::impl::Pack<2>;
    return Pair::Log(1.0 + Pair::Set(limit) / (kResidualShare * limit))[0];
}

} // namespace

FredXing::FredXing(const double& a, const double& n, const double& m, const double& saturatedWC,
                   const double& limit)
    : a_(a), n_(n), m_(m), saturatedWC_(saturatedWC), limit_(limit), logLimit_(LogOfLimit(limit))
{
}

bool FredXing::HasMissing() const
{
    return IsMissingValue(a_) || IsMissingValue(n_) || IsMissingValue(m_) ||
           IsMissingValue(limit_) || IsMissingValue(saturatedWC_);
}

double FredXing::operator()(const double& p) const
{
    if (HasMissing())
        return MissingValue<double>();
    if (p >= 0 || !(a_ > 0))
        return saturatedWC_;
    return impl::WaterContentAt({a_, n_, m_, saturatedWC_, kResidualShare * limit_, logLimit_}, p);
}

void FredXing::Evaluate(const double* pressures, double* contents, std::size_t count) const
{
    if (HasMissing() || !(a_ > 0))
    {
        std::fill_n(contents, count, HasMissing() ? MissingValue<double>() : saturatedWC_);
        return;
    }
    static impl::CurveLoop* const loop = ChosenLoop();
    loop({a_, n_, m_, saturatedWC_, kResidualShare * limit_, logLimit_}, pressures, contents,
         count);
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
