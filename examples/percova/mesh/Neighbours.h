/// @file
/// Which elements meet at a node and on the two sides of a side.
#pragma once

#include "mesh/Mesh.h"

#include <array>
#include <cstddef>
#include <vector>

namespace percova
{

/// Fills placeStart, nodePlaces, placeElement and across of @p mesh out of its elements. Uses all
/// threads.
void FindNeighbours(Mesh& mesh);

/// Side @p side of element @p element, its nodes in the element's direction, and the element across
/// it; no group.
Edge SideOf(const Mesh& mesh, std::size_t element, int side);

/// For each pair of corners the side between them of the first element that has one; without an
/// element where none has. Costs a pass over the mesh.
std::vector<Edge> SidesBetween(const Mesh& mesh, const std::vector<std::array<int, 2>>& corners);

/// Calls @p visit(edge) with every side of the mesh once, as a side of its first element.
template <class Visit>
void ForEachSide(const Mesh& mesh, Visit visit)
{
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
        for (int side = 0; side < Corners(mesh.type[e]); ++side)
        {
            const int across = mesh.Across(e, side);
            if (across < 0 || static_cast<std::size_t>(across) > e)
                visit(SideOf(mesh, e, side));
        }
}

/// Sides that only one element has: the rim of the mesh, each side once.
std::vector<Edge> RimOf(const Mesh& mesh);

} // namespace percova
