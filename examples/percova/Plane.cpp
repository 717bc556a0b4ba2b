#include "Plane.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace percova
{

PlaceOnLine NearestOn(const Polyline& line, Point at)
{
    PlaceOnLine nearest;
    nearest.distance = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i + 1 < line.size(); ++i)
    {
        const double dx = line[i + 1].x - line[i].x, dy = line[i + 1].y - line[i].y;
        const double square = dx * dx + dy * dy;
        const double along = (at.x - line[i].x) * dx + (at.y - line[i].y) * dy;
        const double fraction = square > 0 ? std::clamp(along / square, 0.0, 1.0) : 0;
        const double distance =
            std::hypot(line[i].x + fraction * dx - at.x, line[i].y + fraction * dy - at.y);
        if (distance < nearest.distance)
            nearest = {i, fraction, distance};
    }
    return nearest;
}

bool IsInside(const Polyline& polygon, Point at)
{
    bool inside = false;
    for (std::size_t i = 0, before = polygon.size() - 1; i < polygon.size(); before = i++)
    {
        const Point& a = polygon[i];
        const Point& b = polygon[before];
        if ((a.y > at.y) != (b.y > at.y) && at.x < (b.x - a.x) * (at.y - a.y) / (b.y - a.y) + a.x)
            inside = !inside;
    }
    return inside;
}

} // namespace percova
