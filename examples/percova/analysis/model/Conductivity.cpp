#include "analysis/model/Conductivity.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace percova
{
namespace
{
// Gauss points on (0, 1)
constexpr std::array<double, 4> kAt{0.06943184420297371, 0.33000947820757187, 0.66999052179242813,
                                    0.93056815579702629};
constexpr std::array<double, 4> kWeight{0.17392742256872693, 0.32607257743127307,
                                        0.32607257743127307, 0.17392742256872693};
} // namespace

bool Conductivity::Set(const RelativeConductivity& rule, const WaterCurve& curve, double gammaW,
                       std::string& reason)
{
    rule_ = rule.rule;
    alpha_ = rule.alpha;
    power_ = rule.power;
    floor_ = std::max(kLeastKr, rule.floor);
    gammaW_ = gammaW;
    s0_ = rule.s0;
    curve_ = curve;
    if (!MakeCurve(reason))
        return false;
    knee_ = HeadAt(std::exp(-1.0));
    width_ = (HeadAt(0.9) - HeadAt(std::exp(-3.0))) / (3 + std::log(0.9));
    return true;
}

bool Conductivity::MakeCurve(std::string& reason)
{
    if (rule_ != KrRule::Integral)
        return true;
    Tabulate();
    if (logKr_.size() > 1)
        return true;
    reason = "the integral of its relative conductivity is zero at s0";
    return false;
}

// I(s) = integral over y from ln s to ln L of (theta(e^y) - theta(s)) e^-y theta'(e^y) dy, summed
// from the dry end. With B(s) = integral of e^-y theta'(e^y) dy over the same range, a step from
// s2 down to s1 adds the same integral over [s1, s2], with theta(s1), and (theta(s2) - theta(s1))
// B(s2): positive numbers only, so nothing cancels. dI/d ln s = -s theta'(s) B(s).
void Conductivity::Tabulate()
{
    const double from = std::log(s0_), to = std::log(curve_.Limit());
    // The curve bends within 1/n of ln s; a step of 1/500 of that keeps twelve digits.
    const double wanted = 0.002 / std::max(1.0, curve_.Steepness() / 4);
    const int steps = int(std::clamp((to - from) / wanted, 16.0, 200000.0));
    step_ = (to - from) / steps;
    std::vector<double> integral(steps), derivative(steps);
    double b = 0, above = 0, thetaAbove = curve_.Content(-curve_.Limit());
    for (int k = steps - 1; k >= 0; --k)
    {
        const double s = std::exp(from + k * step_), theta = curve_.Content(-s);
        double panel = 0, panelB = 0;
        for (std::size_t g = 0; g < kAt.size(); ++g)
        {
            const double x = std::exp(from + (k + kAt[g]) * step_);
            const double density = kWeight[g] * step_ * curve_.Slope(x) / x;
            panelB += density;
            panel += density * (curve_.Content(-x) - theta);
        }
        above += panel + (thetaAbove - theta) * b;
        b += panelB;
        thetaAbove = theta;
        integral[k] = above;
        derivative[k] = -s * curve_.Slope(s) * b;
    }
    logKr_.clear();
    logSlope_.clear();
    for (int k = 0; k < steps && integral[k] > 1e-3 * kLeastKr * integral[0]; ++k)
    {
        logKr_.push_back(std::log(integral[k] / integral[0]));
        logSlope_.push_back(derivative[k] / integral[k]);
    }
}

// Cubic through values and derivatives of ln kr, which keep it falling at these steps.
void Conductivity::Interpolate(double suction, double& kr, double& byLogSuction) const
{
    const double at = std::log(suction / s0_) / step_;
    if (!(at < double(logKr_.size() - 1)))
    {
        kr = byLogSuction = 0;
        return;
    }
    const std::size_t k = std::size_t(at);
    const double t = at - double(k), rise = logKr_[k + 1] - logKr_[k];
    const double m0 = logSlope_[k] * step_, m1 = logSlope_[k + 1] * step_;
    const double c2 = 3 * rise - 2 * m0 - m1, c3 = m0 + m1 - 2 * rise;
    kr = std::exp(logKr_[k] + t * (m0 + t * (c2 + t * c3)));
    byLogSuction = kr * (m0 + t * (2 * c2 + t * 3 * c3)) / step_;
}

/// saturation^power, by products where the power is a small whole number.
double Conductivity::ToPower(double saturation) const
{
    constexpr double kMost = 8;
    if (!(power_ >= 0 && power_ <= kMost) || power_ != std::floor(power_))
        return std::pow(saturation, power_);
    double value = 1;
    for (int k = 0; k < int(power_); ++k)
        value *= saturation;
    return value;
}

/// (theta / theta_s)^power with its derivative, without the least conductivity.
void Conductivity::EvaluatePower(const double* psi, int count, double* kr, double* slope) const
{
    constexpr int kChunk = 64;
    double pressure[kChunk], content[kChunk], rise[kChunk];
    for (int first = 0; first < count; first += kChunk)
    {
        const int last = std::min(first + kChunk, count);
        for (int i = first; i < last; ++i)
            pressure[i - first] = gammaW_ * psi[i];
        curve_.Evaluate(pressure, std::size_t(last - first), content, rise);
        for (int i = first; i < last; ++i)
        {
            const double theta = content[i - first];
            kr[i] = ToPower(theta / curve_.Saturated());
            slope[i] = theta > 0 ? gammaW_ * power_ * kr[i] / theta * rise[i - first] : 0;
        }
    }
}

void Conductivity::Evaluate(const double* psi, int count, double* kr, double* slope) const
{
    if (rule_ == KrRule::Power)
        EvaluatePower(psi, count, kr, slope);
    for (int i = 0; i < count; ++i)
    {
        double value = rule_ == KrRule::Power ? kr[i] : 0;
        double derivative = rule_ == KrRule::Power ? slope[i] : 0; // by psi
        kr[i] = 1;
        slope[i] = 0;
        const double suction = -gammaW_ * psi[i];
        if (!(psi[i] < 0) || IsSaturated() || (rule_ == KrRule::Integral && suction <= s0_))
            continue;
        if (rule_ == KrRule::Exponential)
        {
            value = std::exp(alpha_ * psi[i]);
            derivative = alpha_ * value;
        }
        else if (rule_ == KrRule::Integral)
        {
            Interpolate(suction, value, derivative);
            derivative /= psi[i];
        }
        const bool dry = !(value > floor_);
        kr[i] = dry ? floor_ : value;
        slope[i] = dry ? 0 : derivative;
    }
}

double Conductivity::HeadAt(double share) const
{
    double wet = 0, dry = -1e-6;
    while (dry > -1e6 && At(dry) > share)
        dry *= 2;
    for (int k = 0; k < 50; ++k)
    {
        const double middle = (wet + dry) / 2;
        (At(middle) > share ? wet : dry) = middle;
    }
    return wet;
}

double Conductivity::At(double psi) const
{
    double kr = 1, slope = 0;
    Evaluate(&psi, 1, &kr, &slope);
    return kr;
}

} // namespace percova
