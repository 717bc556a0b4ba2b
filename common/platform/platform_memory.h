/// @file
/// Memory for large arrays.
#pragma once

#include <cstddef>

namespace platform
{

/// Uninitialised memory aligned to 64 bytes; null when there is none.
///
/// From 4 MiB on large pages are requested where the system offers them: first touch of and random
/// access to such memory take a fraction of the time.
void* AllocateArray(std::size_t bytes);

/// Frees it; null is allowed.
void FreeArray(void* array);

/// Bytes that this process can allocate now without swapping, being killed or being refused: free
/// memory of the machine or of the address space, whichever is less. The largest number when the
/// system reports none.
unsigned long long AvailableMemory();

} // namespace platform
