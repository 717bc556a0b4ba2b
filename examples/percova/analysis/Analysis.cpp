#include "analysis/Analysis.h"

#include "analysis/flow/Assembly.h"
#include "analysis/flow/LinearSystem.h"
#include "analysis/flow/Newton.h"
#include "analysis/flow/NodeConditions.h"
#include "analysis/model/Soil.h"
#include "analysis/results/Fields.h"
#include "analysis/results/FlowNet.h"
#include "analysis/results/Flows.h"
#include "analysis/results/Freeboard.h"
#include "analysis/results/RegionFlows.h"
#include "analysis/results/Safety.h"
#include "analysis/results/Sections.h"
#include "analysis/results/Surface.h"
#include "problem/NumberText.h"

namespace percova
{
namespace
{
/// Soil beyond the dry end of the water-content curve has no water to release: the boundaries draw
/// more than the soil can give. Empty when this does not occur.
std::string DrySoilText(const Model& model, const std::vector<double>& head)
{
    constexpr double kMostSuction = 1e6; // [kPa]
    for (std::size_t n = 0; n < head.size(); ++n)
    {
        const double suction = (model.mesh.y[n] - head[n]) * model.problem.gammaW;
        if (suction <= kMostSuction)
            continue;
        return "the boundaries draw more water than the soil can lead: the suction at node " +
               std::to_string(model.mesh.number[n]) + " at (" + Short(model.mesh.x[n]) + ", " +
               Short(model.mesh.y[n]) + ") would have to be " + Short(suction, 3) + " kPa";
    }
    return {};
}

/// The steps of one model in sequence.
class Analysis
{
public:
    Analysis(const Model& model, const std::vector<Soil>& soils, const Watch& watch,
             Results& results)
        : model_(model), soils_(soils), watch_(watch), results_(results),
          settings_(SettingsFor(model.problem.solver)), assembly_(model, soils),
          system_(model.mesh, model.problem.solver.kind, model.problem.solver.threads),
          regions_(model)
    {
        head_ = results.lastHead;
    }

    StepResult Run(std::size_t index);

private:
    const Model& model_;
    const std::vector<Soil>& soils_;
    const Watch& watch_;
    Results& results_;
    NewtonSettings settings_;
    Assembly assembly_;
    LinearSystem system_;
    RegionFlows regions_;
    std::vector<double> head_; ///< of the last step that converged
};

StepResult Analysis::Run(std::size_t index)
{
    const Step& step = model_.problem.steps[index];
    const NodeConditions conditions = Gather(model_, step);
    Newton newton(model_, conditions, assembly_, system_, settings_, [&](const NewtonRound& round) {
        if (watch_.iteration)
            watch_.iteration({step.name, round});
    });
    const NewtonOutcome outcome = newton.Solve(head_);
    results_.seconds.assemble += newton.AssembleSeconds();
    results_.seconds.solve += newton.SolveSeconds();
    results_.equations = system_.Equations();
    results_.nonzeros = system_.Nonzeros();
    results_.solver = system_.Solver();

    StepResult result;
    result.number = index + 1;
    result.name = step.name;
    result.iterations = outcome.iterations;
    result.residual = outcome.residual;
    if (outcome.converged)
        result.trouble = DrySoilText(model_, newton.Head());
    else
        result.trouble = DescribeFailure(model_, outcome, settings_.tolerance);
    result.converged = result.trouble.empty();
    if (outcome.converged && outcome.drawnOut > 0)
        result.warnings.push_back(
            "the relative conductivity falls more steeply than the mesh resolves; with the true "
            "curves no solution was found, and they were drawn out by up to " +
            Short(outcome.drawnOut, 2) + " m of pressure head: a finer mesh helps");
    if (result.converged)
        head_ = newton.Head();
    const Solution solution{model_, step, soils_, conditions, newton.Head(), newton.Inflow()};
    EvaluateAll(solution, result);
    regions_.Evaluate(solution, {}, result);
    if (!model_.problem.flowNet || !result.converged)
        return result;
    std::string reason;
    result.stream = StreamFunction(solution, system_, reason);
    if (result.stream.empty())
        result.warnings.push_back("there is no flow net: " + reason);
    return result;
}
} // namespace

NewtonSettings SettingsFor(const SolverSettings& given)
{
    NewtonSettings settings;
    if (given.tolerance > 0)
        settings.tolerance = given.tolerance;
    if (given.maxIterations > 0)
        settings.maxIterations = given.maxIterations;
    return settings;
}

std::string DescribeFailure(const Model& model, const NewtonOutcome& outcome, double tolerance)
{
    std::string text;
    if (outcome.worst >= 0)
        text = "after " + std::to_string(outcome.iterations) +
               " iterations the water balance of node " +
               std::to_string(model.mesh.number[outcome.worst]) + " at (" +
               Short(model.mesh.x[outcome.worst]) + ", " + Short(model.mesh.y[outcome.worst]) +
               ") is out by " + Short(outcome.residual, 3) +
               " of the flow through the model (allowed: " + Short(tolerance, 3) +
               "); the heads last moved by " + Short(outcome.change, 3) + " m";
    return outcome.failure.empty() ? text : outcome.failure + "; " + text;
}

void EvaluateAll(const Solution& solution, StepResult& result)
{
    const std::vector<int> dripping = EvaluateFlows(solution, result);
    result.storedWater = StoredWater(solution);
    EvaluateNodes(solution, result.nodal);
    result.surface = ZeroPressureLines(solution.model.mesh,
                                       result.nodal.Column(dataparam::PressureHead), dripping);
    FindFreeboards(solution.model, solution.step, result);
    EvaluateProbes(solution, result);
    EvaluateExits(solution, result);
    EvaluateUplifts(solution, result);
    if (solution.model.sections)
        solution.model.sections->Evaluate(solution, result);
}

PoolThreads::PoolThreads(int count)
{
    if (count > 0)
        sys::thread::task::pool::SetFixedWorkers(static_cast<unsigned>(count));
    else
        sys::thread::task::pool::SetDynamicWorkers();
}

PoolThreads::~PoolThreads() { sys::thread::task::pool::SetDynamicWorkers(); }

bool Analyse(const Model& model, const Watch& watch, Results& results, std::string& reason)
{
    const PoolThreads threads(model.problem.solver.threads);
    results.threads = static_cast<int>(sys::thread::task::pool::Workers());

    std::vector<Soil> soils;
    if (!MakeSoils(model.problem, soils, reason))
        return false;
    Analysis analysis(model, soils, watch, results);
    for (std::size_t i = results.earlier.size(); i < model.problem.steps.size(); ++i)
    {
        results.steps.push_back(analysis.Run(i));
        if (watch.step && !watch.step(results.steps.back()))
            return false;
    }
    return true;
}

} // namespace percova
