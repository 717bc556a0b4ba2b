/// @file
/// A physical curve of the mesh as one line.
#pragma once

#include "mesh/Mesh.h"

namespace percova
{

/// The sides of physical curve @p group one after the other, from the end of smaller x (of smaller
/// y where both have one x) to the other; curved sides as ChordsOf has them.
/// @returns no points when the sides are in several pieces, branch or close a ring
Polyline LineOfCurve(const Mesh& mesh, int group);

} // namespace percova
