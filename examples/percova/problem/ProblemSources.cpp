// Sources and sinks of a problem: wells and drains.
#include "problem/ProblemReader.h"

#include <utility>

namespace percova
{
namespace
{

/// Reads the rate of a source, an area per time: so much for every metre out of the plane.
void ReadRate(JsonReader& reader, const Units& units, Condition& rate)
{
    rate = {};
    rate.type = BoundaryType::Flux;
    rate.place = reader.Here();
    ReadValues(reader, "rate", 0, units, units.metres * units.metres / units.seconds, rate);
}

/// Reads where a source is: "at" a point, along a "line", or along the curve of its name.
void ReadPosition(JsonReader& reader, double metres, Polyline& line)
{
    Point at;
    const bool hasLine = reader.GetLine("line", line, 2);
    if (reader.GetPoint("at", at))
    {
        if (hasLine)
            reader.Error("at", "should not be there beside a line");
        line = {at};
    }
    for (Point& point : line)
        point = {point.x * metres, point.y * metres};
}

} // namespace

void ReadSources(JsonReader& file, Problem& problem)
{
    Step& first = problem.steps.front();
    file.ForEach("sources", Need::Optional, [&](JsonReader& reader) {
        Source source;
        source.place = reader.Here();
        source.name = ReadName(reader, problem.sources);
        ReadPosition(reader, problem.units.metres, source.line);
        Condition rate;
        ReadRate(reader, problem.units, rate);
        problem.sources.push_back(std::move(source));
        first.sources.push_back(std::move(rate));
    });
}

void ReadSourceChanges(JsonReader& reader, const Problem& problem, std::vector<Condition>& rates)
{
    reader.GetObject("sources", Need::Optional, [&](JsonReader& changes) {
        changes.ForEachMember([&](const std::string& name, JsonReader& change) {
            const int found = IndexOf(problem.sources, name);
            if (found >= 0)
                return ReadRate(change, problem.units, rates[static_cast<std::size_t>(found)]);
            change.IgnoreRest();
            change.ErrorHere("there is no source '" + name + "', only " + NamesOf(problem.sources));
        });
    });
}

} // namespace percova
