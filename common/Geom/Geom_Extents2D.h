/// @file
/// The axis-aligned box.
#pragma once

#include "foundation/MissingValue.h"

namespace Geom
{

/// A box; a default one is empty, so that growing it by a point gives that point's box.
struct Extents2D
{
    double minX = MissingValue<double>();  ///< least x
    double maxX = -MissingValue<double>(); ///< greatest x
    double minY = MissingValue<double>();  ///< least y
    double maxY = -MissingValue<double>(); ///< greatest y
};

} // namespace Geom
