#include "platform/platform_memory.h"

#include <malloc.h>

namespace platform
{

// Large pages would need a privilege that analysis programs do not have.
void* AllocateArray(std::size_t bytes)
{
    constexpr std::size_t kLine = 64;
    return _aligned_malloc(bytes, kLine);
}

void FreeArray(void* array) { _aligned_free(array); }

} // namespace platform
