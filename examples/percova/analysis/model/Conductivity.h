/// @file
/// Relative conductivity of an unsaturated soil over its pressure head.
#pragma once

#include "analysis/model/WaterCurve.h"
#include "problem/Problem.h"

#include <string>
#include <vector>

namespace percova
{

/// The least relative conductivity used. The flow through drier soil is invisible in a water
/// balance, but without a minimum dry ground has no equations.
constexpr double kLeastKr = 1e-12;

/// kr(psi) and its derivative, by the rule of the material. Immutable once set; any thread may ask.
class Conductivity
{
public:
    /// @returns false with the reason when the rule's parameters give no curve
    bool Set(const RelativeConductivity& rule, const WaterCurve& curve, double gammaW,
             std::string& reason);

    bool IsSaturated() const { return rule_ == KrRule::Saturated; }
    /// kr[i] and slope[i] = d kr / d psi [1/m] at the pressure heads psi[i] [m]. Fastest for many
    /// at a time; no array overlaps another.
    void Evaluate(const double* psi, int count, double* kr, double* slope) const;
    double At(double psi) const;
    /// The pressure head at which kr falls to @p share, by bisection [m].
    double HeadAt(double share) const;
    /// The pressure head at which kr is 1/e, and the distance over which it then falls by a factor
    /// of e [m].
    double Knee() const { return knee_; }
    double Width() const { return width_; }
    /// The smallest relative conductivity there can be: 1 for a saturated material.
    double Least() const { return IsSaturated() ? 1 : floor_; }

private:
    bool MakeCurve(std::string& reason);
    void Tabulate();
    void EvaluatePower(const double* psi, int count, double* kr, double* slope) const;
    double ToPower(double saturation) const;
    void Interpolate(double suction, double& kr, double& byLogSuction) const;

    KrRule rule_ = KrRule::Saturated;
    double alpha_ = 0, power_ = 0, floor_ = kLeastKr, gammaW_ = 9.81, s0_ = 1;
    double knee_ = 0, width_ = 1;
    WaterCurve curve_;
    // ln kr and its derivative at equal steps of ln s, from s0 down to the least conductivity
    double step_ = 0;
    std::vector<double> logKr_, logSlope_;
};

} // namespace percova
