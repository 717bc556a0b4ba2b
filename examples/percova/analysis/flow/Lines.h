/// @file
/// Sources and lines of uplift bound to the mesh.
#pragma once

#include "analysis/model/Model.h"
#include "mesh/LineCut.h"

namespace percova
{

/// Divides the rate of every source among nodes. At a point they are those of its element, each
/// with its shape function there; along a line the shape functions are integrated by Gauss points
/// on its pieces, along a physical curve on its sides. On a common side of elements these share
/// alike, which on a wall feeds both of its sides.
///
/// A source that is not in the mesh with its whole length is a fault, with the place.
void BindSources(const LineCutter& cutter, Model& model, Faults& faults);

/// Cuts the lines of uplift; one that is not in the mesh with its whole length is a fault.
void BindUplifts(const LineCutter& cutter, Model& model, Faults& faults);

} // namespace percova
