/// @file
/// The conditions of the boundaries at the nodes.
#pragma once

#include "analysis/model/Model.h"

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace percova
{

/// A node with a limit is held at it while that lets less water in, or out, than its boundary
/// supplies: on a seepage face the limit is zero pressure and the boundary supplies nothing; on a
/// flux boundary it is the ponding head, or the least pressure head.
///
/// Of several boundaries that meet in a node a given head comes before a seepage face, and that
/// before an inflow (which then counts all the same); of several given heads the first in the
/// problem file holds.
struct NodeConditions
{
    std::vector<double> head;       ///< by node: the given head, missing where none is given
    std::vector<int> seepage;       ///< by node: its boundary if that has limits, else -1
    std::vector<double> upper;      ///< by node: head at its upper limit, where seepage is not -1
    std::vector<double> lower;      ///< by node: head at its lower limit, where seepage is not -1
    std::vector<double> load;       ///< by node: inflow of flux boundaries and sources [m3/s per m]
    std::vector<double> loadSum;    ///< by boundary: its whole load, 0 where it is no flux boundary
    std::vector<double> sourceLoad; ///< by node: the sources' part of load; empty without sources
    std::vector<double> sourceRate; ///< by source: its whole rate [m3/s per m]

    bool HasHead(std::size_t node) const;
    double SourceLoad(std::size_t node) const { return sourceLoad.empty() ? 0 : sourceLoad[node]; }
};

/// Whether the boundaries of a type hold nodes at heads, given ones or that of a seepage face.
constexpr bool HoldsHeads(BoundaryType type)
{
    return type != BoundaryType::Flux && type != BoundaryType::NoFlow;
}

/// Heads between which all heads of a steady flow lie.
struct HeadBounds
{
    double lowest = -std::numeric_limits<double>::infinity();
    double highest = std::numeric_limits<double>::infinity();
};

/// The least and the greatest head at which the boundaries may hold a node (the maximum principle);
/// infinite where inflow may raise heads above the greatest, or outflow lower them below the least.
/// The heads at the nodes of a mesh may lie somewhat beyond, where elements have obtuse angles.
HeadBounds BoundsOf(const NodeConditions& conditions);

/// Conditions of step @p step of the model's problem.
NodeConditions Gather(const Model& model, const Step& step);

/// Gauss points along a side: position, share of each node, outward normal times weight [m].
struct EdgePoint
{
    double t = 0; ///< place along the side, from 0 to 1
    double x = 0, y = 0;
    double N[3] = {}; ///< of first, last and middle node
    double normalX = 0, normalY = 0;
    double length = 0;
};
constexpr int kEdgePoints = 4;
/// The kEdgePoints integration points of @p edge; the normal points to its right.
void PointsOf(const Mesh& mesh, const Edge& edge, EdgePoint points[kEdgePoints]);

} // namespace percova
