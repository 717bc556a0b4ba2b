#include "fn/math_fn_flow_FredXing.h"

#include <cmath>

namespace math::fn::flow
{
namespace
{

constexpr double kFixedExtent = 1e6;

double LogOnePlus(double suction, double residual) { return std::log(1 + suction / residual); }

} // namespace

FredXing::FredXing(const double& a, const double& n, const double& m, const double& saturatedWC,
                   const double& limit)
    : a_(a), n_(n), m_(m), saturatedWC_(saturatedWC), limit_(limit),
      logLimit_(LogOnePlus(limit, 0.003 * limit))
{
}

double FredXing::operator()(const double& p) const
{
    if (IsMissingValue(a_) || IsMissingValue(n_) || IsMissingValue(m_) || IsMissingValue(limit_) ||
        IsMissingValue(saturatedWC_))
        return MissingValue<double>();
    if (p >= 0 || !(a_ > 0))
        return saturatedWC_;
    const double suction = -p;
    const double correction = 1 - LogOnePlus(suction, 0.003 * limit_) / logLimit_;
    const double shape = std::pow(1 / std::log(std::exp(1.0) + std::pow(suction / a_, n_)), m_);
    return saturatedWC_ * shape * correction;
}

void FredXing::Evaluate(const double* pressures, double* contents, std::size_t count) const
{
    for (std::size_t i = 0; i < count; ++i)
        contents[i] = (*this)(pressures[i]);
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
