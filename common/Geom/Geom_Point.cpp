#include "Geom/Geom_Point.h"

#include "Geom/exact/Plane.h"

#include <cmath>

namespace Geom
{
namespace
{

double RoundedTo(double epsilon, double value)
{
    const double cells = value / epsilon;
    if (!(std::fabs(cells) < gtl::impl::engless_axis::kCells))
        return value;
    const double perUnit = std::round(1 / epsilon);
    const bool decimal = perUnit < 1e22 && std::fabs(perUnit * epsilon - 1) < 1e-15;
    return decimal ? std::round(cells) / perUnit : std::round(cells) * epsilon;
}

} // namespace

bool IsMissing2D(const Point2D& point)
{
    return IsMissingValue(point.x) || IsMissingValue(point.y);
}

bool IsEqual2D(const Point2D& a, const Point2D& b, const Precision3D& precision)
{
    return geom::IsNear(a, b, precision);
}

bool IsEqual3D(const Point3D& a, const Point3D& b, const Precision3D& precision)
{
    return geom::IsNear(a.x, b.x, precision.halfEpsilon[0]) &&
           geom::IsNear(a.y, b.y, precision.halfEpsilon[1]) &&
           geom::IsNear(a.z, b.z, precision.halfEpsilon[2]);
}

round_Point2D::round_Point2D(const Precision3D& precision)
    : epsilon_{precision.epsilon[0], precision.epsilon[1]}
{
}

Point2D round_Point2D::operator()(const Point2D& point) const
{
    return {RoundedTo(epsilon_[0], point.x), RoundedTo(epsilon_[1], point.y)};
}

} // namespace Geom
