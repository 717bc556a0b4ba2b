/// @file
/// From the contents of a mesh file to a mesh for computation.
#pragma once

#include "mesh/Mesh.h"
#include "mesh/MshFile.h"
#include "problem/Faults.h"

namespace percova
{

/// Checks everything in @p file and makes @p mesh of it.
/// @returns false when there is no usable mesh; every reason is in @p faults
bool BuildMesh(const MshFile& file, Mesh& mesh, Faults& faults, double metres,
               const NodeJoin& join);

} // namespace percova
