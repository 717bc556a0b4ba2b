#include "analysis/model/Soil.h"

#include <cmath>

namespace percova
{
namespace
{
constexpr double kDegree = 0.017453292519943295769; // [rad]
} // namespace

WaterInSoil Soil::Water(double psi) const
{
    if (!hasCurve)
        return {storage * psi, storage};
    if (psi >= 0)
        return {curve.Saturated() + storage * psi, storage};
    return {curve.Content(gammaW * psi), -gammaW * curve.Slope(-gammaW * psi)};
}

bool MakeSoils(const Problem& problem, std::vector<Soil>& soils, std::string& reason)
{
    soils.clear();
    for (const Material& material : problem.materials)
    {
        Soil soil;
        const double turn = material.angle * kDegree, c = std::cos(turn), s = std::sin(turn);
        const double along = material.kSat, across = material.kSat * material.anisotropy;
        soil.kx = c * c * along + s * s * across;
        soil.ky = s * s * along + c * c * across;
        soil.kxy = c * s * (along - across);
        soil.hasCurve = material.water.has_value();
        soil.storage = material.mV * problem.gammaW;
        soil.gammaW = problem.gammaW;
        if ((soil.hasCurve && !soil.curve.Set(*material.water, problem.gammaW, reason)) ||
            !soil.kr.Set(material.kr, soil.curve, problem.gammaW, reason))
        {
            reason = "material \"" + material.name + "\": " + reason;
            return false;
        }
        soils.push_back(soil);
    }
    return true;
}

} // namespace percova
