#include "platform/platform_memory.h"

#include <algorithm>
#include <limits>
#include <malloc.h>

#include <windows.h>

namespace platform
{

// Large pages would need a privilege that analysis programs do not have.
void* AllocateArray(std::size_t bytes)
{
    constexpr std::size_t kLine = 64;
    return _aligned_malloc(bytes, kLine);
}

void FreeArray(void* array) { _aligned_free(array); }

unsigned long long AvailableMemory()
{
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (!::GlobalMemoryStatusEx(&status))
        return std::numeric_limits<unsigned long long>::max();
    return std::min(std::min(status.ullAvailPhys, status.ullAvailPageFile), status.ullAvailVirtual);
}

} // namespace platform
