/// @file
/// Seepage in time: dW/dt = div(K(psi) grad h).
#pragma once

#include "analysis/Analysis.h"
#include "analysis/model/Model.h"
#include "analysis/model/Results.h"

#include <string>

namespace percova
{

/// Computes the outputs of a model with a time block, except those that @p results has from an
/// earlier run, from whose last state it continues.
///
/// Time: the two-stage, singly diagonally implicit Runge-Kutta method of second order of Alexander
/// (1977), L-stable and stiffly accurate, in the mixed form: the water stored in a step is that at
/// its end less that at its start, so water is conserved to the tolerance of the nodal balances
/// whatever the length of the step. The local error of the head is that against an embedded formula
/// of third order, or of first order in the step after a jump of a given head, passed through the
/// matrix of the step (Hosea and Shampine 1996). A step above the tolerance, or one that Newton's
/// method does not solve, is repeated with a shorter length. Steps end on outputs, kinks, jumps and
/// starts.
///
/// Space: the elements and conductivities of the steady analysis, with lumped storage.
/// @returns as Analyse does; a run that fails has its reason in Results::stopped
bool AnalyseInTime(const Model& model, const Watch& watch, Results& results, std::string& reason);

} // namespace percova
