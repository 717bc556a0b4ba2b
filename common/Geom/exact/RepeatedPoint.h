/// @file
/// @internal Whether two points of a set are equal within a tolerance.
#pragma once

#include "Geom/Geom_Point.h"
#include "Geom/Geom_Precision.h"

#include <cstddef>

namespace geom
{

using Geom::Point2D;
using Geom::Precision3D;

/// Whether any two of @p n points are IsEqual2D. Time proportional to n, or up to some hundred
/// comparisons a point where the points are spaced close to the tolerance.
bool HasRepeatedPoint(const Point2D* points, std::size_t n, const Precision3D& precision);

} // namespace geom
