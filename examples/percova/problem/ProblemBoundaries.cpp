#include "problem/NumberText.h"
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
    {"seepage", false}, // its level is optional
    {"hydrostatic", true},
}};

const TypeRow& Row(BoundaryType type) { return kTypes[static_cast<std::size_t>(type)]; }

/// Checks the number of values, and turns them into metres and seconds.
void Take(const JsonReader& reader, const char* key, std::size_t points, double unit,
          std::vector<double>& values)
{
    const std::size_t count = values.size();
    if (count != 1 && count != points)
        reader.Error(key, "has " + std::to_string(count) + " numbers for " +
                              std::to_string(points) + " points of the line");
    for (double& value : values)
        value *= unit;
}

/// Reads a list of [t, v], v a number or a list of numbers.
/// @returns false when @p node is no such list
bool ReadSeries(const JsonReader& reader, const char* key, const JsonNode* node, std::size_t points,
                const Units& units, double unit, std::vector<TimedValues>& series)
{
    const auto isEntry = [](const JsonNode& item) {
        return item.kind == JsonNode::Kind::List && item.items.size() == 2 &&
               item.items[0].kind == JsonNode::Kind::Number;
    };
    if (node == nullptr || node->kind != JsonNode::Kind::List || node->items.empty() ||
        !std::all_of(node->items.begin(), node->items.end(), isEntry))
        return false;
    for (const JsonNode& item : node->items)
    {
        TimedValues entry{item.items[0].number * units.seconds, {}};
        const JsonNode& value = item.items[1];
        const bool isList = value.kind == JsonNode::Kind::List;
        for (std::size_t i = 0; i < (isList ? value.items.size() : 1); ++i)
        {
            const JsonNode& number = isList ? value.items[i] : value;
            if (number.kind != JsonNode::Kind::Number)
                return false;
            entry.values.push_back(number.number);
        }
        Take(reader, key, points, unit, entry.values);
        const std::size_t n = series.size();
        if (n > 0 && entry.time < series.back().time)
            reader.Error(key, "its times fall from " + Short(series.back().time / units.seconds) +
                                  " to " + Short(entry.time / units.seconds));
        if (n > 1 && entry.time == series[n - 2].time)
            reader.Error(key, "has more than two entries at one time, " +
                                  Short(entry.time / units.seconds));
        series.push_back(std::move(entry));
    }
    return true;
}

/// Reads "type" and what belongs to it of a boundary or of what a step changes of it.
void ReadCondition(JsonReader& reader, const Boundary& boundary, const Units& units,
                   Condition& condition)
{
    condition.place = reader.Here();
    std::string type;
    if (!reader.GetText("type", type, Need::Required))
        return reader.Ignore({"value", "ponding", "least_pressure_head"});
    const auto found = std::find_if(kTypes.begin(), kTypes.end(),
                                    [&](const TypeRow& row) { return type == row.name; });
    if (found == kTypes.end())
    {
        reader.Ignore({"value", "ponding", "least_pressure_head"});
        return reader.Error("type", "should be head, pressure_head, flux, noflow, seepage or "
                                    "hydrostatic, not '" +
                                        type + "'");
    }
    condition.type = static_cast<BoundaryType>(found - kTypes.begin());
    const bool isFlux = condition.type == BoundaryType::Flux;
    if (isFlux)
        for (const auto& [key, limit] :
             {std::pair("ponding", &condition.ponding),
              std::pair("least_pressure_head", &condition.leastPressureHead)})
            if (reader.GetNumber(key, *limit))
                *limit *= units.metres;
    if (isFlux && !IsMissingValue(condition.ponding) &&
        !IsMissingValue(condition.leastPressureHead) &&
        !(condition.leastPressureHead < condition.ponding))
        reader.Error("least_pressure_head", "should be below the ponding head");
    const JsonNode* value = reader.Find("value");
    if (value == nullptr && condition.type == BoundaryType::Seepage)
        return;
    if (!found->hasValue && condition.type != BoundaryType::Seepage)
    {
        if (value != nullptr)
            reader.Warn("value", std::string("is left aside: ") + found->name + " has none");
        return;
    }
    // lengths all of them, or lengths a second
    const double unit = isFlux ? units.metres / units.seconds : units.metres;
    ReadValues(reader, "value", boundary.line.size(), units, unit, condition);
}

} // namespace

void ReadValues(JsonReader& reader, const char* key, std::size_t points, const Units& units,
                double unit, Condition& condition)
{
    if (ReadSeries(reader, key, reader.Find(key), points, units, unit, condition.series))
        condition.values = condition.series.front().values;
    else if (reader.GetNumbers(key, condition.values, Need::Required))
        Take(reader, key, points, unit, condition.values);
}

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
        ReadCondition(reader, boundary, problem.units, condition);
        reader.Ignore({"outline", "centre", "arc_radius", "curve"});
        problem.boundaries.push_back(std::move(boundary));
        first.conditions.push_back(std::move(condition));
    });
    problem.steps = {std::move(first)};
}

void ReadChanges(JsonReader& reader, const Problem& problem, std::vector<Condition>& conditions)
{
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
            ReadCondition(change, problem.boundaries[index], problem.units, condition);
            conditions[index] = std::move(condition);
        });
    });
}

namespace
{
/// How many numbers conditions hold, each condition being one more.
std::size_t NumbersOf(const std::vector<Condition>& conditions)
{
    std::size_t numbers = conditions.size();
    for (const Condition& condition : conditions)
    {
        numbers += condition.values.size() + condition.series.size();
        for (const TimedValues& entry : condition.series)
            numbers += entry.values.size();
    }
    return numbers;
}
} // namespace

void ReadSteps(JsonReader& file, Problem& problem)
{
    const bool isInTime = file.Find("time") != nullptr;
    constexpr std::size_t kMostNumbers = 1'000'000; // that all steps hold
    std::size_t numbers = 0;
    std::vector<Step> steps;
    std::vector<Condition> conditions = problem.steps[0].conditions;
    std::vector<Condition> rates = problem.steps[0].sources;
    file.ForEach("steps", Need::Optional, [&](JsonReader& reader) {
        Step step;
        step.place = reader.Here();
        step.name = ReadName(reader, steps);
        ReadChanges(reader, problem, conditions);
        ReadSourceChanges(reader, problem, rates);
        double start = 0;
        if (reader.GetNumber("start", start))
        {
            step.start = start * problem.units.seconds;
            if (!(start >= 0) || (!steps.empty() && !(step.start > steps.back().start)))
                reader.Error("start", "should be after the start of the step before, and not "
                                      "before 0");
        }
        else if (isInTime && !steps.empty())
            reader.Error("start", "is missing: it should be the time from when on the step holds");
        const std::size_t before = numbers;
        if (before <= kMostNumbers)
            numbers += NumbersOf(conditions) + NumbersOf(rates);
        if (before <= kMostNumbers && numbers > kMostNumbers)
            reader.ErrorHere("is one step too many: the boundary values of all steps so far are "
                             "more than " +
                             std::to_string(kMostNumbers) + " numbers");
        if (numbers > kMostNumbers)
            return;
        step.conditions = conditions;
        step.sources = rates;
        steps.push_back(std::move(step));
    });
    if (steps.empty())
        return;
    if (!isInTime || steps.front().start == 0)
        problem.steps.clear(); // otherwise the boundaries' own conditions apply before
    for (Step& step : steps)
        problem.steps.push_back(std::move(step));
}

} // namespace percova
