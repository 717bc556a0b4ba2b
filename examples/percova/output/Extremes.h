/// @file
/// The least and the greatest values of the fields.
#pragma once

#include "analysis/model/Results.h"
#include "mesh/Mesh.h"

namespace percova
{

/// Finds the least and the greatest nodal value of each field of @p step; a field that no node has
/// is left out.
/// @param mesh  in the units of the problem file, as @p step is
void FindExtremes(const Units& units, const Mesh& mesh, StepResult& step);

} // namespace percova
