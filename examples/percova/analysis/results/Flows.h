/// @file
/// Flows over the boundaries, from nodal reactions and by integration; stored water; exits.
#pragma once

#include "analysis/flow/NodeConditions.h"
#include "analysis/model/Model.h"
#include "analysis/model/Results.h"
#include "analysis/model/Soil.h"

#include <vector>

namespace percova
{

/// A solved step, as input of the evaluations.
struct Solution
{
    const Model& model;
    const Step& step;
    const std::vector<Soil>& soils;
    const NodeConditions& conditions;
    const std::vector<double>& head;   ///< by node
    const std::vector<double>& inflow; ///< by node: inflow from outside [m3/s per m]
};

/// Fills the flows, the mass balance and the seepage faces of @p result, and warns of boundaries
/// whose integrated flux differs much from the flow of their nodes.
///
/// Nodal flows balance on any mesh. The integrated flux is only as good as the gradients along the
/// boundary: where a given head ends at an impervious side these grow like r^-1/2, so the error
/// falls with the square root of the sides' length. Large differences indicate a coarse mesh.
///
/// A node's reaction belongs to its boundary. Where boundaries meet in a node each gets the flux
/// over its own sides at the node, and the rest is divided by the lengths of these sides, to given
/// heads before seepage faces. Between seepage faces only the lengths decide.
///
/// The exit of a seepage face is its highest point above which no more than a thousandth of the
/// model's outflow comes out, on a level face the first such point from the end that gives less.
/// Over a drain it is where the free surface meets it: dripping from the fringe beside it does not
/// count. A face with less outflow in total has no exit.
/// @returns the nodes over a drain beside the free surface: they are at zero pressure, but only
///          receive dripping from the fringe
std::vector<int> EvaluateFlows(const Solution& solution, StepResult& result);

/// Integral of the water content [m3/m]; missing when a material has no curve.
double StoredWater(const Solution& solution);

} // namespace percova
