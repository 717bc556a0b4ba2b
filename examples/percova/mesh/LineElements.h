/// @file
/// From the line elements of a mesh file to sides of plane elements.
#pragma once

#include "mesh/Mesh.h"
#include "mesh/MshFile.h"
#include "mesh/NodeIndex.h"
#include "problem/Faults.h"

#include <vector>

namespace percova
{

/// Adds to @p mesh the line elements that are in a physical group, and their groups. One that is no
/// side of a plane element is an error.
/// @param kept  by node of the file: its index in the mesh, -1 for one that is not in it
void AddLineElements(const MshFile& file, const NodeIndex& index, const std::vector<int>& kept,
                     Mesh& mesh, Faults& faults);

} // namespace percova
