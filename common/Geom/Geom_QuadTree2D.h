/// @file
/// A quadtree over polygons that is asked which of them contains a point.
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

/// Finds the polygons (elements of a mesh, say) that contain a point.
///
/// An item is a ring of points; one whose last point is not exactly its first is closed by an edge
/// more. It contains the points inside by the even-odd rule and those on its edges as
/// LineContainsPoint2D has it, with the tree's precision. A ring with a NaN, infinite or missing
/// coordinate, and one without points, contains nothing.
///
/// A leaf splits into quadrants when it holds more items than its capacity, unless all of them are
/// at least four times its size, or its quadrants together would hold more items beyond their
/// capacity than it does: then it is tried again when the number of its items has doubled. So
/// clustered items cost a level per halving down to their own size (31 at the most), the nodes stay
/// in proportion to the items, and items that lie on one another share a leaf that is searched
/// through.
///
/// Threads: any number may search at once while none changes the tree.
/// @code
/// QuadTree2D tree;
/// tree.Initialize(box, 10, Precision(), elementCount);
/// for (unsigned i = 0; i < elementCount; ++i)
///     tree.Insert(i, corners[i]);
/// const unsigned element = tree.Find({x, y}); // or CellTable::MissingID()
/// @endcode
class KVI_API QuadTree2D
{
public:
    /// An empty tree over the empty box: capacity 10, the process-wide precision.
    QuadTree2D();
    ~QuadTree2D();
    /// @{
    /// Copies the whole tree; what is done to one leaves the other alone.
    QuadTree2D(const QuadTree2D& other);
    QuadTree2D& operator=(const QuadTree2D& other);
    /// @}
    /// @{
    /// Leaves @p other an empty tree, or this one's former content. Making that empty tree may
    /// want for memory.
    QuadTree2D(QuadTree2D&& other); // NOLINT(performance-noexcept-move-constructor)
    QuadTree2D& operator=(QuadTree2D&& other) noexcept;
    /// @}

    /// Starts anew with one root leaf.
    /// @param extents        the box; an empty one, or one with a NaN, holds no point
    /// @param capacity       items per leaf, at least 1 (0 counts as 1)
    /// @param precision      is copied
    /// @param expectedCount  items to set memory aside for
    void Initialize(const Extents2D& extents, unsigned capacity, const Precision3D& precision,
                    unsigned expectedCount);
    /// Adds an item; an identifier that is there already gets the new points instead of its old.
    /// An item may reach out of the box, or lie outside: it is found where it is within the box.
    /// @returns false, with nothing changed, for the missing identifier
    bool Insert(std::uint32_t id, const std::vector<Point2D>& points);
    /// The least identifier of the items that contain @p point, or CellTable::MissingID().
    /// A point further out of the box than the half-epsilons is in no item.
    std::uint32_t Find(const Point2D& point) const;
    /// Replaces @p ids by the identifiers of all items that contain @p point, ascending.
    /// @returns whether there is one
    bool FindAll(std::vector<std::uint32_t>& ids, const Point2D& point) const;
    /// Removes all items; box, capacity and precision stay.
    void Clear();

    /// Nodes of the tree, leaves included: what an owner looks at to judge its shape.
    std::size_t NumNodes() const;
    /// Levels below the root.
    unsigned Depth() const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace Geom
