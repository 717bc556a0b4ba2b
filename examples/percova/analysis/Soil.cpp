#include "analysis/Soil.h"

namespace percova
{

bool MakeSoils(const Problem& problem, std::vector<Soil>& soils, std::string& reason)
{
    soils.clear();
    for (const Material& material : problem.materials)
    {
        Soil soil;
        soil.kx = material.kSat;
        soil.ky = material.kSat * material.anisotropy;
        soil.hasCurve = material.water.has_value();
        if ((soil.hasCurve && !soil.curve.Set(*material.water, reason)) ||
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
