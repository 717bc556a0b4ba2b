/// @file
/// Points, polylines and places along them.
#pragma once

#include "KVI.h"

#include <cstddef>
#include <vector>

namespace percova
{

using Point = Geom::Point2D;
using Polyline = std::vector<Point>;

/// The point of a polyline that is nearest to another one.
struct PlaceOnLine
{
    std::size_t segment = 0; ///< from point number segment to the next
    double fraction = 0;     ///< of the segment, 0 to 1
    double distance = 0;
};

/// @p line has at least two points; a segment without length counts as its first point.
PlaceOnLine NearestOn(const Polyline& line, Point at);

} // namespace percova
