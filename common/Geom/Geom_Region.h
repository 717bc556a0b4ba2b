/// @file
/// Regions of the plane: an outline and the holes in it.
#pragma once

#include "Geom/Geom_Point.h"
#include "Geom/Geom_Polygon.h"
#include "Geom/Geom_Precision.h"
#include "foundation/kvi_export.h"

#include <cstddef>
#include <vector>

namespace Geom
{

/// An area with holes. Every ring is closed, its last point repeats its first; its direction does
/// not matter.
struct Region2D
{
    std::vector<Point2D> outline;            ///< the outer ring
    std::vector<std::vector<Point2D>> holes; ///< rings within it
};

/// The position of @p p relative to a region. Borders are tested first: a point on an edge of any
/// ring, by LineContainsPoint2D, is on the border; any other is inside when it lies within an odd
/// number of rings. Of a region with a NaN, infinite or missing coordinate every point is outside.
/// Time proportional to the points of the region; for many points put regions into a QuadTree2D.
/// @code
/// const Region2D soil = {{{0, 0}, {9, 0}, {9, 4}, {0, 4}, {0, 0}},
///                        {{{2, 1}, {3, 1}, {3, 2}, {2, 1}}}};
/// if (RegionCheck2D(soil, Precision()).IsSound() &&
///     RegionLocatePoint2D(soil, {1, 1}, Precision()) == PointLocation::Inside)
///     Mesh(soil);
/// @endcode
KVI_API PointLocation RegionLocatePoint2D(const Region2D& region, const Point2D& p,
                                          const Precision3D& precision);

/// The area of the outline less those of the holes, each without its sign: the area of a valid
/// region.
KVI_API double RegionArea2D(const Region2D& region);

/// Why a region is not sound.
enum class RegionFlaw : int
{
    None = 0,      ///< it is sound
    NotFinite,     ///< a coordinate is NaN, infinite or missing
    TooFewPoints,  ///< a ring of fewer than four points
    NotClosed,     ///< the last point of a ring does not equal its first (IsEqual2D)
    RepeatedPoint, ///< two neighbours along a ring are equal (IsEqual2D)
    SelfContact,   ///< a ring crosses or touches itself, or turns back on itself
    RingContact,   ///< two rings cross or touch each other
    HoleOutside,   ///< a hole is not within the outline
    HoleInHole     ///< a hole is within another one
};

/// The result of RegionCheck2D. Rings are counted from the outline, 0; hole i is i + 1.
struct RegionFault2D
{
    RegionFlaw flaw = RegionFlaw::None;      ///< why the region is not sound
    std::size_t ring = 0;                    ///< the ring at fault
    std::size_t otherRing = 0;               ///< the ring that it meets or lies in; else the same
    std::size_t edge = 0;                    ///< its edge or first point at fault, from 0
    Point2D place = MissingValue<Point2D>(); ///< the location; missing when there is none

    /// Whether there is no fault.
    bool IsSound() const { return flaw == RegionFlaw::None; }
};

/// Whether a region is sound: closed rings of finite points, none of which has a contact with
/// itself beyond the common points of neighbouring edges, or with another ring (LineIntersection2D,
/// so within the half-epsilons), every hole within the outline and none within another.
///
/// That rings touch at single points is a fault too, since within the tolerance a touch cannot be
/// distinguished from a crossing. The fault reported is the first in the order of RegionFlaw; among
/// equals that of the lowest ring and edge. About n log n time for n points, and the product of
/// holes and points.
KVI_API RegionFault2D RegionCheck2D(const Region2D& region, const Precision3D& precision);

} // namespace Geom
