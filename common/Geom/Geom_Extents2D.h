/// @file
/// The axis-aligned box.
#pragma once

#include "foundation/MissingValue.h"

namespace Geom
{

/// A box; a default one is empty, so that growing it by a point gives that point's box.
struct Extents2D
{
    double minX = MissingValue<double>();
    double maxX = -MissingValue<double>();
    double minY = MissingValue<double>();
    double maxY = -MissingValue<double>();
};

} // namespace Geom
