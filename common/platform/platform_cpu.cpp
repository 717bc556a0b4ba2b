#include "platform/platform_cpu.h"

#include <algorithm>
#include <cstdlib>

namespace platform
{
namespace
{

// The compiler's own probe counts a feature only when the operating system saves its registers.
int ProcessorLevel()
{
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma"))
        return 0;
    const bool wide = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
                      __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw");
    return wide ? 2 : 1;
}

} // namespace

int SimdLevelCappedBy(const std::string& cap)
{
    const int most = cap == "sse2" ? 0 : cap == "avx2" ? 1 : 2;
    return std::min(ProcessorLevel(), most);
}

int SimdLevel()
{
    static const int level = [] {
        // Read before this library starts a thread. NOLINTNEXTLINE(concurrency-mt-unsafe)
        const char* cap = std::getenv("KVI_SIMD_MAX");
        return SimdLevelCappedBy(cap == nullptr ? "" : cap);
    }();
    return level;
}

} // namespace platform
