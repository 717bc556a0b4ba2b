/// @file
/// Safety against piping and uplift: exit gradients, and pore pressures along lines.
#pragma once

#include "analysis/model/Results.h"
#include "analysis/results/Flows.h"

namespace percova
{

/// Fills the exits of @p result: the gradients over given heads and seepage faces where water
/// leaves saturated soil.
///
/// Upward flow lifts soil whose weight under water it reaches, at the critical gradient
/// (gamma_sat - gamma_w) / gamma_w (Terzaghi). The factor compares that with the upward part of the
/// gradient, the mean over a side of an element. Where a given head ends at an impervious side
/// under water the gradient grows without limit as the sides get shorter.
void EvaluateExits(const Solution& solution, StepResult& result);

/// Fills the uplifts of @p result, exact for the pressures of the elements but for curved ones.
void EvaluateUplifts(const Solution& solution, StepResult& result);

} // namespace percova
