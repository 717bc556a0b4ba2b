/// @file
/// Whether something sets the level of the heads.
#pragma once

#include "analysis/model/Model.h"
#include "problem/Faults.h"

namespace percova
{

/// In a steady analysis every part of the mesh needs a boundary that gives a head or lets water
/// out: without one its heads are known but for a constant, and a flux into it has no way out. In
/// time, stored water sets the level too. Reports each part that has neither, the first step alone.
void CheckLevels(const Model& model, Faults& faults);

} // namespace percova
