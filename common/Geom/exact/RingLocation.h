/// @file
/// @internal The position of points and boxes relative to a ring of usable points.
#pragma once

#include "Geom/Geom_Extents2D.h"
#include "Geom/Geom_Polygon.h"

#include <cstddef>

namespace geom
{

using Geom::Extents2D;
using Geom::Point2D;
using Geom::PointLocation;
using Geom::Precision3D;

/// PolygonLocatePoint2D for usable points.
PointLocation LocateInRing(const Point2D* points, std::size_t n, const Point2D& p,
                           const Precision3D& precision);

/// Whether a segment of usable points meets a box widened by the half-epsilons, sides included.
/// Exact like LineContainsPoint2D.
bool LineMeetsBox(const Point2D& a, const Point2D& b, const Extents2D& box,
                  const Precision3D& precision);

} // namespace geom
