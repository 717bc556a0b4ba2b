/// @file
/// The seepage analysis: from a model to its results.
#pragma once

#include "Model.h"
#include "Newton.h"
#include "Results.h"

#include <functional>
#include <string>

namespace percova
{

/// One round of the non-linear iteration, for whoever watches.
struct Progress
{
    std::string step;
    NewtonRound round;
};

/// Computes the first step of @p model. Adds to the assemble and solve times of @p results.
/// @param watch  called after every iteration, on the calling thread; may be empty
/// @returns false when nothing could be computed, with the reason in @p reason. A step that did
///          not converge is a result like any other: see StepResult::converged.
bool Analyse(const Model& model, const std::function<void(const Progress&)>& watch,
             Results& results, std::string& reason);

} // namespace percova
