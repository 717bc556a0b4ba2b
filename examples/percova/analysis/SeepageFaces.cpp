#include "analysis/SeepageFaces.h"

namespace percova
{

SeepageFaces::SeepageFaces(const Mesh& mesh, const NodeConditions& conditions)
    : mesh_(&mesh), wet_(mesh.Nodes())
{
    for (std::size_t node = 0; node < mesh.Nodes(); ++node)
        if (conditions.seepage[node] >= 0)
        {
            nodes_.push_back(int(node));
            wet_[node] = 1;
        }
    switched_.assign(nodes_.size(), 0);
}

void SeepageFaces::Follow(const std::vector<double>& head)
{
    for (const int node : nodes_)
        wet_[node] = head[node] >= mesh_->y[node];
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
        const bool breaks = wet_[node] ? outflow[node] < -tolerance : head[node] > mesh_->y[node];
        if (!breaks || (!settled && switched_[k] >= kFree) ||
            (changed > 0 && switched_[k] >= kJoint))
            continue;
        ++changed;
        ++switched_[k];
        wet_[node] ^= 1;
        if (wet_[node])
            head[node] = mesh_->y[node];
    }
    return changed;
}

} // namespace percova
