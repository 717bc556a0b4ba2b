/// @file
/// The parts of a problem file, each read by its own function.
#pragma once

#include "problem/JsonReader.h"
#include "problem/Problem.h"
#include "problem/Shown.h"

#include <string>
#include <vector>

namespace percova
{

/// Index of the item called @p name, -1 for none.
template <class Thing>
int IndexOf(const std::vector<Thing>& things, const std::string& name)
{
    for (std::size_t i = 0; i < things.size(); ++i)
        if (things[i].name == name)
            return static_cast<int>(i);
    return -1;
}

/// "'one', 'two'": the names of @p things, shortened where there are many.
template <class Thing>
std::string NamesOf(const std::vector<Thing>& things)
{
    std::string names;
    for (std::size_t i = 0; i < things.size(); ++i)
    {
        if (i == 12)
            return names + ", ...";
        names += (i == 0 ? "'" : ", '") + Shortened(things[i].name) + '\'';
    }
    return names.empty() ? "none" : names;
}

/// Reads the key "name" and reports when one of @p things has it already.
template <class Thing>
std::string ReadName(JsonReader& reader, const std::vector<Thing>& things)
{
    constexpr std::size_t kLongest = 200;
    std::string name;
    const bool isThere = reader.GetText("name", name, Need::Required);
    if (name.size() > kLongest)
        reader.Error("name", "should have at most " + std::to_string(kLongest) + " bytes");
    else if (isThere && IndexOf(things, name) >= 0)
        reader.Error("name", "'" + name + "' is the name of another one already");
    return name;
}

void ReadUnits(JsonReader& file, Units& units);
void ReadMaterials(JsonReader& file, Problem& problem);
void ReadBoundaries(JsonReader& file, Problem& problem);
/// Reads the number, or the list of [t, v], under @p key into the values of @p condition.
/// @param points  of a line that each may have its own number; 0 for none
/// @param unit    of the values
void ReadValues(JsonReader& reader, const char* key, std::size_t points, const Units& units,
                double unit, Condition& condition);
/// Reads "sources", after the boundaries.
void ReadSources(JsonReader& file, Problem& problem);
/// Reads "sources" of a step, changes of @p rates by the sources' names.
void ReadSourceChanges(JsonReader& reader, const Problem& problem, std::vector<Condition>& rates);
void ReadSteps(JsonReader& file, Problem& problem);
/// Reads "gamma_sat", or "void_ratio" and "specific_gravity".
void ReadUnitWeight(JsonReader& reader, double gammaW, Material& material);
/// Reads "boundaries", changes of @p conditions by the boundaries' names.
void ReadChanges(JsonReader& reader, const Problem& problem, std::vector<Condition>& conditions);
/// Reads "time" and "initial".
void ReadTimeBlock(JsonReader& file, Problem& problem);
/// Reports polygons that are no rings, and polygons and lines whose edges cross.
void CheckShapes(const Problem& problem, Faults& faults);

} // namespace percova
