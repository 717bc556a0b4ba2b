/// @file
/// Turns, areas, angles and rotations. Angles are radians, counter-clockwise positive, unless the
/// name says degrees. Sines, cosines and arc tangents are implemented here and give the same bits
/// on every platform.
#pragma once

#include "Geom/Geom_Point.h"
#include "Geom/Geom_Precision.h"
#include "foundation/kvi_export.h"

namespace Geom
{

/// The direction in which a path turns.
enum class TurnOrientation : int
{
    CounterClockwise = -1, ///< left
    Collinear = 0,         ///< straight on, or back
    Clockwise = 1          ///< right
};

/// The turn on the way from @p a to @p b to @p p. Collinear when the infinite line through a and b
/// meets the box of half-epsilons about p: |(b - a) x (p - a)| <= hx |b.y - a.y| + hy |b.x - a.x|;
/// so also when a is exactly b, and when a coordinate is NaN or infinite. Exact like
/// LineContainsPoint2D.
KVI_API TurnOrientation VectorTurn2D(const Point2D& a, const Point2D& b, const Point2D& p,
                                     const Precision3D& precision);

/// Twice the signed area of a triangle, (b.x - a.x)(c.y - a.y) - (b.y - a.y)(c.x - a.x): positive
/// when @p a, @p b, @p c turn counter-clockwise. In plain doubles, for measuring; use VectorTurn2D
/// for decisions.
KVI_API double TriArea2x2D(const Point2D& a, const Point2D& b, const Point2D& c);
/// TriArea2x2D times 0.5.
KVI_API double TriArea2D(const Point2D& a, const Point2D& b, const Point2D& c);

/// The angle from the vector @p u to @p v, above -pi and up to pi; 0 when one of them is zero, NaN
/// when one is not finite.
KVI_API double VectorAngle2D(const Point2D& u, const Point2D& v);
/// The magnitude of VectorAngle2D, from 0 to pi.
KVI_API double VectorAbsAngle2D(const Point2D& u, const Point2D& v);
/// The angle between @p u and @p v in space, from 0 to pi; 0 when one of them is zero, NaN when one
/// is not finite.
KVI_API double VectorAngle3D(const Point3D& u, const Point3D& v);
/// The vector @p v turned counter-clockwise by @p angle; NaN for an angle that is not finite.
KVI_API Point2D VectorRotate2D(const Point2D& v, double angle);

/// The direction from @p a to @p b in degrees, from 0 (along x) counter-clockwise to below 360; the
/// multiples of 45 are exact. 0 when the points are exactly equal.
KVI_API double CalcAngleInDegreesFromLineEndPts2D(const Point2D& a, const Point2D& b);
/// The point at the distance @p length from @p p in the direction @p angle (radians from x).
KVI_API Point2D CalcPtFromAngle2D(const Point2D& p, double angle, double length);

} // namespace Geom
