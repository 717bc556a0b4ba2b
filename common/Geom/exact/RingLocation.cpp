#include "Geom/exact/RingLocation.h"

#include "Geom/exact/Plane.h"

namespace geom
{
namespace
{

/// Whether @p a is above @p b by more than @p halfEpsilon, without rounding: the difference may
/// round to the half-epsilon.
bool IsAbove(double a, double b, double halfEpsilon)
{
    const double difference = a - b;
    if (difference != halfEpsilon || a == b)
        return difference > halfEpsilon;
    const double bPart = a - difference, aPart = difference + bPart;
    return (a - aPart) + (bPart - b) > 0;
}

} // namespace

PointLocation LocateInRing(const Point2D* points, std::size_t n, const Point2D& p,
                           const Precision3D& precision)
{
    // Twice the reach of the tolerance: a difference that exceeds it does so without its rounding.
    const double farX = 2 * precision.halfEpsilon[0], farY = 2 * precision.halfEpsilon[1];
    bool isInside = false;
    for (std::size_t i = 0; i + 1 < n; ++i)
    {
        const Point2D &a = points[i], &b = points[i + 1];
        if (std::min(a.y, b.y) - p.y > farY || p.y - std::max(a.y, b.y) > farY ||
            p.x - std::max(a.x, b.x) > farX)
            continue;
        const bool isRight = std::min(a.x, b.x) - p.x > farX;
        if (!isRight && LineContainsPoint2D(a, b, p, precision))
            return PointLocation::OnBorder;
        // Half-open in y, so that a ray through a vertex meets one of its two edges or both.
        if ((a.y > p.y) == (b.y > p.y))
            continue;
        isInside ^= isRight || (b.y > a.y) == (SideOf(a, b, p, 0, 0) == 1);
    }
    return isInside ? PointLocation::Inside : PointLocation::Outside;
}

bool LineMeetsBox(const Point2D& a, const Point2D& b, const Extents2D& box,
                  const Precision3D& precision)
{
    const double hx = precision.halfEpsilon[0], hy = precision.halfEpsilon[1];
    if (IsAbove(std::min(a.x, b.x), box.maxX, hx) || IsAbove(box.minX, std::max(a.x, b.x), hx) ||
        IsAbove(std::min(a.y, b.y), box.maxY, hy) || IsAbove(box.minY, std::max(a.y, b.y), hy))
        return false;
    // Disjoint only if all corners lie on one side of the line, none within the tolerance.
    const int side = SideOf(a, b, {box.minX, box.minY}, precision);
    return side == 0 || side != SideOf(a, b, {box.maxX, box.minY}, precision) ||
           side != SideOf(a, b, {box.maxX, box.maxY}, precision) ||
           side != SideOf(a, b, {box.minX, box.maxY}, precision);
}

} // namespace geom
