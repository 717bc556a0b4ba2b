/// @file
/// Which nodes of the seepage faces let water out.
#pragma once

#include "analysis/NodeConditions.h"
#include "mesh/Mesh.h"

#include <cstddef>
#include <vector>

namespace percova
{

/// On a seepage face a node either stands at zero pressure and gives water off (wet), or has no
/// flow and no positive pressure (dry). A node whose state breaks its rule is switched over; one
/// that keeps coming back has to wait for the others to settle, and in the end the nodes are
/// switched one at a time, least index first, which cannot go round in circles (Murty 1974, for
/// the linear problem).
class SeepageFaces
{
public:
    /// All nodes of the faces wet, which is the safe side: nothing floats.
    SeepageFaces(const Mesh& mesh, const NodeConditions& conditions);

    /// Switches nodes over and puts those that become wet at zero pressure.
    /// @param outflow    by node [m3/s per m]
    /// @param tolerance  an inflow up to this is none
    /// @param settled    whether the flow equations hold for the present states
    /// @returns how many nodes changed
    std::size_t Switch(const std::vector<double>& outflow, double tolerance, bool settled,
                       std::vector<double>& head);

    /// Takes the states over from @p head: wet where the pressure is not negative.
    void Follow(const std::vector<double>& head);

    /// Every node may switch freely again, for another problem.
    void ForgetSwitches();

    bool IsWet(std::size_t node) const { return wet_[node] != 0; }

private:
    const Mesh* mesh_;
    std::vector<int> nodes_;         ///< all of the faces, ascending
    std::vector<char> wet_;          ///< by node of the mesh
    std::vector<unsigned> switched_; ///< by place in nodes_: how often
};

} // namespace percova
