/// @file
/// The edges of a plane mesh, and the edges and elements that a line passes through.
#pragma once

#include "Geom/Geom_CellTable.h"
#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_Point.h"
#include "Geom/Geom_Precision.h"
#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace Geom
{

/// A point where a line meets the edges of a mesh: a node, or a point between the nodes of an edge.
/// CellTable::MissingID() means none.
struct MeshHit2D
{
    double parameter;   ///< 0 at the line's first point, 1 at its second
    Point2D point;      ///< the node, or where the line meets the edge
    std::uint32_t node; ///< the node; none at an edge
    std::uint32_t edge; ///< the edge; at a node the one along which the line continues, if any
    std::uint32_t from; ///< the element through which the line comes, none from outside
    std::uint32_t to;   ///< the element through which it continues, none outside and at its end
};

/// The edges of a mesh of polygons, each once, with the elements on either side.
///
/// Threads: any number may query concurrently after Initialize.
/// @code
/// MeshEdges2D edges;
/// if (edges.Initialize(nodes, corners, starts, Precision()).ok())
///     edges.Cut(hits, {{0, 5}, {100, 5}}); // a section, element by element
/// @endcode
class KVI_API MeshEdges2D
{
public:
    /// Without edges.
    MeshEdges2D();
    ~MeshEdges2D();
    MeshEdges2D(const MeshEdges2D&) = delete;
    MeshEdges2D& operator=(const MeshEdges2D&) = delete;

    /// Copies a mesh: element i has the nodes of number corners[starts[i]] up to, not including,
    /// corners[starts[i + 1]], in order along its border. About linear in the corners.
    /// @param nodes      are copied
    /// @param corners    numbers of nodes
    /// @param starts     ascending, from 0 to the number of corners; one more than elements
    /// @param precision  is copied; its half-epsilons decide what a line meets
    /// @returns an error, with no edges left, for starts or corners that break these rules, and
    /// when
    ///          memory runs out
    gtl::status Initialize(const std::vector<Point2D>& nodes,
                           const std::vector<std::uint32_t>& corners,
                           const std::vector<std::uint32_t>& starts, const Precision3D& precision);

    /// The number of edges.
    std::uint32_t NumEdges() const;
    /// The nodes of an edge, the lower first; none for an edge beyond the last.
    std::pair<std::uint32_t, std::uint32_t> NodesOf(std::uint32_t edge) const;
    /// The elements at an edge, the lower first; none for the outside, and for an edge beyond the
    /// last. For an edge of more than two elements the lowest two.
    std::pair<std::uint32_t, std::uint32_t> ElementsOf(std::uint32_t edge) const;

    /// The nodes and edges that @p line meets, in order along it. A node on the line
    /// (LineContainsPoint2D) is reported once, and the edges that end there are not reported in
    /// addition. Along an edge the line goes from node to node, through the lower of the elements
    /// beside it. A line that meets no edge is within one element or outside: a QuadTree2D can
    /// decide which.
    ///
    /// Time proportional to the edges in the cells of a grid along the line, at half a nanosecond
    /// or so each.
    /// @param hits  is replaced; empty for a line with a coordinate that is NaN, infinite, missing
    /// @throws std::bad_alloc when memory runs out; @p hits are then unspecified
    void Cut(std::vector<MeshHit2D>& hits, const Line2D& line) const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace Geom
