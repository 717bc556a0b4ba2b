/// @file
/// Water content of a soil over its suction.
#pragma once

#include "KVI.h"
#include "problem/Problem.h"

#include <cstddef>
#include <string>

namespace percova
{

/// A water-content curve with its derivative, for pressures in kPa.
class WaterCurve
{
public:
    /// Fits a, n and m first where @p water gives measured points.
    /// @returns false with the reason when that cannot be done
    bool Set(const WaterContent& water, double gammaW, std::string& reason);

    double Saturated() const { return saturated_; }
    /// How much more sharply it bends over the logarithm of the suction than the curve with n = 1.
    double Steepness() const;
    double Limit() const { return limit_; }

    /// Volumetric water content at a pore-water pressure; 0 at and beyond the limit suction.
    double Content(double pressure) const;
    /// Its derivative by the suction [1/kPa], at most 0; 0 for suctions not above 0 and at and
    /// beyond the limit.
    double Slope(double suction) const;
    /// contents[i] and slopes[i], its derivative by the pressure [1/kPa], at least 0, at @p count
    /// pressures: much faster than one by one. No array overlaps another.
    void Evaluate(const double* pressures, std::size_t count, double* contents,
                  double* slopes) const;

private:
    math::fn::flow::FredXing function_{1, 1, 1, 1, 1e6};
    double limit_ = 1e6; ///< suction of zero water content [kPa]
    double saturated_ = 1;
    double rate_ = 0;     ///< of the exponential rule [1/kPa]; 0 for the Fredlund-Xing curve
    double residual_ = 0; ///< of the exponential rule
};

} // namespace percova
