#include "time/InitialState.h"

#include "analysis/flow/Newton.h"
#include "analysis/model/EarlierRun.h"

#include <algorithm>

namespace percova
{
namespace
{

/// Linear between the entries of @p table, constant outside.
double ValueIn(const std::vector<Point>& table, double at)
{
    const auto next = std::upper_bound(table.begin(), table.end(), at,
                                       [](double x, const Point& entry) { return x < entry.x; });
    if (next == table.begin())
        return table.front().y;
    if (next == table.end())
        return table.back().y;
    const Point a = *(next - 1), b = *next;
    return a.y + (b.y - a.y) * (at - a.x) / (b.x - a.x);
}

bool Steady(const Model& model, Assembly& assembly, LinearSystem& system, const Watch& watch,
            InitialState& state, std::string& reason)
{
    Step step = StepAt(model.problem, 0, Side::After);
    step.name = "initial";
    if (!model.problem.initial.conditions.empty())
        step.conditions = model.problem.initial.conditions;
    const NodeConditions conditions = Gather(model, step);
    const NewtonSettings settings = SettingsFor(model.problem.solver);
    Newton newton(model, conditions, assembly, system, settings, [&](const NewtonRound& round) {
        if (watch.iteration)
            watch.iteration({step.name, round});
    });
    const NewtonOutcome outcome = newton.Solve();
    state.head = newton.Head();
    state.iterations = outcome.iterations;
    if (outcome.converged)
        return true;
    reason = "the steady initial state did not converge: " +
             DescribeFailure(model, outcome, settings.tolerance);
    return false;
}

} // namespace

bool FindInitialState(const Model& model, Assembly& assembly, LinearSystem& system,
                      const Watch& watch, InitialState& state, std::string& reason)
{
    const Initial& initial = model.problem.initial;
    if (initial.type == InitialType::Steady)
        return Steady(model, assembly, system, watch, state, reason);
    if (initial.type == InitialType::Result)
        return ReadEarlierHeads(model, state.head, reason);
    const Mesh& mesh = model.mesh;
    state.head.resize(mesh.Nodes());
    for (std::size_t n = 0; n < mesh.Nodes(); ++n)
        switch (initial.type)
        {
        case InitialType::Hydrostatic:
            state.head[n] = ValueIn(initial.table, mesh.x[n]);
            break;
        case InitialType::Head:
            state.head[n] = ValueIn(initial.table, mesh.y[n]);
            break;
        default:
            state.head[n] = ValueIn(initial.table, mesh.y[n]) + mesh.y[n];
        }
    return true;
}

} // namespace percova
