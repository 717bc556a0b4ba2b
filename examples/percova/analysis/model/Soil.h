/// @file
/// A material prepared for the element loops.
#pragma once

#include "analysis/model/Conductivity.h"
#include "analysis/model/WaterCurve.h"
#include "problem/Problem.h"

#include <string>
#include <vector>

namespace percova
{

/// Water in a unit volume of soil, and its derivative by the pressure head [1/m].
struct WaterInSoil
{
    double content = 0, capacity = 0;
};

struct Soil
{
    double kx = 0, ky = 0, kxy = 0; ///< the tensor of saturated conductivity [m/s]
    Conductivity kr;
    WaterCurve curve;
    bool hasCurve = false;
    double storage = 0; ///< specific storage, m_v gamma_w [1/m]
    double gammaW = 9.81;

    /// The saturated conductivity times a vector.
    Point Conducted(double x, double y) const { return {kx * x + kxy * y, kxy * x + ky * y}; }
    /// theta(psi) below zero pressure head, theta_s + storage psi above; storage psi for either
    /// sign where there is no curve.
    WaterInSoil Water(double psi) const;
};

/// Soils of the problem's materials, in their order; curves given by points are fitted.
/// @returns false with the reason when a material gives no usable curve
bool MakeSoils(const Problem& problem, std::vector<Soil>& soils, std::string& reason);

} // namespace percova
