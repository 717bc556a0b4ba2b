#include "platform/platform_memory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace platform
{

namespace
{

/// Bytes; 0 where the system does not say.
unsigned long long AddressSpaceUsed()
{
    unsigned long long pages = 0;
    if (std::FILE* const file = std::fopen("/proc/self/statm", "re"))
    {
        if (std::fscanf(file, "%llu", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    return pages * static_cast<unsigned long long>(sysconf(_SC_PAGESIZE));
}

} // namespace

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
    if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY)
    {
        const unsigned long long used = AddressSpaceUsed();
        available = std::min(available, limit.rlim_cur > used ? limit.rlim_cur - used : 0ULL);
    }
    return available;
}

} // namespace platform
