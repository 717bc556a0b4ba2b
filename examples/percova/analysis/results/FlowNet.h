/// @file
/// The stream function of a steady flow.
#pragma once

#include "analysis/flow/LinearSystem.h"
#include "analysis/results/Flows.h"

#include <string>
#include <vector>

namespace percova
{

/// The function s whose lines the water follows: q = (ds/dy, -ds/dx), so that between two lines
/// flows the difference of their values. It exists where nothing is stored and no source lies
/// inside.
///
/// On the rim it follows from the nodal flows, each placed on the sides that let water through.
/// Inside it solves the dual of the flow equation, div(K / (kr det K) grad s) = 0, by the same
/// elements.
///
/// @param system  of the mesh; its matrix is replaced
/// @param reason  why there is none
/// @returns by node, the least value being 0 in each part of the mesh; empty for none
std::vector<double> StreamFunction(const Solution& solution, LinearSystem& system,
                                   std::string& reason);

} // namespace percova
