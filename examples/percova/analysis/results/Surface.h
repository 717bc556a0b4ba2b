/// @file
/// Lines of zero pressure.
#pragma once

#include "KVI.h"
#include "mesh/Mesh.h"
#include "problem/Problem.h"

#include <vector>

namespace percova
{

/// The lines on which the pressure head is zero, each an ordered polyline that starts at its end
/// of smaller x (a closed one ends where it starts); the one with the most points first. Soil at
/// zero pressure counts as wet, so on a seepage face the line ends at the exit.
/// @param psi  pressure head by node [m]
/// @param dry  nodes that count as dry despite their zero pressure
std::vector<Polyline> ZeroPressureLines(const Mesh& mesh, const DataTable::Values& psi,
                                        const std::vector<int>& dry);

} // namespace percova
