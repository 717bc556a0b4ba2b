#include "problem/Plane.h"
#include "problem/ProblemReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace percova
{
namespace
{

struct TypeRow
{
    const char* name;
    bool hasValue;
};

/// By BoundaryType.
constexpr std::array<TypeRow, 6> kTypes{{
    {"head", true},
    {"pressure_head", true},
    {"flux", true},
    {"noflow", false},
    {"seepage", false},
    {"hydrostatic", true},
}};

const TypeRow& Row(BoundaryType type) { return kTypes[static_cast<std::size_t>(type)]; }

/// Reads "type" and "value" of a boundary or of what a step changes of it.
void ReadCondition(JsonReader& reader, const Boundary& boundary, double metres,
                   Condition& condition)
{
    condition.place = reader.Here();
    std::string type;
    if (!reader.GetText("type", type, Need::Required))
        return reader.Ignore({"value"});
    const auto found = std::find_if(kTypes.begin(), kTypes.end(),
                                    [&](const TypeRow& row) { return type == row.name; });
    if (found == kTypes.end())
    {
        reader.Ignore({"value"});
        return reader.Error("type", "should be head, pressure_head, flux, noflow, seepage or "
                                    "hydrostatic, not '" +
                                        type + "'");
    }
    condition.type = static_cast<BoundaryType>(found - kTypes.begin());
    if (!found->hasValue)
    {
        if (reader.Find("value") != nullptr)
            reader.Warn("value", std::string("is left aside: ") + found->name + " has none");
        return;
    }
    if (!reader.GetNumbers("value", condition.values, Need::Required))
        return;
    const std::size_t count = condition.values.size();
    if (count != 1 && count != boundary.line.size())
        reader.Error("value", "has " + std::to_string(count) + " numbers for " +
                                  std::to_string(boundary.line.size()) + " points of the line");
    for (double& value : condition.values)
        value *= metres; // lengths all of them, or lengths a second
}

} // namespace

const char* Name(BoundaryType type) { return Row(type).name; }

double ValueAt(const Boundary& boundary, const Condition& condition, Point at)
{
    if (condition.values.empty())
        return 0;
    if (condition.values.size() == 1 || condition.values.size() != boundary.line.size())
        return condition.values.front();
    const PlaceOnLine place = NearestOn(boundary.line, at);
    const double first = condition.values[place.segment];
    const double second = condition.values[place.segment + 1];
    return first + (second - first) * place.fraction;
}

namespace impl
{

void ReadBoundaries(JsonReader& file, Problem& problem)
{
    Step first;
    first.name = "1";
    file.ForEach("boundaries", Need::Required, [&](JsonReader& reader) {
        Boundary boundary;
        boundary.place = reader.Here();
        boundary.name = ReadName(reader, problem.boundaries);
        reader.GetLine("line", boundary.line, 2);
        boundary.linePlace = reader.PlaceOf("line");
        for (Point& point : boundary.line)
            point = {point.x * problem.units.metres, point.y * problem.units.metres};
        Condition condition;
        ReadCondition(reader, boundary, problem.units.metres, condition);
        reader.Ignore({"outline", "centre", "arc_radius", "curve"});
        problem.boundaries.push_back(std::move(boundary));
        first.conditions.push_back(std::move(condition));
    });
    problem.steps = {std::move(first)};
}

void ReadSteps(JsonReader& file, Problem& problem)
{
    std::vector<Step> steps;
    std::vector<Condition> conditions = problem.steps[0].conditions;
    file.ForEach("steps", Need::Optional, [&](JsonReader& reader) {
        Step step;
        step.place = reader.Here();
        step.name = ReadName(reader, steps);
        reader.GetObject("boundaries", Need::Optional, [&](JsonReader& changes) {
            changes.ForEachMember([&](const std::string& name, JsonReader& change) {
                const int found = IndexOf(problem.boundaries, name);
                if (found < 0)
                {
                    change.IgnoreRest();
                    return change.ErrorHere("there is no boundary '" + name + "', only " +
                                            NamesOf(problem.boundaries));
                }
                const auto index = static_cast<std::size_t>(found);
                Condition condition;
                ReadCondition(change, problem.boundaries[index], problem.units.metres, condition);
                conditions[index] = std::move(condition);
            });
        });
        step.conditions = conditions;
        steps.push_back(std::move(step));
    });
    if (!steps.empty())
        problem.steps = std::move(steps);
}

} // namespace impl
} // namespace percova
