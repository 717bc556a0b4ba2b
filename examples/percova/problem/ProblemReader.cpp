#include "problem/ProblemReader.h"

#include "problem/Legal.h"
#include "problem/TextFile.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace percova
{
namespace
{

void Scale(std::vector<Point>& line, double metres)
{
    for (Point& point : line)
        point = {point.x * metres, point.y * metres};
}

void ReadMeshName(JsonReader& file, Problem& problem)
{
    problem.meshPlace = file.PlaceOf("mesh");
    file.GetObject("mesh", Need::Optional, [&](JsonReader& mesh) {
        std::string name;
        if (mesh.GetText("file", name))
        {
            if (name.empty())
                mesh.Error("file", "should not be empty");
            problem.mesh = Beside(problem.path, name);
            problem.meshPlace = mesh.PlaceOf("file");
        }
        const JsonNode* join = mesh.Find("join");
        const bool isNumber = join != nullptr && join->kind == JsonNode::Kind::Number;
        if (join != nullptr && join->kind != JsonNode::Kind::Boolean &&
            !(isNumber && join->number > 0))
            mesh.Error("join", "should be true, false or a distance greater than 0");
        problem.joinsParts = join != nullptr && join->number != 0;
        problem.joinDistance = isNumber ? join->number * problem.units.metres : 0;
        mesh.IgnoreRest(); // information
    });
}

void ReadRegions(JsonReader& file, Problem& problem)
{
    file.ForEach("regions", Need::Required, [&](JsonReader& reader) {
        Region region;
        region.place = reader.Here();
        region.name = ReadName(reader, problem.regions);
        std::string material;
        if (reader.GetText("material", material, Need::Required))
        {
            region.material = IndexOf(problem.materials, material);
            if (region.material < 0)
                reader.Error("material", "there is no material '" + material + "', only " +
                                             NamesOf(problem.materials));
        }
        reader.GetLine("polygon", region.polygon, 3);
        region.polygonPlace = reader.PlaceOf("polygon");
        Scale(region.polygon, problem.units.metres);
        reader.Ignore({"outline", "centre", "arc_radius", "curve"});
        problem.regions.push_back(std::move(region));
    });
}

void ReadProbes(JsonReader& file, Problem& problem)
{
    file.ForEach("probes", Need::Optional, [&](JsonReader& reader) {
        Probe probe;
        probe.place = reader.Here();
        probe.name = ReadName(reader, problem.probes);
        reader.GetPoint("at", probe.at, Need::Required);
        probe.at = {probe.at.x * problem.units.metres, probe.at.y * problem.units.metres};
        problem.probes.push_back(std::move(probe));
    });
}

/// Reads a list of lines with names.
/// @param needsLine  whether the name alone, of a physical curve, is not enough
void ReadLines(JsonReader& file, const char* key, double metres, Need needsLine,
               std::vector<Section>& lines)
{
    file.ForEach(key, Need::Optional, [&](JsonReader& reader) {
        Section line;
        line.place = reader.Here();
        line.name = ReadName(reader, lines);
        reader.GetLine("line", line.line, 2, needsLine);
        Scale(line.line, metres);
        lines.push_back(std::move(line));
    });
}

void ReadFlag(JsonReader& file, const char* key, bool& flag)
{
    const JsonNode* node = file.Find(key);
    if (node == nullptr)
        return;
    if (node->kind != JsonNode::Kind::Boolean)
        return file.Error(key, "should be true or false");
    flag = node->number != 0;
}

/// Reads what is drawn besides heads.
void ReadPicture(JsonReader& file, Problem& problem)
{
    ReadFlag(file, "vectors", problem.vectors);
    ReadFlag(file, "flow_net", problem.flowNet);
    if (problem.flowNet && problem.time)
        file.Warn("flow_net", "is left aside: water that is stored has no stream function");
}

void ReadSolver(JsonReader& file, SolverSettings& solver)
{
    file.GetObject("solver", Need::Optional, [&](JsonReader& reader) {
        std::string kind;
        if (reader.GetText("kind", kind) && !SolverKindOf(kind, solver.kind))
            reader.Error("kind", "should be pardiso, direct or iterative, not '" + kind + "'");
        if (reader.GetNumber("tolerance", solver.tolerance) &&
            !(solver.tolerance > 0 && solver.tolerance < 1))
            reader.Error("tolerance", "should be between 0 and 1");
        reader.GetCount("max_iterations", solver.maxIterations);
    });
}

} // namespace

const char* Name(SolverKind kind)
{
    constexpr const char* kNames[] = {"automatic", "pardiso", "direct", "iterative"};
    return kNames[static_cast<std::size_t>(kind)];
}

bool SolverKindOf(const std::string& name, SolverKind& kind)
{
    for (const SolverKind each : {SolverKind::Pardiso, SolverKind::Direct, SolverKind::Iterative})
        if (name == Name(each))
        {
            kind = each;
            return true;
        }
    return false;
}

bool ReadProblem(const std::wstring& path, Problem& problem, Faults& faults)
{
    problem = {};
    problem.path = path;
    problem.file = TextOf(path);
    std::string text, reason;
    constexpr std::uint64_t kLargest = std::uint64_t{1} << 26; // far above any real one
    if (!ReadWhole(path, text, reason, kLargest))
    {
        faults.Error(problem.file, {}, reason);
        return false;
    }
    const bool right = ReadProblemText(text, problem, faults);
    problem.text = std::move(text);
    return right;
}

bool ReadProblemText(const std::string& text, Problem& problem, Faults& faults)
{
    const std::size_t before = faults.Errors();
    JsonNode root;
    if (!ParseJson(text, problem.file, root, faults))
        return false;
    if (root.kind != JsonNode::Kind::Object)
    {
        faults.Error(problem.file, {"", root.line},
                     std::string("should be an object, not ") + Described(root.kind));
        return false;
    }
    JsonReader file(root, "", problem.file, faults);
    problem.id = TextOf(NameOf(problem.path));
    for (int endings = 0; endings < 2; ++endings)
        problem.id.resize(std::min(problem.id.rfind('.'), problem.id.size()));
    file.GetText("id", problem.id);
    file.GetText("title", problem.title);
    file.Ignore({"$schema", "convention", "wanted", "dimensions", "x_axis"});
    ReadUnits(file, problem.units);
    GetLegal(file, "gamma_w", dataparam::UnitWeightOfWater, problem.gammaW);
    ReadMeshName(file, problem);
    ReadMaterials(file, problem);
    ReadRegions(file, problem);
    ReadBoundaries(file, problem);
    ReadSources(file, problem);
    ReadSteps(file, problem);
    if (file.Find("time") != nullptr)
        ReadTimeBlock(file, problem);
    else
        for (const Step& step : problem.steps)
            for (const std::vector<Condition>* conditions : {&step.conditions, &step.sources})
                for (const Condition& condition : *conditions)
                    if (!condition.series.empty())
                        faults.Error(
                            problem.file, condition.place,
                            "has a value that changes in time, but the problem has no time");
    ReadProbes(file, problem);
    ReadLines(file, "sections", problem.units.metres, Need::Required, problem.sections);
    ReadLines(file, "uplift", problem.units.metres, Need::Optional, problem.uplifts);
    ReadPicture(file, problem);
    ReadSolver(file, problem.solver);
    file.WarnOfUnknown();
    CheckShapes(problem, faults);
    return faults.Errors() == before;
}

} // namespace percova
