#include "output/Output.h"

#include "KVI.h"
#include "output/files/Csv.h"
#include "problem/NumberText.h"
#include "problem/TextFile.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstring>
#include <sstream>
#include <utility>

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

void ScaleSafety(const Units& units, StepResult& step)
{
    const double length = 1 / units.metres, pressure = 1 / units.kPa;
    for (ExitFace& face : step.exits)
        for (ExitGradient& side : face.sides)
            Scale(side.at, length);
    for (Freeboard& freeboard : step.freeboards)
    {
        Scale(freeboard.distance, length);
        Scale(freeboard.at, length);
        Scale(freeboard.ground, length);
    }
    for (Uplift& uplift : step.uplifts)
    {
        for (double* force : {&uplift.force, &uplift.vertical})
            Scale(*force, pressure * length);
        for (double* distance : {&uplift.along, &uplift.suction})
            Scale(*distance, length);
        Scale(uplift.at, length);
        for (UpliftPoint& point : uplift.points)
        {
            Scale(point.along, length);
            Scale(point.at, length);
            Scale(point.pressure, pressure);
        }
    }
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
    for (Source& source : model.problem.sources)
        Scale(source.line, length);
    for (Step& step : model.problem.steps)
        for (Condition& condition : step.conditions)
        {
            const double unit = condition.type == BoundaryType::Flux
                                    ? length * model.problem.units.seconds
                                    : length;
            Scale(condition.values, unit);
            for (TimedValues& entry : condition.series)
                Scale(entry.values, unit);
        }
}

void ConvertToFileUnits(const Units& units, StepResult& step)
{
    if (units.AreInternal())
        return;
    const double length = 1 / units.metres, pressure = 1 / units.kPa, time = units.seconds;
    const double area = length * length; // flows are areas per time
    for (double* flow :
         {&step.flowIn, &step.flowOut, &step.flowInIntegrated, &step.flowOutIntegrated})
        Scale(*flow, area * time);
    for (double* volume :
         {&step.storedWater, &step.cumulativeIn, &step.cumulativeOut, &step.storedChange})
        Scale(*volume, area);
    for (double* seconds : {&step.time, &step.stepLength})
        Scale(*seconds, 1 / time);
    for (BoundaryFlow& boundary : step.boundaries)
    {
        for (double* flow : {&boundary.flow, &boundary.integrated})
            Scale(*flow, area * time);
        for (double* held : {&boundary.ponded, &boundary.dried})
            Scale(*held, length);
        Scale(boundary.cumulative, area);
    }
    for (SectionFlow& section : step.sections)
    {
        Scale(section.flow, area * time);
        Scale(section.cumulative, area);
    }
    for (SourceFlow& source : step.sources)
    {
        Scale(source.flow, area * time);
        Scale(source.cumulative, area);
    }
    for (RegionFlow& region : step.regions)
    {
        for (double* flow : {&region.in, &region.out, &region.sources})
            Scale(*flow, area * time);
        for (double* volume : {&region.cumulativeIn, &region.cumulativeOut,
                               &region.cumulativeSources, &region.storedChange})
            Scale(*volume, area);
    }
    ScaleSafety(units, step);
    for (SeepageFace& face : step.seepageFaces)
    {
        Scale(face.flow, area * time);
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
        Scale(probe.flux, length * time);
    }
    for (const DataParamType param : {dataparam::Head, dataparam::PressureHead})
        Scale(step.nodal, param, length);
    for (const DataParamType param : {dataparam::VelocityX, dataparam::VelocityY})
        Scale(step.nodal, param, length * time);
    Scale(step.stream, area * time);
    for (double& capacity : step.capacity)
        capacity /= length;
    Scale(step.nodal, dataparam::Pressure, pressure);
}

bool WriteStep(const ResultFiles& files, const Model& model, const StepResult& step,
               const std::vector<double>& head, std::string& reason)
{
    if (!files.MakeFolders(step.number, reason))
        return false;
    const bool isInTime = model.problem.time.has_value();
    const auto write = [&](const char* ending, const auto& content, std::string& why) {
        return WriteWhole(isInTime ? files.OfOutput(step.number, ending)
                                   : files.OfStep(step.number, ending),
                          content, why);
    };
    std::string noPicture;
    bool hasGrid = false, hasPicture = false;
    sys::thread::task::ParallelForPieces(0, 2, 1, [&](std::size_t begin, std::size_t end) {
        if (begin == 0)
            hasGrid = write(
                ".vtu", [&](std::ostream& out) { WriteVtu(out, model, step); }, reason);
        if (end == 2)
            hasPicture = write(
                ".svg", [&](std::ostream& out) { WritePicture(out, model, step); }, noPicture);
    });
    if (hasGrid && !hasPicture)
        reason = noPicture;
    if (!hasGrid || !hasPicture || (!files.HasStepFolders() && !isInTime))
        return hasGrid && hasPicture;
    return (isInTime ||
            write(
                ".json", [&](std::ostream& out) { WriteStepJson(out, step); }, reason)) &&
           write(
               ".heads",
               [&](std::ostream& out) {
                   out.write(reinterpret_cast<const char*>(head.data()),
                             static_cast<std::streamsize>(head.size() * sizeof(double)));
               },
               reason);
}

