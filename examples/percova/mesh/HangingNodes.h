/// @file
/// Nodes of a mesh that lie on a side of an element without being one of its nodes.
#pragma once

#include "mesh/Mesh.h"
#include "problem/Faults.h"

namespace percova
{

/// Warns of every such node with its position: the elements on both sides of it are disconnected,
/// and no water passes between them. Duplicated nodes, by which a mesh is split along a wall, are
/// not reported.
void WarnOfHangingNodes(const Mesh& mesh, Faults& faults);

} // namespace percova
