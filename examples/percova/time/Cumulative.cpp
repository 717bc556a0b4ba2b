#include "time/Cumulative.h"

#include <cmath>

namespace percova
{
namespace
{

template <class Flow>
void Add(const std::vector<Flow>& flows, double seconds, std::vector<double>& sums)
{
    for (std::size_t i = 0; i < flows.size(); ++i)
        if (!IsMissingValue(flows[i].flow))
            sums[i] += seconds * flows[i].flow;
}

template <class Flow>
void Fill(const std::vector<double>& sums, std::vector<Flow>& flows)
{
    for (std::size_t i = 0; i < flows.size(); ++i)
        flows[i].cumulative = sums[i];
}

} // namespace

void AddFlows(const StepResult& flows, double seconds, TimeState& state)
{
    state.in += seconds * flows.flowIn;
    state.out += seconds * flows.flowOut;
    Add(flows.boundaries, seconds, state.boundaries);
    Add(flows.sections, seconds, state.sections);
    Add(flows.sources, seconds, state.sources);
    for (std::size_t i = 0; i < flows.regions.size(); ++i)
    {
        state.regions[i].in += seconds * flows.regions[i].in;
        state.regions[i].out += seconds * flows.regions[i].out;
        state.regions[i].sources += seconds * flows.regions[i].sources;
    }
}

void FillTotals(const TimeState& state, double stored, StepResult& result)
{
    result.time = state.time;
    result.taken = state.taken;
    result.rejected = state.rejected;
    result.cumulativeIn = state.in;
    result.cumulativeOut = state.out;
    result.storedWater = stored;
    result.storedChange = stored - state.initialStored;
    const double through = state.in + state.out;
    result.massBalance =
        through > 0 ? (state.in - state.out - result.storedChange) / through : kMissing;
    Fill(state.boundaries, result.boundaries);
    Fill(state.sections, result.sections);
    Fill(state.sources, result.sources);
}

void FillRegions(const TimeState& state, const std::vector<double>& stored,
                 std::vector<RegionFlow>& regions)
{
    for (std::size_t i = 0; i < regions.size(); ++i)
    {
        const RegionSums& sums = state.regions[i];
        RegionFlow& flow = regions[i];
        flow.cumulativeIn = sums.in;
        flow.cumulativeOut = sums.out;
        flow.cumulativeSources = sums.sources;
        flow.storedChange = stored[i] - sums.initialStored;
        const double moved = sums.in + sums.out + std::abs(sums.sources);
        flow.balance =
            moved > 0 ? (sums.in - sums.out + sums.sources - flow.storedChange) / moved : kMissing;
    }
}

} // namespace percova
