#include "Analysis.h"

#include "Assembly.h"
#include "Fields.h"
#include "Flows.h"
#include "LinearSystem.h"
#include "Newton.h"
#include "NodeConditions.h"
#include "Soil.h"
#include "Surface.h"

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <cstdio>
#include <memory>

namespace percova
{
namespace
{
/// Where a step did not converge and by how much.
std::string Trouble(const Model& model, const NewtonOutcome& outcome, double tolerance)
{
    char text[300] = "";
    if (outcome.worst >= 0)
        std::snprintf(text, sizeof text,
                      "after %d iterations the water balance of node %zu at (%.6g, %.6g) is out by "
                      "%.3g of the flow through the model (allowed: %.3g); the heads last moved by "
                      "%.3g m",
                      outcome.iterations, model.mesh.number[outcome.worst],
                      model.mesh.x[outcome.worst], model.mesh.y[outcome.worst], outcome.residual,
                      tolerance, outcome.change);
    return outcome.failure.empty() ? text : outcome.failure + "; " + text;
}

/// Soil drier than the water-content curve ends holds no water that could leave: the boundaries
/// ask for more than the soil can give. Empty when all is well.
std::string TooDry(const Model& model, const std::vector<double>& head)
{
    constexpr double kMostSuction = 1e6; // [kPa]
    for (std::size_t n = 0; n < head.size(); ++n)
    {
        const double suction = (model.mesh.y[n] - head[n]) * model.problem.gammaW;
        if (suction <= kMostSuction)
            continue;
        char text[200];
        std::snprintf(text, sizeof text,
                      "the boundaries draw more water than the soil can lead: the suction at node "
                      "%zu at (%.6g, %.6g) would have to be %.3g kPa",
                      model.mesh.number[n], model.mesh.x[n], model.mesh.y[n], suction);
        return text;
    }
    return {};
}

NewtonSettings SettingsOf(const SolverSettings& given)
{
    NewtonSettings settings;
    if (given.tolerance > 0)
        settings.tolerance = given.tolerance;
    if (given.maxIterations > 0)
        settings.maxIterations = given.maxIterations;
    return settings;
}
} // namespace

bool Analyse(const Model& model, const std::function<void(const Progress&)>& watch,
             Results& results, std::string& reason)
{
    std::unique_ptr<tbb::global_control> limit;
    const int threads = model.problem.solver.threads;
    if (threads > 0)
        limit = std::make_unique<tbb::global_control>(tbb::global_control::max_allowed_parallelism,
                                                      std::size_t(threads));
    results.threads = threads > 0 ? threads : tbb::this_task_arena::max_concurrency();

    const Step& step = model.problem.steps.front();
    std::vector<Soil> soils;
    if (!MakeSoils(model.problem, soils, reason))
        return false;
    const NodeConditions conditions = Gather(model, step);
    if (!conditions.HoldsSomewhere())
    {
        reason = "no boundary gives a head or lets water out, so nothing sets the level of the "
                 "heads";
        return false;
    }
    const NewtonSettings settings = SettingsOf(model.problem.solver);
    Assembly assembly(model, soils);
    LinearSystem system(model.mesh, model.problem.solver.kind, threads);
    Newton newton(model, conditions, assembly, system, settings, [&](const NewtonRound& round) {
        if (watch)
            watch({step.name, round});
    });
    const NewtonOutcome outcome = newton.Solve();
    results.seconds.assemble += newton.AssembleSeconds();
    results.seconds.solve += newton.SolveSeconds();
    results.equations = system.Equations();
    results.nonzeros = system.Nonzeros();
    results.solver = system.Solver();

    StepResult result;
    result.name = step.name;
    result.iterations = outcome.iterations;
    result.residual = outcome.residual;
    if (outcome.converged)
        result.trouble = TooDry(model, newton.Head());
    else
        result.trouble = Trouble(model, outcome, settings.tolerance);
    result.converged = result.trouble.empty();
    const Solution solution{model, step, soils, conditions, newton.Head(), newton.Inflow()};
    const std::vector<int> dripping = EvaluateFlows(solution, result);
    result.storedWater = StoredWater(solution);
    EvaluateNodes(solution, result.nodal);
    result.surface = ZeroPressureLines(model.mesh, result.nodal.pressureHead, dripping);
    EvaluateProbes(solution, result);
    results.steps.push_back(std::move(result));
    return true;
}

} // namespace percova
