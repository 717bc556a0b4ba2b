#include "problem/Legal.h"
#include "problem/ProblemReader.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace percova
{
namespace
{

/// Measured points instead of parameters.
void CheckPoints(const JsonReader& reader, const std::vector<Point>& points)
{
    for (const Point& point : points)
        if (!CheckLegal(reader, "points", dataparam::WaterContent, point.y))
            return; // one is enough
    if (std::none_of(points.begin(), points.end(), [](const Point& p) { return p.x < 0; }))
        reader.Error("points",
                     "should have pressures below zero: a suction is a negative pressure");
}

void ReadExponential(JsonReader& reader, const Units& units, WaterContent& water)
{
    water.rule = WaterRule::Exponential;
    GetNonZero(reader, "alpha", dataparam::ConductivityAlpha, water.alpha);
    water.alpha /= units.metres;
    const bool hasMost =
        GetLegal(reader, "theta_s", dataparam::SaturatedWaterContent, water.thetaS);
    const bool hasLeast = GetLegal(reader, "theta_r", dataparam::WaterContent, water.thetaR);
    if (hasMost && hasLeast && !(water.thetaR < water.thetaS))
        reader.Error("theta_r", "should be less than theta_s");
}

void ReadWaterContent(JsonReader& reader, const Units& units, WaterContent& water)
{
    water.place = reader.Here();
    std::string rule;
    if (reader.GetText("rule", rule) && rule == "exponential")
        return ReadExponential(reader, units, water);
    if (!rule.empty() && rule != "fredlund_xing")
    {
        reader.IgnoreRest();
        return reader.Error("rule", "should be exponential or fredlund_xing, not '" + rule + "'");
    }
    GetNonZero(reader, "theta_s", dataparam::SaturatedWaterContent, water.thetaS);
    double limit = water.limit / units.kPa;
    GetNonZero(reader, "limit", dataparam::CurveLimit, limit, Need::Optional);
    water.limit = limit * units.kPa;
    if (reader.Find("points") != nullptr)
    {
        if (reader.GetLine("points", water.measured, 3))
            CheckPoints(reader, water.measured);
        for (Point& point : water.measured)
            point.x *= units.kPa;
        return reader.Ignore({"a", "n", "m"}); // the fit finds them
    }
    GetLegal(reader, "a", dataparam::CurveA, water.a);
    GetLegal(reader, "n", dataparam::CurveN, water.n);
    GetLegal(reader, "m", dataparam::CurveM, water.m);
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
        GetLegal(reader, "alpha", dataparam::ConductivityAlpha, kr.alpha);
        GetLegal(reader, "floor", dataparam::RelativeConductivity, kr.floor, Need::Optional);
        kr.alpha /= problem.units.metres;
    }
    else if (rule == "power")
    {
        kr.rule = KrRule::Power;
        GetLegal(reader, "power", dataparam::ConductivityPower, kr.power);
    }
    else if (rule == "integral")
    {
        kr.rule = KrRule::Integral;
        GetNonZero(reader, "s0", dataparam::ConductivityStart, kr.s0);
        kr.s0 *= problem.units.kPa;
    }
    else if (rule != "saturated")
    {
        reader.Ignore({"alpha", "floor", "power", "s0"}); // which of them belong to it is unknown
        reader.Error("rule",
                     "should be saturated, exponential, power or integral, not '" + rule + "'");
    }
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
    GetLegal(reader, "k_sat", dataparam::SaturatedConductivity, material.kSat);
    material.kSat *= problem.units.metres / problem.units.seconds;
    GetLegal(reader, "anisotropy", dataparam::ConductivityRatio, material.anisotropy,
             Need::Optional);
    if (reader.GetNumber("angle", material.angle) && !(std::abs(material.angle) <= 360))
        reader.Error("angle", "should be from -360 to 360 degrees");
    if (reader.GetNumber("m_v", material.mV) && !(material.mV >= 0))
        reader.Error("m_v", "should be at least 0");
    material.mV /= problem.units.kPa;
    ReadUnitWeight(reader, problem.gammaW, material);
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

} // namespace percova
