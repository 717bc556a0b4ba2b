/// @file
/// The freeboard of the phreatic line.
#pragma once

#include "analysis/model/Model.h"
#include "analysis/model/Results.h"

namespace percova
{

/// Finds the least vertical distance from the ground surface down to a line of zero pressure: over
/// the whole surface first, then over each boundary and each physical curve that is part of it.
///
/// The ground surface is the top of the mesh above each x. Where soil at the surface is under
/// pressure above zero, no phreatic line counts below it. The whole surface leaves out the slope
/// that free water stands against, from the waterline up to where it no longer rises: there the
/// phreatic line begins at the surface. A side has it all. Sides without a line below them are
/// left out.
/// @param step    whose boundaries hold
/// @param result  its surface and its nodal values are read [m]
void FindFreeboards(const Model& model, const Step& step, StepResult& result);

} // namespace percova
