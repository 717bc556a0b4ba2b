/// @file
/// Values at points: the probes, and the means at the nodes that pictures show.
#pragma once

#include "analysis/Flows.h"
#include "analysis/Results.h"

namespace percova
{

/// Values at the probes of the problem. A probe outside the mesh has missing values. On a side
/// between elements of one material gradient and flux are the mean of theirs.
void EvaluateProbes(const Solution& solution, StepResult& result);

/// Fills a table as NodalTable makes it.
void EvaluateNodes(const Solution& solution, DataTable& nodal);

} // namespace percova
