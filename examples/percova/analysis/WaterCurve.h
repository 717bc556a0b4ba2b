/// @file
/// Water content of a soil over its suction.
#pragma once

#include "KVI.h"
#include "problem/Problem.h"

#include <string>

namespace percova
{

/// The Fredlund-Xing curve with its derivative, for pressures in kPa.
class WaterCurve
{
public:
    /// Fits a, n and m first where @p water gives measured points.
    /// @returns false with the reason when that cannot be done
    bool Set(const WaterContent& water, std::string& reason);

    const math::fn::flow::FredXing& Function() const { return function_; }
    double Saturated() const { return function_.SatWC(); }
    double Limit() const { return limit_; }

    /// Volumetric water content at a pore-water pressure; 0 at and beyond the limit suction.
    double Content(double pressure) const;
    /// Its derivative by the suction [1/kPa], at most 0; 0 for suctions not above 0 and at and
    /// beyond the limit.
    double Slope(double suction) const;

private:
    math::fn::flow::FredXing function_{1, 1, 1, 1, 1e6};
    double limit_ = 1e6; ///< suction of zero water content [kPa]
};

} // namespace percova
