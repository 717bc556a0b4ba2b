/// @file
/// What flowed since the start of a transient run.
#pragma once

#include "analysis/model/Results.h"

#include <vector>

namespace percova
{

/// Adds @p flows times @p seconds to the sums of @p state.
void AddFlows(const StepResult& flows, double seconds, TimeState& state);

/// Fills the sums and the mass balance of @p result.
/// @param stored  the water in the soil now [m3/m]
void FillTotals(const TimeState& state, double stored, StepResult& result);

/// Fills the sums and the balances of the regions.
/// @param stored  the water in each of them now [m3/m]
void FillRegions(const TimeState& state, const std::vector<double>& stored,
                 std::vector<RegionFlow>& regions);

} // namespace percova
