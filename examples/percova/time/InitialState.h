/// @file
/// The initial heads of a transient run.
#pragma once

#include "analysis/Analysis.h"
#include "analysis/flow/Assembly.h"
#include "analysis/flow/LinearSystem.h"
#include "analysis/model/Model.h"

#include <string>
#include <vector>

namespace percova
{

struct InitialState
{
    std::vector<double> head; ///< by node [m]
    int iterations = 0;       ///< of the steady solution; 0 for others
};

/// Finds the heads at t = 0 as the problem's "initial" says.
/// @returns false with the reason when they cannot be determined
bool FindInitialState(const Model& model, Assembly& assembly, LinearSystem& system,
                      const Watch& watch, InitialState& state, std::string& reason);

} // namespace percova
