/// @file
/// Polygons: closed rings of points, their validity, measures and comparison.
///
/// A ring is closed: its last point repeats its first, so a triangle has four points. Counter-
/// clockwise is the valid direction. Functions without a precision argument use Geom::Precision().
/// None of them tests whether edges cross; LineCrossingEvents2D does. Where memory runs out,
/// PolygonGetLines2D and the functions that judge validity throw std::bad_alloc, as RegionCheck2D
/// does.
#pragma once

#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_Point.h"
#include "Geom/Geom_Precision.h"
#include "foundation/kvi_export.h"

#include <cstddef>
#include <vector>

namespace Geom
{

/// Appends LineGet2D(points[i], points[i + 1]) for each pair of neighbours: n - 1 lines for n
/// points, since a ring's last point repeats its first.
KVI_API void PolygonGetLines2D(std::vector<Line2D>& lines, const std::vector<Point2D>& points);

/// Whether the ring turns left at its lowest vertex, the rightmost of them if several are lowest;
/// where that vertex is straight within the process-wide precision, at the next one that is not.
/// False for n < 4.
///
/// One vertex decides, so a dent at the bottom that is hardly deeper than the tolerance can make a
/// valid counter-clockwise ring count as clockwise, and then PolygonIsValid2D as invalid: (0,0),
/// (10,-1e-9), (10.1,4e-5), (110,0), (110,50), (0,50), (0,0). For the direction of such a ring use
/// the sign of PolygonArea2D, for its validity RegionCheck2D.
KVI_API bool PolygonIsCCW2D(const Point2D* points, std::size_t n);

/// Whether no vertex of a counter-clockwise ring turns right; straight vertices are allowed. A
/// clockwise ring is never convex, by intention. True for n < 2.
KVI_API bool PolygonIsConvex2D(const Point2D* points, std::size_t n);

/// Whether a ring is valid: at least four points, closed, counter-clockwise, no two vertices
/// equal within the half-epsilons, and twice its area more than 5e-8 from 0.
///
/// All pairs of vertices are compared in effect, wherever they are in the ring; the time is
/// proportional to n (by hashed cells of a few half-epsilons). A ring with a NaN is invalid.
/// @param points    n points
/// @param n         their count
/// @param multiple  several closed rings one after another: each runs to the next point equal to
///                  its first, and each must be valid
KVI_API bool PolygonIsValid2D(const Point2D* points, std::size_t n, bool multiple);

/// Whether a ring in space is valid: its plan (z dropped) is a valid ring, and its points lie in
/// one plane within the half-epsilons on each axis. The plane is that of the first three
/// consecutive points not on a line. A vertical ring has no plan and is invalid.
KVI_API bool PolygonIsValid3D(const std::vector<Point3D>& points, const Precision3D& precision);

/// Whether two rings are the same up to the starting point, in the same direction of travel.
/// The comparison starts at the first point of @p b that equals a[1]. Two empty ones are equal,
/// and two single points when the points are.
KVI_API bool PolygonIsEqual2D(const std::vector<Point2D>& a, const std::vector<Point2D>& b);

/// The area of a ring, positive for a counter-clockwise one; 0 for n < 4. Taken relative to the
/// first point, so that large coordinates cost no digits.
KVI_API double PolygonArea2D(const Point2D* points, std::size_t n);

/// The centre of mass of the area of a ring, either direction. For a ring without area that of
/// its outline, for one point the point itself, for none the missing point.
KVI_API Point2D PolygonCentreOfMass2D(const Point2D* points, std::size_t n);

/// The position of a point relative to an area.
enum class PointLocation : int
{
    Outside = -1, ///< not in it, and not on its border
    OnBorder = 0, ///< on an edge of its border by LineContainsPoint2D
    Inside = 1    ///< in it, and not on its border
};

/// The position of @p p relative to a ring of either direction, by the even-odd rule. The border is
/// tested first: the rule applies only to points on no edge. Nothing lies in or on a ring of which
/// a coordinate is NaN, infinite or missing, nor does a point with such a coordinate.
/// @param points     n points; the ring is not closed if its last point does not repeat its first
/// @param n          their count
/// @param p          the query point
/// @param precision  whose half-epsilons decide what lies on an edge
KVI_API PointLocation PolygonLocatePoint2D(const Point2D* points, std::size_t n, const Point2D& p,
                                           const Precision3D& precision);

/// Whether @p p lies inside a ring by PolygonLocatePoint2D.
/// @param points, n, p, precision  as there
/// @param withEdges  true: or on its border
KVI_API bool PolygonContainsPoint2D(const Point2D* points, std::size_t n, const Point2D& p,
                                    bool withEdges, const Precision3D& precision);

} // namespace Geom
