/// @file
/// A problem file to start from.
#pragma once

#include "mesh/Mesh.h"

#include <ostream>
#include <string>

namespace percova
{

/// Writes a problem for @p mesh with its groups as regions and boundaries and with remarks on what
/// is to be filled in. Conductivities are null and all boundaries are impervious: no result comes
/// out of it before it is filled in. A mesh without groups gets its bounding box.
/// @param meshFile  as the problem file is to name it
void WriteNewProblem(std::ostream& out, const Mesh& mesh, const std::string& id,
                     const std::string& meshFile);

} // namespace percova
