/// @file
/// Clipping of polylines to the abscissae that they share.
#pragma once

#include "Geom/Geom_Point.h"
#include "foundation/kvi_export.h"

#include <vector>

namespace Geom
{

/// Clips two polylines, in place, to their common range of x, with interpolated end points.
///
/// Both are graphs over x; one given from right to left is reversed. Both become empty when either
/// has fewer than two points or no width, or when the ranges are disjoint or only touch. Of points
/// above one another at a cut only the one next to the kept part remains. All comparisons are
/// exact, without tolerance. @p a and @p b may be one object.
KVI_API void PolylineOverlapIntersect2D(std::vector<Point2D>& a, std::vector<Point2D>& b);

/// Makes @p results hold one copy of @p reference for each polyline of @p others, and clips each
/// pair (results[i], others[i]) with PolylineOverlapIntersect2D; both vectors change.
///
/// @p reference may be an element of either vector. When @p results and @p others are one vector,
/// it ends as the clipped copies of the reference.
KVI_API void PolylinesOverlapIntersect2D(const std::vector<Point2D>& reference,
                                         std::vector<std::vector<Point2D>>& results,
                                         std::vector<std::vector<Point2D>>& others);

} // namespace Geom
