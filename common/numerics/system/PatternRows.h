/// @file
/// @internal The rows of a pattern, and the places in them of every element's entries.
#pragma once

#include "numerics/system/Pattern.h"

namespace numerics
{

/// Fills rowStart, columns, offsets, firstElement and span of a pattern whose elements, offsetStart
/// and n stand. Runs on @p threads (0: all), with the same result on any number.
/// @returns false when the positions are more than an int can count
bool BuildRows(Pattern& pattern, int threads);

} // namespace numerics
