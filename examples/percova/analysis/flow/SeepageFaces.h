/// @file
/// The nodes held at a limit of their boundary.
#pragma once

#include "analysis/flow/NodeConditions.h"

#include <cstddef>
#include <vector>

namespace percova
{

/// The nodes whose boundaries have limits, see NodeConditions. Such a node is either free or held
/// at a limit; one whose state breaks its rule is switched over. A node that switches repeatedly
/// has to wait for the others to settle, and finally the nodes are switched one at a time, least
/// index first, which cannot cycle (Murty 1974, for the linear problem).
class SeepageFaces
{
public:
    /// All nodes with an upper limit held at it, the safe choice: no part is unconstrained.
    explicit SeepageFaces(const NodeConditions& conditions);

    /// Switches nodes over and puts those that become held at their limits.
    /// @param outflow    by node: the boundary's supply less the inflow [m3/s per m]
    /// @param tolerance  a flow up to this is none
    /// @param settled    whether the flow equations hold for the present states
    /// @returns how many nodes changed
    std::size_t Switch(const std::vector<double>& outflow, double tolerance, bool settled,
                       std::vector<double>& head);

    /// Derives the states from @p head.
    void Follow(const std::vector<double>& head);

    /// Every node may switch freely again, for another problem.
    void ForgetSwitches();

    bool IsHeld(std::size_t node) const { return state_[node] != Free; }
    /// The head that a held node is held at.
    double Limit(std::size_t node) const
    {
        return state_[node] == AtUpper ? conditions_->upper[node] : conditions_->lower[node];
    }

private:
    enum State : char
    {
        Free,
        AtUpper,
        AtLower
    };
    State StateOf(int node, double head) const
    {
        return head >= conditions_->upper[node]   ? AtUpper
               : head <= conditions_->lower[node] ? AtLower
                                                  : Free;
    }
    const NodeConditions* conditions_;
    std::vector<int> nodes_;         ///< those with limits, ascending
    std::vector<State> state_;       ///< by node of the mesh
    std::vector<unsigned> switched_; ///< by place in nodes_: how often
};

} // namespace percova
