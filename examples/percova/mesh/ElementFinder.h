/// @file
/// The elements that contain a point.
#pragma once

#include "KVI.h"
#include "mesh/Mesh.h"

#include <cstddef>
#include <vector>

namespace percova
{

/// A place in an element by its local coordinates.
struct ElementPlace
{
    std::size_t element = 0;
    double r = 0, s = 0;
};

/// Finds the elements around points, through the library's quadtree. Any thread may query.
class ElementFinder
{
public:
    /// @param where  boxes that all points looked for are in, a few; empty: anywhere
    explicit ElementFinder(const Mesh& mesh, const std::vector<Geom::Extents2D>& where = {});

    /// Every element that contains @p at, in the order of the mesh: several on a common side.
    /// @param mesh  the same as before, or a copy
    std::vector<ElementPlace> At(const Mesh& mesh, Point at) const;

private:
    Geom::QuadTree2D tree_; ///< of rings that hold the elements, curved sides included
};

/// The local coordinates of @p at, which lies in element @p e or near it.
/// @returns a LocalCoords
int FindInElement(const Mesh& mesh, std::size_t e, Point at, ElementPlace& place);

} // namespace percova
