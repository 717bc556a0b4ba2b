/// @file
/// Whether the elements of a mesh hang together.
#pragma once

#include "mesh/Mesh.h"
#include "problem/Faults.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace percova
{

/// Elements that share nodes, directly or through others, form a part of the mesh.
struct MeshParts
{
    std::vector<int> ofNode; ///< by node: its part, from 0 in the order of the first nodes
    int count = 0;
};
MeshParts PartsOf(const Mesh& mesh);

/// Pairs of nodes that lie on each other, the lower index first. Only nodes of the rim can.
/// @param distance  [m]; 0: a millionth of the shortest side of the rim at the node
std::vector<std::pair<int, int>> CoincidentNodes(const Mesh& mesh, double distance);

/// Makes one node of those that lie on each other and belong to different parts. The nodes of one
/// part stay as they are: there the mesh is cut open on purpose, as along a wall.
/// @param[out] place  by node as they were: its index now
/// @returns how many nodes there are less
std::size_t JoinParts(Mesh& mesh, double distance, std::vector<int>& place);

/// Warns of parts that touch without sharing nodes: no water passes between them.
void WarnOfTouchingParts(const Mesh& mesh, Faults& faults);

} // namespace percova
