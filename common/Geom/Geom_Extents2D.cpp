#include "Geom/Geom_Extents2D.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Geom
{
namespace
{

/// high - low, without an overflow that would trap for the empty box.
double SizeOf(double low, double high)
{
    constexpr double kMost = std::numeric_limits<double>::max() / 2;
    const double half = high * 0.5 - low * 0.5;
    if (std::isgreater(std::fabs(half), kMost))
        return std::copysign(std::numeric_limits<double>::infinity(), half);
    return high - low;
}

} // namespace

void ExtentsGrow2D(Extents2D& extents, const Point2D& point)
{
    extents.minX = std::min(extents.minX, point.x);
    extents.maxX = std::max(extents.maxX, point.x);
    extents.minY = std::min(extents.minY, point.y);
    extents.maxY = std::max(extents.maxY, point.y);
}

bool IsExtentsIntersected2D(const Extents2D& a, const Extents2D& b, const Precision3D& precision)
{
    const double hx = precision.halfEpsilon[0], hy = precision.halfEpsilon[1];
    return !(b.minX > a.maxX + hx || a.minX - hx > b.maxX || b.minY > a.maxY + hy ||
             a.minY - hy > b.maxY);
}

Extents2D ExtentsIntersection2D(const Extents2D& a, const Extents2D& b)
{
    if (!IsExtentsIntersected2D(a, b, Precision()))
        return {};
    return {std::max(a.minX, b.minX), std::min(a.maxX, b.maxX), std::max(a.minY, b.minY),
            std::min(a.maxY, b.maxY)};
}

bool ExtentsOverlap2D(const Extents2D& a, const Extents2D& b, const Precision3D& precision)
{
    const double hx = precision.halfEpsilon[0], hy = precision.halfEpsilon[1];
    return a.maxX + hx > b.maxX && b.minX > a.minX - hx && a.maxY + hy > b.maxY &&
           b.minY > a.minY - hy;
}

double WidthOf(const Extents2D& extents) { return SizeOf(extents.minX, extents.maxX); }

double HeightOf(const Extents2D& extents) { return SizeOf(extents.minY, extents.maxY); }

double AspectOf(const Extents2D& extents, const Precision3D& precision)
{
    const double width = WidthOf(extents), height = HeightOf(extents);
    if (!(height > precision.halfEpsilon[1]))
        return MissingValue<double>();
    return width > precision.halfEpsilon[0] ? width / height : 0;
}

} // namespace Geom
