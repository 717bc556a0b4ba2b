/// @file
/// Values at points: the probes, and the nodal means shown in pictures.
#pragma once

#include "analysis/model/Results.h"
#include "analysis/results/Flows.h"

namespace percova
{

/// Values at the probes of the problem. A probe outside the mesh has missing values. On a side
/// between elements of one material gradient and flux are the mean of theirs.
void EvaluateProbes(const Solution& solution, StepResult& result);

/// Fills a table created by NodalTable.
void EvaluateNodes(const Solution& solution, DataTable& nodal);

} // namespace percova
