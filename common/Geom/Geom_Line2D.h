/// @file
/// Segments of the plane: their order, and the position of points relative to them.
#pragma once

#include "Geom/Geom_Point.h"
#include "Geom/Geom_Precision.h"
#include "foundation/kvi_export.h"

#include <utility>

namespace Geom
{

/// A segment. LineGet2D puts the lower-left point first; other lines are taken as given.
struct Line2D
{
    Point2D first;  ///< the first point
    Point2D second; ///< the second point

    /// Exact equality, in this order of points.
    friend bool operator==(const Line2D&, const Line2D&) = default;
};

/// The tolerant point order with the half-epsilons hx, hy: whether @p p lies clearly left of @p q
/// (q.x - hx > p.x), or in its column or right of it (q.x + hx >= p.x) and clearly below (q.y - hy
/// > p.y). It has cycles: never use it for sorting or in a sorted container.
KVI_API bool PointPrecedes2D(const Point2D& p, const Point2D& q, const Precision3D& precision);

/// The segment from @p p1 to @p p2 when p1 precedes p2 in the tolerant order of the process-wide
/// precision, otherwise from p2 to p1. Points equal within the tolerance are therefore swapped;
/// that is intended.
KVI_API Line2D LineGet2D(const Point2D& p1, const Point2D& p2);

/// The least and greatest y of the segment @p a - @p b at the abscissa @p x. A segment is vertical
/// when its ends are no further apart on x than the process-wide half-epsilon; otherwise the two
/// are equal. An abscissa up to the half-epsilon beyond an end gives that end; further out, or with
/// NaN, both are missing.
KVI_API std::pair<double, double> LineGetY2D(const Point2D& a, const Point2D& b, double x);

/// Whether @p p lies on the segment @p a - @p b: whether the segment meets the box of half-epsilons
/// about p, sides included. The ends count. No point with a NaN, infinite or missing coordinate is
/// on a segment, and none is on a segment with one. Polygons, regions and the quadtree use this
/// rule for points on a border.
///
/// The answer is that of exact arithmetic whenever the coordinates and half-epsilons other than 0
/// are less than a factor of 1e200 apart in size.
KVI_API bool LineContainsPoint2D(const Point2D& a, const Point2D& b, const Point2D& p,
                                 const Precision3D& precision);
/// The same with the process-wide precision.
/// @param excludeEnds  true: a point equal to an end (IsEqual2D) does not count
KVI_API bool LineContainsPoint2D(const Point2D& a, const Point2D& b, const Point2D& p,
                                 bool excludeEnds);

/// The point of the segment @p a - @p b nearest to @p p by Euclidean distance; the end itself where
/// that is an end. Missing when a coordinate is NaN, infinite or missing.
/// @param excludeEnds  true: missing also when the nearest point is equal to an end (IsEqual2D)
KVI_API Point2D LineClosestPoint2D(const Point2D& p, const Point2D& a, const Point2D& b,
                                   bool excludeEnds, const Precision3D& precision);
/// The point of the infinite line through @p a and @p b nearest to @p p: the foot of the
/// perpendicular. Points a and b that are equal within @p precision give no direction: the answer
/// is a. Missing when a coordinate is NaN, infinite or missing.
KVI_API Point2D InfLineClosestPoint2D(const Point2D& p, const Point2D& a, const Point2D& b,
                                      const Precision3D& precision);
/// The Euclidean distance from @p p to its LineClosestPoint2D, or the missing value when there is
/// no such point; the flag is that of LineClosestPoint2D.
KVI_API double LineDistanceToPoint2D(const Point2D& a, const Point2D& b, const Point2D& p,
                                     bool excludeEnds, const Precision3D& precision);

} // namespace Geom
