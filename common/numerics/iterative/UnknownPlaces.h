/// @file
/// @internal The points and directions of a system's unknowns.
#pragma once

#include <vector>

namespace numerics
{

/// The displacement that each equation is for, and where.
struct UnknownPlaces
{
    int dimensions = 0;           ///< 2 or 3; 0 when the places are unknown
    std::vector<int> component;   ///< of each equation, the axis
    std::vector<double> position; ///< dimensions coordinates an equation, from -1 to 1
    /// For each node and axis the equation, -1 where there is none. Equations of a node have equal
    /// coordinates; of several nodes at one point, as at an interface, the first has the lowest
    /// numbers.
    std::vector<int> nodes;

    /// Are the equations of node k those from k * dimensions on, in the order of the axes?
    bool AreInOrder() const;
};

/// Finds the nodes, and shifts and scales the coordinates. The places are unknown where a component
/// is -1, where most nodes lack a component, where many or all are at one point, and where memory
/// runs out.
UnknownPlaces FindPlaces(int dimensions, const std::vector<int>& component,
                         const std::vector<double>& position);

} // namespace numerics
