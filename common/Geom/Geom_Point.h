/// @file
/// Points of the plane and of space, equality within a tolerance, and orders for sorted containers.
#pragma once

#include "Geom/Geom_Precision.h"
#include "Geom/gtl_engless_point.h"
#include "foundation/MissingValue.h"
#include "foundation/kvi_export.h"

namespace Geom
{

/// A point of the plane. Operator == is exact; IsEqual2D is the comparison of the geometry.
struct Point2D
{
    double x = 0; ///< coordinate x
    double y = 0; ///< coordinate y

    /// Exact equality.
    friend bool operator==(const Point2D&, const Point2D&) = default;
};

/// A point of space. Operator == is exact; IsEqual3D is the comparison of the geometry.
struct Point3D
{
    double x = 0; ///< coordinate x
    double y = 0; ///< coordinate y
    double z = 0; ///< coordinate z

    /// Exact equality.
    friend bool operator==(const Point3D&, const Point3D&) = default;
};

/// Whether a coordinate is missing, which operations return for "no such point".
KVI_API bool IsMissing2D(const Point2D& point);

/// Whether on x and on y the coordinates are exactly equal or differ by at most the axis's
/// half-epsilon, the difference taken as a double: -1e-5 and 4e-5 are 5e-5 apart. A NaN coordinate
/// is never equal. Not transitive: no order is consistent with it.
KVI_API bool IsEqual2D(const Point2D& a, const Point2D& b, const Precision3D& precision);
/// IsEqual2D on x, y and z.
KVI_API bool IsEqual3D(const Point3D& a, const Point3D& b, const Precision3D& precision);

/// Strict weak order by x, then y, of points distinguished on the precision's grid: two points are
/// equivalent exactly when round_Point2D gives them the same grid point. See engless_point_2D.
class less_Point2D : public gtl::engless_point_2D<Point2D, 1, 2>
{
public:
    /// The grid of @p precision.
    explicit less_Point2D(const Precision3D& precision)
        : engless_point_2D(precision.halfEpsilon[0], precision.halfEpsilon[1])
    {
    }
};

/// Strict weak order by x, y, then z, as less_Point2D.
class less_Point3D : public gtl::engless_point_3D<Point3D, 1, 2, 3>
{
public:
    /// The grid of the current process-wide precision.
    less_Point3D() : less_Point3D(Precision()) {}
    /// The grid of @p precision.
    explicit less_Point3D(const Precision3D& precision)
        : engless_point_3D(precision.halfEpsilon[0], precision.halfEpsilon[1],
                           precision.halfEpsilon[2])
    {
    }
};

/// Rounds points to the precision's grid: each coordinate to the nearest multiple of its epsilon,
/// a half away from zero. Where epsilon is one over a whole number the multiple is the double
/// nearest to the decimal number. Coordinates of 2^50 epsilons and more, infinities and NaN stay.
class KVI_API round_Point2D
{
public:
    /// The grid of @p precision.
    explicit round_Point2D(const Precision3D& precision);
    /// @p point on the grid.
    Point2D operator()(const Point2D& point) const;

private:
    double epsilon_[2];
};

} // namespace Geom

/// The point whose coordinates are both missing.
template <>
constexpr Geom::Point2D MissingValue<Geom::Point2D>()
{
    return {MissingValue<double>(), MissingValue<double>()};
}

/// The point whose coordinates are all missing.
template <>
constexpr Geom::Point3D MissingValue<Geom::Point3D>()
{
    return {MissingValue<double>(), MissingValue<double>(), MissingValue<double>()};
}
