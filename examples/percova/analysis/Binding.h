/// @file
/// From a problem and its mesh to the model that is analysed.
#pragma once

#include "analysis/model/Model.h"

namespace percova
{

/// Gives every element its material and every boundary its sides, by the groups of the mesh or,
/// where it has none, by polygon and line. Fills the members of @p model after the mesh.
/// @returns false when a name or a position matches nothing; every reason is in @p faults
bool Bind(Model& model, Faults& faults);

} // namespace percova
