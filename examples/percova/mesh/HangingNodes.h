/// @file
/// Nodes of a mesh that lie on a side of an element without being one of its nodes.
#pragma once

#include "mesh/Mesh.h"
#include "problem/Faults.h"

namespace percova
{

/// Warns of every such node with its place: the elements on both sides of it do not hang together,
/// and no water passes between them. Doubled nodes, by which a mesh is cut open along a wall, are
/// no such nodes.
void WarnOfHangingNodes(const Mesh& mesh, Faults& faults);

} // namespace percova
