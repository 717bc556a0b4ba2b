/// @file
/// A quadtree over polygons for point location.
#pragma once

#include "Geom/Geom_Extents2D.h"
#include "Geom/Geom_Point.h"
#include "Geom/Geom_Precision.h"
#include "foundation/kvi_export.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Geom
{

struct Region2D;

/// Finds the polygons (elements of a mesh, say) that contain a point, meet a box, or are nearest to
/// a point.
///
/// An item is a ring of points or a region; a ring whose last point is not exactly its first is
/// closed by one more edge. It contains the points that PolygonLocatePoint2D (RegionLocatePoint2D)
/// with the tree's precision does not find outside. A ring with a NaN, infinite or missing
/// coordinate, and one without points, contains nothing.
///
/// An item is kept in nodes of its own size, at most 10 of them and 4 if it is about as wide as
/// high; a leaf splits into quadrants when it holds more items that are smaller than those than its
/// capacity. So mixed sizes and the order of insertion do not matter: large items are tested in
/// addition to the small ones, and do not multiply nodes. Clustered items cost four nodes per
/// halving down to their own size (31 halvings at the most) and else the nodes are in proportion to
/// the items; items of one size on one another are searched through one by one.
///
/// Where memory runs out, everything here throws std::bad_alloc; the identifiers asked for are then
/// unspecified, and the tree is as said below, or as it was.
///
/// Threads: any number may search concurrently while none changes the tree.
/// @code
/// QuadTree2D tree;
/// tree.Initialize(box, 10, Precision(), 0);
/// tree.Load(nodes, corners, starts, elementCount); // or Insert(i, ring) for each element
/// const unsigned element = tree.Find({x, y}); // or CellTable::MissingID()
/// @endcode
class KVI_API QuadTree2D
{
public:
    /// An empty tree over the empty box: capacity 10, the process-wide precision.
    QuadTree2D();
    ~QuadTree2D();
    /// @{
    /// Copies the whole tree; the copies are independent.
    QuadTree2D(const QuadTree2D& other);
    /// Replaces the content with a copy of the other tree's.
    QuadTree2D& operator=(const QuadTree2D& other);
    /// @}
    /// @{
    /// Leaves @p other an empty tree, or this one's former content. Allocating that empty tree may
    /// throw.
    QuadTree2D(QuadTree2D&& other); // NOLINT(performance-noexcept-move-constructor)
    /// Exchanges the contents of the two trees.
    QuadTree2D& operator=(QuadTree2D&& other) noexcept;
    /// @}

    /// Restarts with one root leaf.
    /// @param extents        the box; an empty one, or one with a NaN, holds no point
    /// @param capacity       items per leaf, at least 1 (0 counts as 1)
    /// @param precision      is copied
    /// @param expectedCount  items to set memory aside for
    void Initialize(const Extents2D& extents, unsigned capacity, const Precision3D& precision,
                    unsigned expectedCount);
    /// Adds an item; an existing identifier gets the new points instead of its old ones. An item
    /// may extend beyond the box, or lie outside: it is found only within the box.
    /// @returns false, with nothing changed, for the missing identifier
    /// @throws std::bad_alloc, std::length_error for 2^32 - 1 points and items together, or more;
    ///         the tree is then empty, or as it was
    bool Insert(std::uint32_t id, const std::vector<Point2D>& points);
    /// Insert of a region; one with a coordinate that is NaN, infinite or missing contains nothing.
    /// Its validity is not checked.
    bool InsertRegion(std::uint32_t id, const Region2D& region);
    /// Replaces all items by @p count rings from flat arrays, with the identifiers 0 to count - 1:
    /// item i has the points of number corners[starts[i]] up to, not including,
    /// corners[starts[i + 1]]. Several times as fast as inserting them. If memory runs out, the
    /// tree stays as it was.
    /// @param points   the points, such as the nodes of a mesh
    /// @param corners  numbers of points; null for points[starts[i]] up to points[starts[i + 1]]
    /// @param starts   count + 1 numbers in ascending order
    /// @param count    rings
    /// @returns false, with nothing changed, when @p starts descends
    /// @throws std::bad_alloc, std::length_error for 2^32 - 1 points and items together, or more
    bool Load(const Point2D* points, const std::uint32_t* corners, const std::uint32_t* starts,
              std::uint32_t count);
    /// The least identifier of the items that contain @p point, or CellTable::MissingID().
    /// A point further out of the box than the half-epsilons is in no item.
    std::uint32_t Find(const Point2D& point) const;
    /// Replaces @p ids by the identifiers of all items that contain @p point, ascending.
    /// @returns whether there is one
    bool FindAll(std::vector<std::uint32_t>& ids, const Point2D& point) const;
    /// Replaces @p ids by the identifiers of all items that have a point in common with @p box
    /// widened by the half-epsilons, ascending: tested by their interiors and borders, not their
    /// boxes. Only the part of it within the tree's own box counts.
    /// @returns whether there is one
    bool FindInBox(std::vector<std::uint32_t>& ids, const Extents2D& box) const;
    /// The item nearest to @p point, which may lie anywhere, by Euclidean distance; an item that
    /// contains it is at the distance 0. Of several at one distance the least identifier. Items
    /// outside the tree's box are ignored.
    /// @param point     the query point; nothing is near one that is NaN, infinite or missing
    /// @param distance  if not null, receives the distance, or the missing value
    /// @returns CellTable::MissingID() when there is none
    std::uint32_t FindNearest(const Point2D& point, double* distance = nullptr) const;
    /// Removes all items; box, capacity and precision stay.
    void Clear();

    /// Nodes of the tree, leaves included, for judging its shape.
    std::size_t NumNodes() const;
    /// Levels below the root.
    unsigned Depth() const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace Geom
