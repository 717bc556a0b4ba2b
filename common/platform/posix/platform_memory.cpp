#include "platform/platform_memory.h"

#include <cstdlib>

#include <sys/mman.h>

namespace platform
{

void* AllocateArray(std::size_t bytes)
{
    constexpr std::size_t kLine = 64, kLargePage = std::size_t(2) << 20;
    const bool isLarge = bytes >= 2 * kLargePage;
    void* array = nullptr;
    if (posix_memalign(&array, isLarge ? kLargePage : kLine, bytes) != 0)
        return nullptr;
    if (isLarge) // whole pages only, so that a neighbour keeps its own; a refusal does not matter
        (void)madvise(array, bytes / kLargePage * kLargePage, MADV_HUGEPAGE);
    return array;
}

void FreeArray(void* array) { std::free(array); }

} // namespace platform
