#include "output/Output.h"

#include "problem/TextFile.h"

#include <cstring>

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

void Scale(DataTable& nodal, DataParamType param, double factor)
{
    for (double& value : nodal.Column(param))
        Scale(value, factor);
}

} // namespace

void ConvertToFileUnits(Model& model)
{
    const double length = 1 / model.problem.units.metres;
    Scale(model.mesh.x, length);
    Scale(model.mesh.y, length);
    for (Boundary& boundary : model.problem.boundaries)
        Scale(boundary.line, length);
    for (Section& section : model.problem.sections)
        Scale(section.line, length);
    for (Step& step : model.problem.steps)
        for (Condition& condition : step.conditions)
            Scale(condition.values, length);
}

void ConvertToFileUnits(const Units& units, StepResult& step)
{
    if (units.AreInternal())
        return;
    const double length = 1 / units.metres, pressure = 1 / units.kPa;
    const double area = length * length; // flows are areas per second
    for (double* flow : {&step.flowIn, &step.flowOut, &step.flowInIntegrated,
                         &step.flowOutIntegrated, &step.storedWater})
        Scale(*flow, area);
    for (BoundaryFlow& boundary : step.boundaries)
        for (double* flow : {&boundary.flow, &boundary.integrated})
            Scale(*flow, area);
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
    for (const DataParamType param :
         {dataparam::Head, dataparam::PressureHead, dataparam::VelocityX, dataparam::VelocityY})
        Scale(step.nodal, param, length);
    Scale(step.nodal, dataparam::Pressure, pressure);
}

std::string BaseName(const Problem& problem)
{
    std::filesystem::path name = problem.path.stem();
    if (name.extension() == ".problem")
        name = name.stem();
    return TextOf(name);
}

bool WriteStep(const ResultFiles& files, const Model& model, const StepResult& step,
               const std::vector<double>& head, std::string& reason)
{
    if (!files.MakeFolders(step.number, reason))
        return false;
    const auto write = [&](const char* ending, const auto& content) {
        return WriteWhole(files.OfStep(step.number, ending), content, reason);
    };
    const bool shown = write(".vtu", [&](std::ostream& out) { WriteVtu(out, model, step); }) &&
                       write(".svg", [&](std::ostream& out) { WritePicture(out, model, step); });
    if (!shown || !files.HasStepFolders())
        return shown;
    return write(".json", [&](std::ostream& out) { WriteStepJson(out, step); }) &&
           write(".heads", [&](std::ostream& out) {
               out.write(reinterpret_cast<const char*>(head.data()),
                         static_cast<std::streamsize>(head.size() * sizeof(double)));
           });
}

std::vector<double> ReadHeads(const std::filesystem::path& path, std::size_t nodes)
{
    std::string bytes, ignored; // without them the next step starts cold
    if (!ReadWhole(path, bytes, ignored) || bytes.size() != nodes * sizeof(double))
        return {};
    std::vector<double> head(nodes);
    std::memcpy(head.data(), bytes.data(), bytes.size());
    return head;
}

bool WriteSummary(const ResultFiles& files, const Model& model, const Results& results,
                  std::string& reason)
{
    std::vector<std::string> grids;
    for (std::size_t i = 0; i < results.earlier.size() + results.steps.size(); ++i)
        grids.push_back(files.NameOfStep(i + 1, ".vtu"));
    return WriteWhole(
               files.OfRun(".pvd"), [&](std::ostream& out) { WritePvd(out, grids); }, reason) &&
           WriteWhole(
               files.Folder() / "result.json",
               [&](std::ostream& out) { WriteResultJson(out, model, results); }, reason);
}

} // namespace percova
