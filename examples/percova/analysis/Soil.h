/// @file
/// A material as the element loops need it.
#pragma once

#include "analysis/Conductivity.h"
#include "analysis/WaterCurve.h"
#include "problem/Problem.h"

#include <string>
#include <vector>

namespace percova
{

struct Soil
{
    double kx = 0, ky = 0; ///< saturated conductivities [m/s]
    Conductivity kr;
    WaterCurve curve;
    bool hasCurve = false;
};

/// Soils of the problem's materials, in their order; curves given by points are fitted.
/// @returns false with the reason when a material gives no usable curve
bool MakeSoils(const Problem& problem, std::vector<Soil>& soils, std::string& reason);

} // namespace percova
