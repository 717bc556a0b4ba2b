/// @file
/// The balance of the regions: what flows over their borders, and what they store.
#pragma once

#include "analysis/model/Results.h"
#include "analysis/model/Storage.h"
#include "analysis/results/Flows.h"

#include <cstddef>
#include <vector>

namespace percova
{

/// What flows into a region at a node of its border is the flow into its elements there and what
/// these store at the node. Its border is made of the nodes that it shares with other regions and
/// those on boundaries; inflow and outflow are the sums over the nodes by their sign. The sum of
/// both and of the sources inside equals the change of storage to the tolerance of the solver, on
/// any mesh. A source at a node of the border counts as flow over it.
class RegionFlows
{
public:
    explicit RegionFlows(const Model& model);

    /// Fills the regions of @p result.
    /// @param storing  rates of the BorderWater [m3/s per m]; empty in a steady state
    void Evaluate(const Solution& solution, const std::vector<double>& storing,
                  StepResult& result) const;

    /// The water of the regions at each node of their borders [m3/m].
    std::vector<double> BorderWater(const Storage& storage, const std::vector<double>& head) const;
    /// The water in every region [m3/m].
    /// @param water   by node
    /// @param border  see BorderWater
    std::vector<double> Stored(const std::vector<double>& water,
                               const std::vector<double>& border) const;

private:
    void GatherPairs();
    /// The place of a pair in pairs_, -1 for none.
    int Find(int node, int region) const;

    /// A node of the border of a region.
    struct Pair
    {
        int next; ///< another one of the same node, -1 for none
        int region;
        bool isShared; ///< whether the node has other regions too
    };

    const Model& model_;
    std::vector<int> ofNode_;    ///< by node: its region, -1 where regions meet
    std::vector<char> isBorder_; ///< by node
    std::vector<Pair> pairs_;
    std::vector<int> firstPair_;        ///< by node: place in pairs_, -1 for none
    std::vector<std::size_t> elements_; ///< those with a node of a border
};

} // namespace percova
