#include "output/Output.h"

#include <nlohmann/json.hpp>

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
        all[flow.name] = {{"flow", Value(flow.flow)}};
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
        json["boundaries"][boundary.name]["flow_integrated"] = Value(boundary.integrated);
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
    if (!step.trouble.empty())
        json["trouble"] = step.trouble;
    if (!step.warnings.empty())
        json["warnings"] = step.warnings;
    return json;
}

} // namespace

void WriteStepJson(std::ostream& out, const StepResult& step)
{
    // Text that is no UTF-8 gets replacement characters instead of stopping the writer.
    out << StepJson(step).dump(1, ' ', false, Json::error_handler_t::replace) << '\n';
}

void WriteResultJson(std::ostream& out, const Model& model, const Results& results)
{
    Json json = {{"problem", model.problem.id},
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
                   {"total", results.seconds.total}}}};
    Json& steps = json["steps"] = Json::array();
    for (const std::string& step : results.earlier)
        steps.push_back(Json::parse(step));
    for (const StepResult& step : results.steps)
        steps.push_back(StepJson(step));
    out << json.dump(1, ' ', false, Json::error_handler_t::replace) << '\n';
}

} // namespace percova
