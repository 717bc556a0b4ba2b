/// @file
/// The flux over the sides of elements.
#pragma once

#include "analysis/flow/NodeConditions.h"
#include "analysis/results/Flows.h"
#include "mesh/Mesh.h"

namespace percova
{

/// The flux over a side into one of its elements, at the points of PointsOf.
struct EdgeFlux
{
    double inflow[kEdgePoints] = {};  ///< times the weight of the point [m3/s per m]
    Point gradient[kEdgePoints] = {}; ///< of the head in the element
    double psi[kEdgePoints] = {};     ///< pressure head [m]
    bool isOutward = true;            ///< whether the points' normals point out of the element
};

/// @param element  one of those that @p edge is a side of; no flux for another one
EdgeFlux FluxOver(const Solution& solution, const Edge& edge, int element,
                  const EdgePoint points[kEdgePoints]);

} // namespace percova