std::vector<double> ReadHeads(const std::wstring& path, std::size_t nodes)
{
    std::string bytes, ignored; // without them the next step starts cold
    if (!ReadWhole(path, bytes, ignored) || bytes.size() != nodes * sizeof(double))
        return {};
    std::vector<double> head(nodes);
    std::memcpy(head.data(), bytes.data(), bytes.size());
    return head;
}

namespace
{
void WriteHistoryHeader(std::ostream& out, const Problem& problem)
{
    const Units& units = problem.units;
    const std::string flow = units.length + "3/" + units.time + " per " + units.length;
    const std::string volume = units.length + "3 per " + units.length;
    std::vector<std::pair<std::string, std::string>> columns{
        {"time", units.time},       {"step_length", units.time}, {"iterations", "1"},
        {"flow_in", flow},          {"flow_out", flow},          {"cumulative_in", volume},
        {"cumulative_out", volume}, {"stored_water", volume},    {"mass_balance", "1"}};
    for (const Probe& probe : problem.probes)
    {
        columns.push_back({probe.name + ".head", units.length});
        columns.push_back({probe.name + ".pressure_head", units.length});
        columns.push_back({probe.name + ".water_content", "1"});
    }
    for (const Boundary& boundary : problem.boundaries)
        columns.push_back({boundary.name + ".flow", flow});
    for (const Section& section : problem.sections)
        columns.push_back({section.name + ".flow", flow});
    for (const Source& source : problem.sources)
        columns.push_back({source.name + ".flow", flow});
    for (const Region& region : problem.regions)
        for (const char* part : {".flow_in", ".flow_out", ".sources"})
            columns.push_back({region.name + part, flow});
    for (std::size_t i = 0; i < columns.size(); ++i)
        out << (i == 0 ? "" : ",") << CsvField(columns[i].first);
    out << "\n# ";
    for (std::size_t i = 0; i < columns.size(); ++i)
        out << (i == 0 ? "" : ",") << CsvField(columns[i].second);
    out << '\n';
}

void WriteHistoryRow(std::ostream& out, StepResult row, const Problem& problem)
{
    ConvertToFileUnits(problem.units, row);
    const auto put = [&](double value) {
        out << ',';
        if (!IsMissingValue(value) && std::isfinite(value))
            out << Exact(value);
    };
    out << Exact(row.time);
    put(row.stepLength);
    put(row.iterations);
    for (const double value : {row.flowIn, row.flowOut, row.cumulativeIn, row.cumulativeOut,
                               row.storedWater, row.massBalance})
        put(value);
    for (const ProbeValue& probe : row.probes)
        for (const double value : {probe.head, probe.pressureHead, probe.waterContent})
            put(value);
    for (const BoundaryFlow& boundary : row.boundaries)
        put(boundary.flow);
    for (const SectionFlow& section : row.sections)
        put(section.flow);
    for (const SourceFlow& source : row.sources)
        put(source.flow);
    row.regions.resize(problem.regions.size()); // the initial state has none
    for (const RegionFlow& region : row.regions)
        for (const double value : {region.in, region.out, region.sources})
            put(value);
    out << '\n';
}
} // namespace

void WriteHistory(std::ostream& out, const Model& model, const Results& results)
{
    if (results.earlierHistory.empty())
        WriteHistoryHeader(out, model.problem);
    out << results.earlierHistory;
    for (const StepResult& row : results.history)
        WriteHistoryRow(out, row, model.problem);
}

bool WriteSummary(const ResultFiles& files, const Model& model, const Results& results,
                  const nlohmann::ordered_json& input, std::string& reason)
{
    const bool isInTime = model.problem.time.has_value();
    const std::size_t count = results.earlier.size() + results.steps.size();
    std::vector<std::string> grids;
    std::vector<double> times;
    for (std::size_t i = 0; i < count; ++i)
    {
        grids.push_back(files.NameOfStep(i + (isInTime ? 0 : 1), ".vtu"));
        if (isInTime)
            times.push_back(
                i == 0 ? 0 : model.problem.time->outputs[i - 1] / model.problem.units.seconds);
    }
    std::ostringstream history;
    if (isInTime)
        WriteHistory(history, model, results);
    return WriteWhole(
               files.OfRun(".pvd"), [&](std::ostream& out) { WritePvd(out, grids, times); },
               reason) &&
           (!isInTime ||
            (WriteWhole(
                 files.OfRun(".history.csv"), [&](std::ostream& out) { out << history.str(); },
                 reason) &&
             WriteWhole(
                 files.OfRun(".history.svg"),
                 [&](std::ostream& out) { WriteSeries(out, model.problem, history.str()); },
                 reason))) &&
           WriteWhole(
               files.Result(),
               [&](std::ostream& out) { WriteJson(out, ResultJson(files, model, results, input)); },
               reason);
}

} // namespace percova
