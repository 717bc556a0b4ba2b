#include "output/Output.h"
#include "output/files/Provenance.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace percova
{
namespace
{

using Json = nlohmann::ordered_json; // keys keep the order they are given

Json Value(double value)
{
    return IsMissingValue(value) || !std::isfinite(value) ? Json() : Json(value);
}

Json Value(const Point& point)
{
    if (IsMissingValue(point.x) || IsMissingValue(point.y))
        return Json();
    return Json::array({Value(point.x), Value(point.y)});
}

/// A vector keeps its two places even when they are missing.
Json Pair(const Point& point) { return Json::array({Value(point.x), Value(point.y)}); }

template <class Flow>
Json Flows(const std::vector<Flow>& flows)
{
    Json all = Json::object();
    for (const Flow& flow : flows)
    {
        Json& json = all[flow.name] = {{"flow", Value(flow.flow)}};
        if (!IsMissingValue(flow.cumulative))
            json["cumulative"] = Value(flow.cumulative);
    }
    return all;
}

Json ProbeJson(const ProbeValue& probe)
{
    return {{"name", probe.name},
            {"x", Value(probe.at.x)},
            {"y", Value(probe.at.y)},
            {"head", Value(probe.head)},
            {"pressure_head", Value(probe.pressureHead)},
            {"pressure", Value(probe.pressure)},
            {"water_content", Value(probe.waterContent)},
            {"kr", Value(probe.kr)},
            {"gradient", Pair(probe.gradient)},
            {"flux", Pair(probe.flux)}};
}

Json ExitJson(const ExitFace& face)
{
    const ExitGradient& steepest = face.Steepest();
    const ExitGradient* const least = face.LeastSafe();
    Json json = {{"gradient", Value(steepest.outward)},
                 {"at", Value(steepest.at)},
                 {"factor", least == nullptr ? Json() : Value(least->factor)},
                 {"factor_at", least == nullptr ? Json() : Value(least->at)}};
    if (!face.withoutFactor.empty())
        json["without_factor"] = face.withoutFactor;
    Json& sides = json["sides"] = Json::array();
    for (const ExitGradient& side : face.sides)
        sides.push_back({{"x", Value(side.at.x)},
                         {"y", Value(side.at.y)},
                         {"material", side.material},
                         {"gradient", Value(side.outward)},
                         {"upward", Value(side.upward)},
                         {"critical", Value(side.critical)},
                         {"factor", Value(side.factor)}});
    return json;
}

Json RegionJson(const RegionFlow& region)
{
    Json json = {{"flow_in", Value(region.in)},
                 {"flow_out", Value(region.out)},
                 {"sources", Value(region.sources)}};
    if (!IsMissingValue(region.storedChange))
    {
        json["cumulative_in"] = Value(region.cumulativeIn);
        json["cumulative_out"] = Value(region.cumulativeOut);
        json["cumulative_sources"] = Value(region.cumulativeSources);
        json["stored_change"] = Value(region.storedChange);
    }
    json["mass_balance"] = Value(region.balance);
    return json;
}

Json UpliftJson(const Uplift& uplift)
{
    Json json = {{"force", Value(uplift.force)},
                 {"vertical", Value(uplift.vertical)},
                 {"along", Value(uplift.along)},
                 {"at", Value(uplift.at)},
                 {"suction_length", Value(uplift.suction)}};
    Json& points = json["points"] = Json::array();
    for (const UpliftPoint& point : uplift.points)
        points.push_back({{"along", Value(point.along)},
                          {"x", Value(point.at.x)},
                          {"y", Value(point.at.y)},
                          {"pressure", Value(point.pressure)}});
    return json;
}

/// Additional values of a transient run.
void AddTime(Json& json, const StepResult& step)
{
    if (IsMissingValue(step.time))
        return;
    json["time"] = Value(step.time);
    json["step_length"] = Value(step.stepLength);
    json["steps_taken"] = step.taken;
    json["steps_rejected"] = step.rejected;
    json["cumulative_in"] = Value(step.cumulativeIn);
    json["cumulative_out"] = Value(step.cumulativeOut);
    json["stored_change"] = Value(step.storedChange);
}

Json StepJson(const StepResult& step)
{
    Json json = {{"step", step.number},
                 {"name", step.name},
                 {"converged", step.converged},
                 {"iterations", step.iterations},
                 {"residual", Value(step.residual)},
                 {"flow_in", Value(step.flowIn)},
                 {"flow_out", Value(step.flowOut)},
                 {"mass_balance", Value(step.massBalance)},
                 {"flow_in_integrated", Value(step.flowInIntegrated)},
                 {"flow_out_integrated", Value(step.flowOutIntegrated)},
                 {"stored_water", Value(step.storedWater)},
                 {"boundaries", Flows(step.boundaries)}};
    for (const BoundaryFlow& boundary : step.boundaries)
    {
        Json& flow = json["boundaries"][boundary.name];
        flow["flow_integrated"] = Value(boundary.integrated);
        if (IsMissingValue(boundary.ponded))
            continue;
        flow["ponded_length"] = Value(boundary.ponded);
        flow["dried_length"] = Value(boundary.dried);
    }
    AddTime(json, step);
    Json& faces = json["seepage_faces"] = Json::object();
    for (const SeepageFace& face : step.seepageFaces)
        faces[face.name] = {{"flow", Value(face.flow)}, {"exit", Value(face.exit)}};
    Json& surface = json["surface"] = Json::array();
    for (const Polyline& line : step.surface)
    {
        Json& points = surface.emplace_back(Json::array());
        for (const Point& point : line)
            points.push_back(Pair(point));
    }
    Json& probes = json["probes"] = Json::array();
    for (const ProbeValue& probe : step.probes)
        probes.push_back(ProbeJson(probe));
    json["sections"] = Flows(step.sections);
    if (!step.sources.empty())
        json["sources"] = Flows(step.sources);
    Json& regions = json["regions"] = Json::object();
    for (const RegionFlow& region : step.regions)
        regions[region.name] = RegionJson(region);
    Json& exits = json["exit_gradients"] = Json::object();
    for (const ExitFace& face : step.exits)
        exits[face.name] = ExitJson(face);
    Json& uplifts = json["uplift"] = Json::object();
    for (const Uplift& uplift : step.uplifts)
        uplifts[uplift.name] = UpliftJson(uplift);
    Json& freeboards = json["freeboard"] = Json::array();
    for (const Freeboard& freeboard : step.freeboards)
        freeboards.push_back({{"name", freeboard.name},
                              {"distance", Value(freeboard.distance)},
                              {"at", Value(freeboard.at)},
                              {"ground", Value(freeboard.ground)}});
    Json& extremes = json["extremes"] = Json::object();
    for (const Extremes& field : step.extremes)
        extremes[field.name] = {{"unit", field.unit},
                                {"least", Value(field.least)},
                                {"least_at", Value(field.leastAt)},
                                {"greatest", Value(field.greatest)},
                                {"greatest_at", Value(field.greatestAt)}};
    if (!step.trouble.empty())
        json["trouble"] = step.trouble;
    if (!step.warnings.empty())
        json["warnings"] = step.warnings;
    return json;
}

} // namespace

void WriteJson(std::ostream& out, const Json& json)
{
    // Text that is no UTF-8 gets replacement characters instead of stopping the writer.
    out << json.dump(1, ' ', false, Json::error_handler_t::replace) << '\n';
}

void WriteStepJson(std::ostream& out, const StepResult& step) { WriteJson(out, StepJson(step)); }

namespace
{
/// The outputs of a run in time, and how its steps went.
void AddOutputs(Json& json, const ResultFiles& files, const Model& model, const Results& results)
{
    Json outputs = Json::array();
    for (const std::string& output : results.earlier)
        outputs.push_back(Json::parse(output));
    for (const StepResult& output : results.steps)
        outputs.push_back(StepJson(output));
    if (!outputs.empty())
        json["initial"] = outputs.front();
    outputs.erase(outputs.begin(), outputs.begin() + std::min<std::ptrdiff_t>(1, outputs.size()));
    json["times"] = outputs;
    const double unit = model.problem.units.seconds;
    Json& parts = json["steps"] = Json::array();
    for (const PartOfRun& part : results.state.parts)
        parts.push_back({{"name", part.name},
                         {"start", part.start / unit},
                         {"steps_taken", part.taken},
                         {"steps_rejected", part.rejected},
                         {"shortest_step", part.taken == 0 ? Json() : Json(part.shortest / unit)},
                         {"longest_step", part.taken == 0 ? Json() : Json(part.longest / unit)}});
    json["history"] = files.NameOfRun(".history.csv");
    if (!results.stopped.empty())
        json["stopped"] = results.stopped;
}
} // namespace

Json InputJson(const Problem& problem)
{
    Json input = Json::parse(problem.text, nullptr, false);
    return input.is_discarded() ? Json() : input;
}

Json ResultJson(const ResultFiles& files, const Model& model, const Results& results,
                const Json& input)
{
    const Units& units = model.problem.units;
    Json json = {
        {"problem", model.problem.id},
        {"title", model.problem.title},
        {"date", results.date},
        {"program", ProgramVersion()},
        {"command", results.command},
        {"units", {{"length", units.length}, {"pressure", units.pressure}, {"time", units.time}}},
        {"warnings", results.warnings},
        {"collection", files.NameOfRun(".pvd")},
        {"mesh",
         {{"nodes", model.mesh.Nodes()},
          {"elements", model.mesh.Elements()},
          {"equations", results.equations},
          {"nonzeros", results.nonzeros}}},
        {"solver", results.solver},
        {"threads", results.threads},
        {"seconds",
         {{"read", results.seconds.read},
          {"assemble", results.seconds.assemble},
          {"solve", results.seconds.solve},
          {"write", results.seconds.write},
          {"other", results.seconds.Other()},
          {"total", results.seconds.total}}}};
    if (model.problem.time)
        AddOutputs(json, files, model, results);
    else
    {
        Json& steps = json["steps"] = Json::array();
        for (const std::string& step : results.earlier)
            steps.push_back(Json::parse(step));
        for (const StepResult& step : results.steps)
            steps.push_back(StepJson(step));
    }
    json["input"] = input;
    return json;
}

} // namespace percova
