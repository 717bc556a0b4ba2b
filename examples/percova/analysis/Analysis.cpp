#include "analysis/Analysis.h"

#include "analysis/Assembly.h"
#include "analysis/Fields.h"
#include "analysis/Flows.h"
#include "analysis/LinearSystem.h"
#include "analysis/Newton.h"
#include "analysis/NodeConditions.h"
#include "analysis/Sections.h"
#include "analysis/Soil.h"
#include "analysis/Surface.h"
#include "problem/NumberText.h"

#include <cstdio>

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

/// How many threads the loops of this process use, from now to the end of the block.
class Threads
{
public:
    /// @param count  0 for all processors
    explicit Threads(int count)
    {
        if (count > 0)
            sys::thread::task::pool::SetFixedWorkers(static_cast<unsigned>(count));
        else
            sys::thread::task::pool::SetDynamicWorkers();
    }
    ~Threads() { sys::thread::task::pool::SetDynamicWorkers(); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;
};

/// The steps of one model, one after the other.
class Analysis
{
public:
    Analysis(const Model& model, const std::vector<Soil>& soils, const Watch& watch,
             Results& results)
        : model_(model), soils_(soils), watch_(watch), results_(results),
          settings_(SettingsOf(model.problem.solver)), assembly_(model, soils),
          system_(model.mesh, model.problem.solver.kind, model.problem.solver.threads)
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
        result.trouble = TooDry(model_, newton.Head());
    else
        result.trouble = Trouble(model_, outcome, settings_.tolerance);
    result.converged = result.trouble.empty();
    if (outcome.converged && outcome.drawnOut > 0)
        result.warnings.push_back(
            "the relative conductivity falls more steeply than the mesh resolves; with the true "
            "curves no solution was found, and they were drawn out by up to " +
            Short(outcome.drawnOut, 2) + " m of pressure head: a finer mesh helps");
    if (result.converged)
        head_ = newton.Head();
    const Solution solution{model_, step, soils_, conditions, newton.Head(), newton.Inflow()};
    const std::vector<int> dripping = EvaluateFlows(solution, result);
    result.storedWater = StoredWater(solution);
    EvaluateNodes(solution, result.nodal);
    result.surface =
        ZeroPressureLines(model_.mesh, result.nodal.Column(dataparam::PressureHead), dripping);
    EvaluateProbes(solution, result);
    if (model_.sections)
        model_.sections->Evaluate(solution, result);
    return result;
}
} // namespace

bool Analyse(const Model& model, const Watch& watch, Results& results, std::string& reason)
{
    const Threads threads(model.problem.solver.threads);
    results.threads = static_cast<int>(sys::thread::task::pool::Workers());

    std::vector<Soil> soils;
    if (!MakeSoils(model.problem, soils, reason))
        return false;
    for (const Step& step : model.problem.steps)
        if (!Gather(model, step).HoldsSomewhere())
        {
            reason = "step " + step.name +
                     ": no boundary gives a head or lets water out, so nothing sets the level of "
                     "the heads";
            return false;
        }
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
