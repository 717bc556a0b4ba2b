/// @file
/// What the last run was computed with, kept in the registry.
#pragma once

#include "problem/Problem.h"

#include <string>

namespace percova
{

/// Gives @p settings the solver and the number of threads of the last run that succeeded, where
/// nobody has said: kind automatic, threads -1. Creates nothing.
/// @returns what differs from the usual for it: "solver iterative, 2 threads"; empty for nothing
std::string TakeOverLastRun(SolverSettings& settings);

/// Keeps solver and threads for the next run. A failure is told in the log: no result hangs on it.
void KeepForNextRun(const SolverSettings& settings);

} // namespace percova
