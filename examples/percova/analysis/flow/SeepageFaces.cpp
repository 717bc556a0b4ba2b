#include "analysis/flow/SeepageFaces.h"

#include <cmath>

namespace percova
{

SeepageFaces::SeepageFaces(const NodeConditions& conditions)
    : conditions_(&conditions), state_(conditions.seepage.size(), Free)
{
    for (std::size_t node = 0; node < state_.size(); ++node)
        if (conditions.seepage[node] >= 0)
        {
            nodes_.push_back(int(node));
            if (std::isfinite(conditions.upper[node]))
                state_[node] = AtUpper;
        }
    switched_.assign(nodes_.size(), 0);
}

void SeepageFaces::Follow(const std::vector<double>& head)
{
    for (const int node : nodes_)
        state_[node] = StateOf(node, head[node]);
}

void SeepageFaces::ForgetSwitches() { switched_.assign(nodes_.size(), 0); }

std::size_t SeepageFaces::Switch(const std::vector<double>& outflow, double tolerance, bool settled,
                                 std::vector<double>& head)
{
    constexpr unsigned kFree = 3;   // times a node may switch while the flow is still settling
    constexpr unsigned kJoint = 12; // times a node may switch together with others
    std::size_t changed = 0;
    for (std::size_t k = 0; k < nodes_.size(); ++k)
    {
        const int node = nodes_[k];
        const State state = state_[node];
        const bool breaks = state == AtUpper   ? outflow[node] < -tolerance
                            : state == AtLower ? outflow[node] > tolerance
                                               : head[node] > conditions_->upper[node] ||
                                                     head[node] < conditions_->lower[node];
        if (!breaks || (!settled && switched_[k] >= kFree) ||
            (changed > 0 && switched_[k] >= kJoint))
            continue;
        ++changed;
        ++switched_[k];
        state_[node] = state == Free ? StateOf(node, head[node]) : Free;
        if (IsHeld(std::size_t(node)))
            head[node] = Limit(std::size_t(node));
    }
    return changed;
}

} // namespace percova
