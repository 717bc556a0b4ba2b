#include "Output.h"

#include "TextFile.h"

#include <chrono>
#include <functional>
#include <system_error>

namespace percova
{
namespace
{

void Scale(std::vector<double>& values, double factor)
{
    for (double& value : values)
        if (!IsMissingValue(value))
            value *= factor;
}

void Scale(double& value, double factor)
{
    if (!IsMissingValue(value))
        value *= factor;
}

void Scale(Point& point, double factor)
{
    Scale(point.x, factor);
    Scale(point.y, factor);
}

void Scale(Polyline& line, double factor)
{
    for (Point& point : line)
        Scale(point, factor);
}

/// @param length    units of length in a metre
/// @param pressure  units of pressure in a kPa
void Scale(StepResult& step, double length, double pressure)
{
    const double area = length * length; // flows are areas per second
    for (double* flow : {&step.flowIn, &step.flowOut, &step.flowInIntegrated,
                         &step.flowOutIntegrated, &step.storedWater})
        Scale(*flow, area);
    for (BoundaryFlow& boundary : step.boundaries)
        Scale(boundary.flow, area);
    for (SectionFlow& section : step.sections)
        Scale(section.flow, area);
    for (SeepageFace& face : step.seepageFaces)
    {
        Scale(face.flow, area);
        Scale(face.exit, length);
    }
    for (Polyline& line : step.surface)
        Scale(line, length);
    for (ProbeValue& probe : step.probes)
    {
        Scale(probe.at, length);
        Scale(probe.head, length);
        Scale(probe.pressureHead, length);
        Scale(probe.pressure, pressure);
        Scale(probe.flux, length);
    }
    NodalResults& nodal = step.nodal;
    for (std::vector<double>* lengths :
         {&nodal.head, &nodal.pressureHead, &nodal.velocityX, &nodal.velocityY})
        Scale(*lengths, length);
    Scale(nodal.pressure, pressure);
}

} // namespace

void ConvertToFileUnits(Model& model, Results& results)
{
    const Units& units = model.problem.units;
    if (units.AreInternal())
        return;
    const double length = 1 / units.metres;
    Scale(model.mesh.x, length);
    Scale(model.mesh.y, length);
    for (Boundary& boundary : model.problem.boundaries)
        Scale(boundary.line, length);
    for (Step& step : model.problem.steps)
        for (Condition& condition : step.conditions)
            Scale(condition.values, length);
    for (StepResult& step : results.steps)
        Scale(step, length, 1 / units.kPa);
}

std::string BaseName(const Problem& problem)
{
    std::filesystem::path name = problem.path.stem();
    if (name.extension() == ".problem")
        name = name.stem();
    return TextOf(name);
}

bool WriteOutput(const std::filesystem::path& folder, const Model& model, Results& results,
                 std::vector<std::string>& written, std::string& reason)
{
    const auto start = std::chrono::steady_clock::now();
    const auto elapsed = [start] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
    {
        reason = "the folder " + TextOf(folder) + " cannot be made: " + error.message();
        return false;
    }
    const auto write = [&](const std::string& name, const auto& content) {
        if (!WriteWhole(folder / PathOf(name), content, reason))
            return false;
        written.push_back(name);
        return true;
    };
    const std::string base = BaseName(model.problem);
    std::vector<std::string> grids;
    for (std::size_t i = 0; i < results.steps.size(); ++i)
    {
        const StepResult& step = results.steps[i];
        const std::string name =
            results.steps.size() == 1 ? base : base + '.' + std::to_string(i + 1);
        grids.push_back(name + ".vtu");
        if (!write(grids.back(), [&](std::ostream& out) { WriteVtu(out, model, step); }) ||
            !write(name + ".svg", [&](std::ostream& out) { WritePicture(out, model, step); }))
            return false;
    }
    if (!write(base + ".pvd", [&](std::ostream& out) { WritePvd(out, grids); }))
        return false;
    const double before = results.seconds.write;
    results.seconds.write = before + elapsed();
    results.seconds.total += elapsed();
    return write("result.json", [&](std::ostream& out) { WriteResultJson(out, model, results); });
}

} // namespace percova
