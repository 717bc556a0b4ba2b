#include "problem/ProblemReader.h"

#include <string_view>

namespace percova
{
namespace
{

struct Unit
{
    std::string_view name;
    double value;
};

constexpr Unit kLengths[] = {{"m", 1}, {"cm", 0.01}, {"mm", 0.001}, {"ft", 0.3048}};
// 1 lbf = 4.4482216152605 N, 1 ft = 0.3048 m, 1 in = 0.0254 m, all exact.
constexpr double kPoundForce = 4.4482216152605e-3; // [kN]
constexpr Unit kPressures[] = {
    {"kPa", 1},
    {"Pa", 0.001},
    {"MPa", 1000},
    {"bar", 100},
    {"psf", kPoundForce / (0.3048 * 0.3048)},
    {"psi", kPoundForce / (0.0254 * 0.0254)},
};

constexpr Unit kTimes[] = {{"s", 1}, {"min", 60}, {"h", 3600}, {"d", 86400}};

template <std::size_t count>
void ReadUnit(JsonReader& units, const char* key, const Unit (&known)[count], std::string& name,
              double& value)
{
    std::string given;
    if (!units.GetText(key, given))
        return;
    std::string names;
    for (const Unit& unit : known)
    {
        if (unit.name == given)
        {
            name = given;
            value = unit.value;
            return;
        }
        names += (names.empty() ? "" : ", ") + std::string(unit.name);
    }
    units.Error(key, "'" + given + "' is not known, only " + names);
}

/// A unit that follows from the others: it may be omitted, but not differ.
void Expect(JsonReader& units, const char* key, const std::string& expected)
{
    std::string given;
    if (units.GetText(key, given) && !given.starts_with(expected))
        units.Error(key, "should be " + expected + ", not '" + given + "'");
}

} // namespace

void ReadUnits(JsonReader& file, Units& units)
{
    if (const JsonNode* node = file.Find("units");
        node == nullptr || node->kind == JsonNode::Kind::Text)
        return; // a text is a comment
    file.GetObject("units", Need::Optional, [&](JsonReader& reader) {
        ReadUnit(reader, "length", kLengths, units.length, units.metres);
        ReadUnit(reader, "pressure", kPressures, units.pressure, units.kPa);
        ReadUnit(reader, "time", kTimes, units.time, units.seconds);
        Expect(reader, "head", units.length);
        Expect(reader, "conductivity", units.length + '/' + units.time);
        Expect(reader, "flow", units.length + "3/" + units.time);
        Expect(reader, "unit_weight", "kN/m3");
    });
}

} // namespace percova
