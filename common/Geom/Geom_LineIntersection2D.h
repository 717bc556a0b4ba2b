/// @file
/// Where segments and infinite lines of the plane meet.
///
/// Two segments have a common point when the box of half-epsilons about some point of the one meets
/// the other: when they cross, or when an end of one lies on the other (LineContainsPoint2D). The
/// tests are exact like LineContainsPoint2D and the same for the segments in either order and for
/// their points in either order. Segments of no length are points. A segment with a coordinate that
/// is NaN, infinite or missing meets nothing.
#pragma once

#include "Geom/Geom_Point.h"
#include "Geom/Geom_Precision.h"
#include "foundation/kvi_export.h"

namespace Geom
{

/// The common points of two segments that a caller asks for.
enum class IntersectionType : int
{
    Any = 0,      ///< every common point
    Crossing = 1, ///< a proper crossing: no end lies on the other segment
    Touching = 2, ///< one point, where an end lies on the other segment
    Overlap = 3   ///< a common piece
};

/// The common points of the segments @p a1 - @p b1 and @p a2 - @p b2.
///
/// The ends that lie on the other segment decide: if there are none, the segments cross or are
/// disjoint; if all are equal within the tolerance, they touch in one point; otherwise they overlap
/// from one such end to another. A crossing point is rounded into the box of both segments.
/// @param out1  the common point, or the lower-left end of the overlap; missing when there is none
/// @param out2  the other end of the overlap, or missing
/// @returns 0 for none, 1 for one point (crossing or touching), 2 for an overlap
KVI_API int LineIntersection2D(Point2D& out1, Point2D& out2, const Point2D& a1, const Point2D& b1,
                               const Point2D& a2, const Point2D& b2, const Precision3D& precision);
/// The first point of LineIntersection2D with the process-wide precision if the intersection is of
/// @p type; otherwise missing.
KVI_API Point2D LineIntersection2D(const Point2D& a1, const Point2D& b1, const Point2D& a2,
                                   const Point2D& b2, IntersectionType type);
/// The intersection of the infinite lines through @p a1, @p b1 and through @p a2, @p b2. Missing
/// when they are parallel, that is when over the length of each pair of points the distance to the
/// other line changes by no more than the process-wide tolerance (the measure of VectorTurn2D);
/// when the points of a pair are equal within it; when a coordinate or the result is not finite.
KVI_API Point2D InfLineIntersection2D(const Point2D& a1, const Point2D& b1, const Point2D& a2,
                                      const Point2D& b2);
/// The first point of contact on the way from @p a1 to @p b1 with the segment @p a2 - @p b2: of the
/// points of LineIntersection2D with the process-wide precision the one nearer to a1; or missing.
KVI_API Point2D LineCollision2D(const Point2D& a1, const Point2D& b1, const Point2D& a2,
                                const Point2D& b2);
/// Whether the segments cross properly: in one point inside both, with no end of either on the
/// other.
KVI_API bool LineIsCrossing2D(const Point2D& a1, const Point2D& b1, const Point2D& a2,
                              const Point2D& b2, const Precision3D& precision);

} // namespace Geom
