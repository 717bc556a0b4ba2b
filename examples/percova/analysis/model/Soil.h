/// @file
/// A material prepared for the element loops.
#pragma once

#include "analysis/model/Conductivity.h"
#include "analysis/model/WaterCurve.h"
#include "problem/Problem.h"

#include <cstddef>
#include <string>
#include <vector>

namespace percova
{

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
    /// Water in a unit volume, content[i], and its derivative by the pressure head, capacity[i]
    /// [1/m], at the pressure heads psi[i]: theta(psi) below zero, theta_s + storage psi above;
    /// storage psi for either sign where there is no curve. No array overlaps another.
    void Water(const double* psi, std::size_t count, double* content, double* capacity) const;
};

/// Soils of the problem's materials, in their order; curves given by points are fitted.
/// @returns false with the reason when a material gives no usable curve
bool MakeSoils(const Problem& problem, std::vector<Soil>& soils, std::string& reason);

} // namespace percova
