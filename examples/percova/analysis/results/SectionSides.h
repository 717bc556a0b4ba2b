/// @file
/// The nodes to the left and to the right of a section.
#pragma once

#include "mesh/Mesh.h"

#include <cstddef>
#include <vector>

namespace percova
{

/// Divides a mesh along a polyline into the nodes on its left and those on its right; those on the
/// line count to the side without elements, else to the left. What flows from the former to the
/// latter goes through elements that have nodes of both, so in a steady state the sum of those
/// elements' nodal flows is the flow across the line, and balances with the boundaries as well as
/// the nodes do.
class SectionSides
{
public:
    /// @param cut  elements whose inside the line goes through, in any order
    SectionSides(const Mesh& mesh, const Polyline& line, const std::vector<std::size_t>& cut);

    /// False where a way leads around the line, as around one that ends inside the mesh: then there
    /// is no left and right.
    bool Divides() const { return divides_; }

    /// An element with nodes of both sides.
    struct Share
    {
        std::size_t element;
        unsigned left; ///< bit k: node k of the element is on the left
    };
    const std::vector<Share>& Shares() const { return shares_; }
    /// By node: whether it lies on the line.
    const std::vector<char>& IsOnLine() const { return isOn_; }

private:
    std::vector<char> isOn_;
    std::vector<Share> shares_;
    bool divides_ = false;
};

} // namespace percova
