// What the safety against piping needs: unit weights.
#include "problem/ProblemReader.h"

namespace percova
{

void ReadUnitWeight(JsonReader& reader, double gammaW, Material& material)
{
    double voidRatio = 0, gravity = 0;
    const bool hasRatio = reader.GetNumber("void_ratio", voidRatio);
    const bool hasGravity = reader.GetNumber("specific_gravity", gravity);
    if (hasRatio && !(voidRatio > 0))
        reader.Error("void_ratio", "should be greater than 0");
    if (hasGravity && !(gravity > 1))
        reader.Error("specific_gravity", "should be greater than 1");
    if (hasRatio != hasGravity)
        reader.Error(hasRatio ? "void_ratio" : "specific_gravity",
                     "gives a unit weight only with both void_ratio and specific_gravity");
    else if (hasRatio)
        material.gammaSat = gammaW * (gravity + voidRatio) / (1 + voidRatio);
    double given = 0;
    if (!reader.GetNumber("gamma_sat", given))
        return;
    if (hasRatio || hasGravity)
        reader.Error("gamma_sat", "should not be there beside void_ratio and specific_gravity");
    if (!(given > gammaW))
        reader.Error("gamma_sat", "should be greater than gamma_w, for lighter soil floats");
    material.gammaSat = given;
}

} // namespace percova
