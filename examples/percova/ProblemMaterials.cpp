#include "Legal.h"
#include "ProblemReader.h"

#include <utility>

namespace percova::impl
{
namespace
{

/// Reads a required number and checks it.
void Get(JsonReader& reader, const char* key, Quantity quantity, double& value,
         Need need = Need::Required)
{
    if (reader.GetNumber(key, value, need))
        CheckLegal(reader, key, quantity, value);
}

void ReadWaterContent(JsonReader& reader, const Units& units, WaterContent& water)
{
    water.place = reader.Here();
    Get(reader, "theta_s", Quantity::SaturatedWaterContent, water.thetaS);
    double limit = water.limit / units.kPa;
    Get(reader, "limit", Quantity::Suction, limit, Need::Optional);
    water.limit = limit * units.kPa;
    if (reader.GetLine("points", water.measured, 3))
    {
        for (const Point& point : water.measured)
            CheckLegal(reader, "points", Quantity::SaturatedWaterContent, point.y);
        for (Point& point : water.measured)
            point.x *= units.kPa;
        reader.Ignore({"a", "n", "m"}); // start of the fit, if anything
        return;
    }
    if (reader.Find("points") != nullptr)
        return; // told already
    Get(reader, "a", Quantity::CurveParameter, water.a);
    Get(reader, "n", Quantity::CurveParameter, water.n);
    Get(reader, "m", Quantity::CurveParameter, water.m);
    water.a *= units.kPa;
}

void ReadKr(JsonReader& reader, const Problem& problem, const Material& material,
            RelativeConductivity& kr)
{
    kr.place = reader.Here();
    std::string rule = "saturated";
    const bool hasType = reader.GetText("type", rule);
    if (!hasType || rule != "saturated")
        reader.GetText("rule", rule, hasType ? Need::Optional : Need::Required);
    if (rule == "exponential")
    {
        kr.rule = KrRule::Exponential;
        Get(reader, "alpha", Quantity::Positive, kr.alpha);
        Get(reader, "floor", Quantity::Fraction, kr.floor, Need::Optional);
        kr.alpha /= problem.units.metres;
    }
    else if (rule == "power")
    {
        kr.rule = KrRule::Power;
        Get(reader, "power", Quantity::Exponent, kr.power);
    }
    else if (rule == "integral")
    {
        kr.rule = KrRule::Integral;
        Get(reader, "s0", Quantity::Suction, kr.s0);
        kr.s0 *= problem.units.kPa;
    }
    else if (rule != "saturated")
        reader.Error("rule",
                     "should be saturated, exponential, power or integral, not '" + rule + "'");
    if ((kr.rule == KrRule::Power || kr.rule == KrRule::Integral) && !material.water)
        reader.Error("rule", "the " + rule + " rule needs the material's water_content");
    if (kr.rule == KrRule::Integral && material.water && !(kr.s0 < material.water->limit))
        reader.Error("s0", "should be less than the limit of the water content");
}

void ReadMaterial(JsonReader& reader, Problem& problem)
{
    Material material;
    material.place = reader.Here();
    material.name = ReadName(reader, problem.materials);
    Get(reader, "k_sat", Quantity::SaturatedConductivity, material.kSat);
    material.kSat *= problem.units.metres;
    Get(reader, "anisotropy", Quantity::Ratio, material.anisotropy, Need::Optional);
    reader.GetObject("water_content", Need::Optional, [&](JsonReader& water) {
        ReadWaterContent(water, problem.units, material.water.emplace());
    });
    std::string type;
    if (reader.GetText("type", type) && type != "saturated" && type != "saturated/unsaturated")
        reader.Error("type", "should be saturated or saturated/unsaturated, not '" + type + "'");
    if (const JsonNode* kr = reader.Find("kr"); kr != nullptr && kr->kind != JsonNode::Kind::Null)
        reader.GetObject("kr", Need::Optional,
                         [&](JsonReader& rule) { ReadKr(rule, problem, material, material.kr); });
    if (type == "saturated" && material.kr.rule != KrRule::Saturated)
    {
        reader.Warn("kr", "is left aside, for the material is of type saturated");
        material.kr.rule = KrRule::Saturated;
    }
    problem.materials.push_back(std::move(material));
}

} // namespace

void ReadMaterials(JsonReader& file, Problem& problem)
{
    file.ForEach("materials", Need::Required,
                 [&](JsonReader& reader) { ReadMaterial(reader, problem); });
}

} // namespace percova::impl
