/// @file
/// Memory for large arrays.
#pragma once

#include <cstddef>

namespace platform
{

/// Memory on a border of 64 bytes, not set to anything; null when there is none.
///
/// From 4 MiB on the system is asked for its large pages, where it has them to give: the first
/// touch of such memory, and jumping about in it, take a fraction of the time.
void* AllocateArray(std::size_t bytes);

/// Gives it back; null is harmless.
void FreeArray(void* array);

} // namespace platform
