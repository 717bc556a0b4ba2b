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

/// Bytes that this process can take now without the system swapping, ending it or refusing: what is
/// free on the machine or left of the address space, whichever is less. The largest number when the
/// system does not tell.
unsigned long long AvailableMemory();

} // namespace platform
