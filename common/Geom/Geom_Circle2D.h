/// @file
/// Circles of the plane.
///
/// A circle with a negative or NaN radius, or with a centre that is not finite, contains and meets
/// nothing; one of radius 0 is its centre. Points with a NaN, infinite or missing coordinate are on
/// no circle.
#pragma once

#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_Point.h"
#include "Geom/Geom_Precision.h"
#include "foundation/gtl_fixed_vector.h"
#include "foundation/kvi_export.h"

namespace Geom
{

/// A circle.
struct Circle2D
{
    Point2D centre;    ///< the centre
    double radius = 0; ///< the radius

    /// Exact equality.
    friend bool operator==(const Circle2D&, const Circle2D&) = default;
};

/// The points where a line meets a circle: none, one, or two.
using CircleLinePoints = gtl::fixed_vector<Point2D, 2, 8>;

/// The circle about @p centre through @p edgePoint.
KVI_API Circle2D CircleGet2D(const Point2D& centre, const Point2D& edgePoint);
/// pi r r.
KVI_API double CircleArea2D(const Circle2D& circle);
/// (pi + pi) r.
KVI_API double CircleCircumference2D(const Circle2D& circle);
/// Whether some point of the box of half-epsilons about @p p lies within the circle or on its rim.
/// @param excludeRim  true: whether the whole of that box lies inside, clear of the rim
KVI_API bool CircleContainsPoint2D(const Circle2D& circle, const Point2D& p, bool excludeRim,
                                   const Precision3D& precision);
/// The point of the rim in the direction @p angle (radians, counter-clockwise from x).
KVI_API Point2D CircleEdgePoint2D(const Circle2D& circle, double angle);
/// The point of the rim nearest to @p p: (centre.x + r, centre.y) for the exact centre, missing for
/// a point that is not finite.
KVI_API Point2D CircleEdgeClosestPoint2D(const Circle2D& circle, const Point2D& p);
/// Whether two discs have a common point, also when one lies within the other: whether the box of
/// process-wide half-epsilons about one centre comes within the sum of the radii of the other.
KVI_API bool CircleIsCollision2D(const Circle2D& a, const Circle2D& b);

/// The points where the rim meets the segment @p line, in the order from its first to its second
/// point, with the process-wide precision. Two points equal within it are one, the foot of the
/// perpendicular from the centre, and so is a line that comes that close to the rim. A meeting
/// point just beyond an end is that end when they are equal, or when the end lies on the rim.
/// @returns the number of points in @p out
KVI_API int CircleLineIntersection2D(CircleLinePoints& out, const Circle2D& circle,
                                     const Line2D& line);
/// The points where the rim meets the infinite line through the ends of @p line; otherwise as
/// CircleLineIntersection2D. Ends equal within the precision are a point, the first one. Whether
/// the line reaches the rim is decided with 100 bits, and points are right to a few units in the
/// last place of the larger of their coordinates and the radius.
/// @returns the number of points in @p out
KVI_API int CircleInfLineIntersection2D(CircleLinePoints& out, const Circle2D& circle,
                                        const Line2D& line);

} // namespace Geom
