/// @file
/// Heads of an earlier run, read from its files.
#pragma once

#include "analysis/model/Model.h"

#include <string>
#include <vector>

namespace percova
{

/// Reads the heads that Problem::initial names, from a VTU as percova writes it or through the
/// result.json of a run: node by node on the same mesh, interpolated on another.
/// @param[out] head  by node [m]
/// @returns false with the reason when the file cannot be used, or does not cover the mesh
bool ReadEarlierHeads(const Model& model, std::vector<double>& head, std::string& reason);

} // namespace percova
