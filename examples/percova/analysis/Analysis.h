/// @file
/// The seepage analysis: from a model to its results.
#pragma once

#include "analysis/flow/Newton.h"
#include "analysis/model/Model.h"
#include "analysis/model/Results.h"
#include "analysis/results/Flows.h"

#include <functional>
#include <string>

namespace percova
{

/// One non-linear iteration, for progress reports.
struct Progress
{
    std::string step;
    NewtonRound round;
};

/// An accepted time step, for progress reports.
struct TimeProgress
{
    double time, end, length; ///< [s]
    std::size_t taken, rejected;
    int iterations;
};

/// Callbacks for the progress of an analysis, on the calling thread. Each may be empty.
struct Watch
{
    std::function<void(const Progress&)> iteration; ///< called after each
    std::function<void(const TimeProgress&)> time;  ///< called after each time step
    /// Called with each step's result, the last one of the results so far, which it may change.
    /// @returns whether to continue
    std::function<bool(StepResult&)> step;
};

/// Computes the steps of @p model, except those that @p results has from an earlier run. Each
/// starts from the heads of the one before. Adds to the assemble and solve times of @p results.
/// @returns false when nothing could be computed, with the reason in @p reason, or when a callback
///          stops the run. A step that did not converge is a result like any other: see
///          StepResult::converged.
bool Analyse(const Model& model, const Watch& watch, Results& results, std::string& reason);

/// @name Shared by the kinds of analysis
/// @{
NewtonSettings SettingsFor(const SolverSettings& given);
/// Describes where the equations did not converge and by how much.
std::string DescribeFailure(const Model& model, const NewtonOutcome& outcome, double tolerance);
/// Flows, stored water, nodal values, surface, probes and sections of a solution.
void EvaluateAll(const Solution& solution, StepResult& result);

/// How many threads the loops of this process use, from now to the end of the block.
class PoolThreads
{
public:
    /// @param count  0 for all processors
    explicit PoolThreads(int count);
    ~PoolThreads();
    PoolThreads(const PoolThreads&) = delete;
    PoolThreads& operator=(const PoolThreads&) = delete;
};
/// @}

} // namespace percova
