#include "Geom/Geom_Vector.h"

#include "Geom/exact/Plane.h"

#include <numbers>

namespace Geom
{
namespace
{

double SumOfSquares(const Point3D& v) { return v.x * v.x + v.y * v.y + v.z * v.z; }

/// @p v with its largest coordinate from 0.5 to 1.
Point3D UnitSized(const Point3D& v)
{
    const double factor = geom::UnitFactor({std::max(std::fabs(v.x), std::fabs(v.y)), v.z});
    return {v.x * factor, v.y * factor, v.z * factor};
}

} // namespace

TurnOrientation VectorTurn2D(const Point2D& a, const Point2D& b, const Point2D& p,
                             const Precision3D& precision)
{
    const int side = geom::SideOf(a, b, p, precision);
    return side == geom::kNoSide ? TurnOrientation::Collinear : TurnOrientation(-side);
}

double TriArea2x2D(const Point2D& a, const Point2D& b, const Point2D& c)
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

double TriArea2D(const Point2D& a, const Point2D& b, const Point2D& c)
{
    return TriArea2x2D(a, b, c) * 0.5;
}

double VectorAngle2D(const Point2D& u, const Point2D& v)
{
    const Point2D s = u * geom::UnitFactor(u), t = v * geom::UnitFactor(v);
    return geom::ArcTangent(geom::Cross(s, t), geom::Dot(s, t));
}

double VectorAbsAngle2D(const Point2D& u, const Point2D& v)
{
    return std::fabs(VectorAngle2D(u, v));
}

double VectorAngle3D(const Point3D& u, const Point3D& v)
{
    const Point3D s = UnitSized(u), t = UnitSized(v);
    const Point3D cross = {s.y * t.z - s.z * t.y, s.z * t.x - s.x * t.z, s.x * t.y - s.y * t.x};
    return geom::ArcTangent(std::sqrt(SumOfSquares(cross)), s.x * t.x + s.y * t.y + s.z * t.z);
}

Point2D VectorRotate2D(const Point2D& v, double angle)
{
    const Point2D direction = geom::Direction(angle);
    return {v.x * direction.x - v.y * direction.y, v.x * direction.y + v.y * direction.x};
}

double CalcAngleInDegreesFromLineEndPts2D(const Point2D& a, const Point2D& b)
{
    const Point2D d = b * 0.5 - a * 0.5;
    // In the octant next to an axis, where the arc tangent is most accurate.
    const bool isSteep = std::fabs(d.y) > std::fabs(d.x);
    const double along = isSteep ? d.y : d.x, across = isSteep ? -d.x : d.y;
    if (along == 0 && across == 0)
        return 0;
    const double axis = (isSteep ? 90 : 0) + (along < 0 ? 180 : 0);
    const double ratio = across / along;
    const double turn = std::fabs(ratio) == 1
                            ? std::copysign(45, ratio)
                            : geom::ArcTangent(ratio, 1) * (180 / std::numbers::pi);
    const double angle = axis + turn;
    return angle < 0 ? std::min(angle + 360, std::nextafter(360.0, 0.0)) : angle;
}

Point2D CalcPtFromAngle2D(const Point2D& p, double angle, double length)
{
    const Point2D direction = geom::Direction(angle);
    return {p.x + length * direction.x, p.y + length * direction.y};
}

} // namespace Geom
