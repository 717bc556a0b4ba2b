#include "problem/Plane.h"

#include <cmath>

namespace percova
{

PlaceOnLine NearestOn(const Polyline& line, Point at)
{
    PlaceOnLine nearest;
    nearest.distance = HUGE_VAL;
    for (std::size_t i = 0; i + 1 < line.size(); ++i)
    {
        const Point a = line[i], b = line[i + 1];
        const Point foot = Geom::LineClosestPoint2D(at, a, b, false, Geom::Precision());
        const double distance = std::hypot(foot.x - at.x, foot.y - at.y);
        if (!(distance < nearest.distance))
            continue;
        const double length = std::hypot(b.x - a.x, b.y - a.y);
        const double fraction = length > 0 ? std::hypot(foot.x - a.x, foot.y - a.y) / length : 0;
        nearest = {i, fraction, distance};
    }
    return nearest;
}

} // namespace percova
