#include "problem/NumberText.h"
#include "problem/ProblemReader.h"
#include "problem/TextFile.h"

#include <algorithm>
#include <utility>

namespace percova
{
namespace
{

/// The values of @p condition at time @p t. Entries of fewer values hold for the whole line.
std::vector<double> ValuesAt(const Condition& condition, double t, Side side)
{
    const std::vector<TimedValues>& series = condition.series;
    if (series.empty())
        return condition.values;
    // the first entry that is still to come
    const auto next =
        std::partition_point(series.begin(), series.end(), [&](const TimedValues& entry) {
            return side == Side::Before ? entry.time < t : entry.time <= t;
        });
    if (next == series.begin())
        return next->values;
    const TimedValues& before = *(next - 1);
    if (next == series.end())
        return before.values;
    const double share = (t - before.time) / (next->time - before.time);
    std::vector<double> values(std::max(before.values.size(), next->values.size()));
    const auto of = [](const TimedValues& entry, std::size_t i) {
        return entry.values[entry.values.size() == 1 ? 0 : i];
    };
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = of(before, i) + share * (of(*next, i) - of(before, i));
    return values;
}

} // namespace

Step StepAt(const Problem& problem, double t, Side side)
{
    std::size_t k = 0;
    while (k + 1 < problem.steps.size() &&
           (problem.steps[k + 1].start < t ||
            (side == Side::After && problem.steps[k + 1].start == t)))
        ++k;
    const Step& holds = problem.steps[k];
    Step step{holds.name, {}, holds.start, holds.place};
    const auto add = [&](const std::vector<Condition>& from, std::vector<Condition>& to) {
        for (const Condition& condition : from)
            to.push_back({condition.type,
                          ValuesAt(condition, t, side),
                          {},
                          condition.ponding,
                          condition.leastPressureHead,
                          condition.place});
    };
    add(holds.conditions, step.conditions);
    add(holds.sources, step.sources);
    return step;
}

namespace
{

/// Reads a time in the unit of the file. @returns whether there is a legal one
bool ReadTime(JsonReader& reader, const char* key, double seconds, bool mayBeZero, double& value,
              Need need = Need::Optional)
{
    double given = 0;
    if (!reader.GetNumber(key, given, need))
        return false;
    value = given * seconds;
    if (given > 0 || (mayBeZero && given == 0))
        return true;
    reader.Error(key, mayBeZero ? "should not be before 0" : "should be greater than 0");
    return false;
}

void ReadOutputs(JsonReader& reader, double seconds, double end, std::vector<double>& outputs)
{
    if (!reader.GetNumbers("output", outputs) || outputs.empty())
        outputs = {end / seconds};
    if (outputs.size() > kMostObjects)
    {
        outputs.clear();
        return reader.Error("output", "has more than the " + std::to_string(kMostObjects) +
                                          " times that are allowed");
    }
    double before = 0;
    for (double& time : outputs)
    {
        if (!(time > before))
            return reader.Error("output", time <= 0
                                              ? "should be after 0"
                                              : "should be in rising order, but " + Short(time) +
                                                    " follows " + Short(before));
        before = time;
        time *= seconds;
        if (end > 0 && time > end * (1 + 1e-12))
            return reader.Error("output", Short(before) + " lies beyond the end");
    }
}

/// One number, or a list of [coordinate, value] with rising coordinates.
bool ReadTable(JsonReader& reader, const char* key, double metres, std::vector<Point>& table)
{
    const JsonNode* node = reader.Find(key);
    if (node != nullptr && node->kind == JsonNode::Kind::Number)
        table = {{0, node->number * metres}};
    else if (!reader.GetLine(key, table, 1, Need::Required))
        return false;
    else
        for (Point& entry : table)
            entry = {entry.x * metres, entry.y * metres};
    for (std::size_t i = 1; i < table.size(); ++i)
        if (!(table[i].x > table[i - 1].x))
        {
            reader.Error(key, "should be in the order of rising coordinates");
            return false;
        }
    return true;
}

void ReadSteadyChanges(JsonReader& reader, const Problem& problem, Initial& initial)
{
    if (reader.Find("boundaries") == nullptr)
        return;
    initial.conditions = StepAt(problem, 0, Side::After).conditions;
    ReadChanges(reader, problem, initial.conditions);
    for (Condition& condition : initial.conditions)
        if (!condition.series.empty())
        {
            condition.values = condition.series.front().values;
            condition.series.clear();
        }
}

} // namespace

void ReadInitial(JsonReader& file, Problem& problem)
{
    Initial& initial = problem.initial;
    file.GetObject("initial", Need::Required, [&](JsonReader& reader) {
        initial.place = reader.Here();
        constexpr const char* kTypes[] = {"steady", "hydrostatic", "head", "pressure_head",
                                          "result"};
        std::string type;
        if (!reader.GetText("type", type, Need::Required))
            return reader.IgnoreRest();
        const auto found = std::find(std::begin(kTypes), std::end(kTypes), type);
        if (found == std::end(kTypes))
        {
            reader.Error("type", "should be steady, hydrostatic, head, pressure_head or result, "
                                 "not '" +
                                     type + "'");
            return reader.IgnoreRest();
        }
        initial.type = static_cast<InitialType>(found - std::begin(kTypes));
        std::string name;
        switch (initial.type)
        {
        case InitialType::Steady:
            return ReadSteadyChanges(reader, problem, initial);
        case InitialType::Result:
            if (reader.GetText("file", name, Need::Required))
                initial.file = Beside(problem.path, name);
            (void)ReadTime(reader, "time", problem.units.seconds, true, initial.time);
            return;
        default:
            (void)ReadTable(reader,
                            initial.type == InitialType::Hydrostatic ? "water_table" : "value",
                            problem.units.metres, initial.table);
        }
    });
}

void ReadTimeBlock(JsonReader& file, Problem& problem)
{
    const double seconds = problem.units.seconds;
    TimeSettings& time = problem.time.emplace();
    file.GetObject("time", Need::Required, [&](JsonReader& reader) {
        time.place = reader.Here();
        double end = 0;
        if (ReadTime(reader, "end", seconds, false, end, Need::Required))
            ReadOutputs(reader, seconds, end, time.outputs);
        if (time.outputs.empty() || time.outputs.back() < end * (1 - 1e-12))
            time.outputs.push_back(end);
        time.outputs.back() = std::min(time.outputs.back(), end);
        time.largestStep = end;
        time.smallestStep = 1e-9 * end;
        std::string storage;
        if (reader.GetText("storage", storage) && storage != "lumped" && storage != "consistent")
            reader.Error("storage", "should be lumped or consistent, not '" + storage + "'");
        else if (!storage.empty())
            time.storage = storage == "lumped" ? StorageKind::Lumped : StorageKind::Consistent;
        (void)ReadTime(reader, "first_step", seconds, false, time.firstStep);
        (void)ReadTime(reader, "largest_step", seconds, false, time.largestStep);
        (void)ReadTime(reader, "smallest_step", seconds, false, time.smallestStep);
        double tolerance = time.tolerance / problem.units.metres;
        if (reader.GetNumber("tolerance", tolerance) && !(tolerance > 0))
            reader.Error("tolerance", "should be greater than 0");
        time.tolerance = tolerance * problem.units.metres;
        int steps = static_cast<int>(time.maxSteps);
        (void)reader.GetCount("max_steps", steps);
        time.maxSteps = static_cast<std::size_t>(steps);
    });
    ReadInitial(file, problem);
    const bool stores =
        std::any_of(problem.materials.begin(), problem.materials.end(),
                    [](const Material& soil) { return soil.mV > 0 || soil.water.has_value(); });
    if (!stores && !problem.materials.empty())
        file.Error("time", "nothing can store water: no material has an m_v or a water_content");
}

} // namespace percova
