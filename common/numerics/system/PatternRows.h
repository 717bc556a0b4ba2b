/// @file
/// @internal The rows of a pattern, and the positions of every element's entries in them.
#pragma once

#include "numerics/system/Pattern.h"

namespace numerics
{

/// Fills rowStart, columns, offsets, firstElement and span of a pattern whose elements, offsetStart
/// and n are set. The result is the same on any number of threads.
/// @returns false when the positions are more than an int can count
bool BuildRows(Pattern& pattern);

} // namespace numerics
