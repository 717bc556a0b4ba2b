#include "analysis/model/Soil.h"

#include <algorithm>
#include <cmath>

namespace percova
{
namespace
{
constexpr double kDegree = 0.017453292519943295769; // [rad]
} // namespace

void Soil::Water(const double* psi, std::size_t count, double* content, double* capacity) const
{
    constexpr std::size_t kChunk = 64;
    double pressure[kChunk];
    for (std::size_t first = 0; first < count && hasCurve; first += kChunk)
    {
        const std::size_t last = std::min(first + kChunk, count);
        for (std::size_t i = first; i < last; ++i)
            pressure[i - first] = gammaW * psi[i];
        curve.Evaluate(pressure, last - first, content + first, capacity + first);
    }
    for (std::size_t i = 0; i < count; ++i)
        if (!hasCurve || psi[i] >= 0)
        {
            content[i] = (hasCurve ? curve.Saturated() : 0) + storage * psi[i];
            capacity[i] = storage;
        }
        else
            capacity[i] *= gammaW;
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
