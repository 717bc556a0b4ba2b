#include "platform/platform_memory.h"

#include <cstdio>
#include <cstdlib>
#include <limits>

#include <sys/mman.h>
#include <sys/resource.h>

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

unsigned long long AvailableMemory()
{
    unsigned long long available = std::numeric_limits<unsigned long long>::max();
    if (std::FILE* const file = std::fopen("/proc/meminfo", "re"))
    {
        char line[128];
        unsigned long long kibibytes = 0;
        while (std::fgets(line, sizeof line, file) != nullptr)
            if (std::sscanf(line, "MemAvailable: %llu kB", &kibibytes) == 1)
                available = kibibytes * 1024;
        std::fclose(file);
    }
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
        limit.rlim_cur < available)
        available = limit.rlim_cur;
    return available;
}

} // namespace platform
