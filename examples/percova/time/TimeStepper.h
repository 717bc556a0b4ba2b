/// @file
/// One step through time.
#pragma once

#include "analysis/flow/Assembly.h"
#include "analysis/flow/LinearSystem.h"
#include "analysis/flow/Newton.h"
#include "analysis/flow/NodeConditions.h"
#include "analysis/model/Model.h"
#include "analysis/model/Results.h"
#include "analysis/model/Storage.h"

#include <string>
#include <vector>

namespace percova
{

/// The state at the end of a stage.
struct Stage
{
    Step step; ///< the boundaries as they are then
    NodeConditions conditions;
    std::vector<double> head, water, inflow; ///< by node
    std::vector<double> rate;                ///< by node: of its water in this stage [m2/s]
};

/// An attempted step.
struct Attempt // NOLINT(bugprone-reserved-identifier): of the copy that the compiler writes
{
    double length = 0;
    Stage stages[2];
    double weights[2] = {}; ///< of the stages' flows in those of the step
    int iterations = 0;
    double residual = 0;
    double error = 0;          ///< of the head, estimated [m]
    int worst = 0;             ///< the node of it
    bool isThirdOrder = false; ///< whether the estimate is
    std::string failure;       ///< why it failed
};

/// Takes steps by the method of AnalyseInTime.
class TimeStepper
{
public:
    TimeStepper(const Model& model, const Storage& storage, Assembly& assembly,
                LinearSystem& system, const NewtonSettings& settings, Seconds& seconds)
        : model_(model), storage_(storage), assembly_(assembly), system_(system),
          settings_(settings), allowed_(model.problem.time->tolerance), seconds_(seconds)
    {
    }

    std::vector<double> startRate; ///< by node, at the start; empty after a jump of a head
    bool isBeyondLimit = false;    ///< whether heads at the start are, at a boundary with limits

    /// Tries a step from @p time, when the nodes have @p head and @p water.
    /// @returns false when it could not be solved
    bool Try(double time, double length, const std::vector<double>& head,
             const std::vector<double>& water, Attempt& attempt);

private:
    bool TryEuler(double time, double length, const std::vector<double>& head,
                  const std::vector<double>& water, Attempt& attempt);
    bool SolveStage(Stage& stage, double time, const std::vector<double>& before,
                    const std::vector<double>& near, double length, bool isLast, Attempt& attempt);
    bool EstimateError(Newton& newton, Attempt& attempt);
    /// The error of the worst node, whose number goes to @p attempt.
    double ErrorOf(Newton& newton, const double (&weights)[3], Attempt& attempt);

    const Model& model_;
    const Storage& storage_;
    Assembly& assembly_;
    LinearSystem& system_;
    const NewtonSettings& settings_;
    double allowed_; ///< error of the head in a step [m]
    Seconds& seconds_;
};

} // namespace percova
