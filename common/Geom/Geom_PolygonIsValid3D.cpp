#include "Geom/Geom_Polygon.h"
#include "Geom/exact/Plane.h"

#include <cmath>

namespace Geom
{
namespace
{

Point3D Difference(const Point3D& a, const Point3D& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

double Dot3D(const Point3D& a, const Point3D& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

/// @p p moved @p factor times along @p direction.
Point3D Moved(const Point3D& p, const Point3D& direction, double factor)
{
    return {p.x + direction.x * factor, p.y + direction.y * factor, p.z + direction.z * factor};
}

Point3D CrossProduct(const Point3D& a, const Point3D& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Whether @p b lies on the infinite line through @p a and @p c, or a and c are equal.
bool IsCollinear(const Point3D& a, const Point3D& b, const Point3D& c, const Precision3D& precision)
{
    if (IsEqual3D(a, c, precision))
        return true;
    const Point3D along = Difference(c, a);
    const double factor = Dot3D(Difference(b, a), along) / Dot3D(along, along);
    return IsEqual3D(b, Moved(a, along, factor), precision);
}

/// Whether @p p differs from its foot on the plane by no more than the tolerance.
bool IsInPlane(const Point3D& p, const Point3D& onPlane, const Point3D& normal,
               const Precision3D& precision)
{
    const double factor = Dot3D(Difference(onPlane, p), normal) / Dot3D(normal, normal);
    return IsEqual3D(p, Moved(p, normal, factor), precision);
}

} // namespace

bool PolygonIsValid3D(const std::vector<Point3D>& points, const Precision3D& precision)
{
    std::vector<Point2D> plan;
    plan.reserve(points.size());
    for (const Point3D& p : points)
        plan.push_back({p.x, p.y});
    if (!PolygonIsValid2D(plan.data(), plan.size(), false))
        return false;
    for (std::size_t i = 0; i + 2 < points.size(); ++i)
    {
        const Point3D &a = points[i], &b = points[i + 1], &c = points[i + 2];
        if (IsCollinear(a, b, c, precision))
            continue;
        const Point3D normal = CrossProduct(Difference(a, b), Difference(c, b));
        for (const Point3D& p : points)
            if (!IsInPlane(p, b, normal, precision))
                return false;
        return true;
    }
    return false;
}

} // namespace Geom
