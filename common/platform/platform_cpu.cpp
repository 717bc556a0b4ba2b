#include "platform/platform_cpu.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <cpuid.h>

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

std::string ProcessorName()
{
    constexpr unsigned kFirst = 0x80000002, kLast = 0x80000004; // 16 letters each
    unsigned registers[4 * (kLast - kFirst + 1)] = {};
    if (static_cast<unsigned>(__get_cpuid_max(0x80000000, nullptr)) < kLast)
        return {};
    for (unsigned leaf = kFirst; leaf <= kLast; ++leaf)
    {
        unsigned* r = registers + 4 * (leaf - kFirst);
        __get_cpuid(leaf, r, r + 1, r + 2, r + 3);
    }
    char text[sizeof registers + 1] = {};
    std::memcpy(text, registers, sizeof registers);
    std::string name = text;
    const auto first = name.find_first_not_of(' ');
    return first == std::string::npos ? std::string()
                                      : name.substr(first, name.find_last_not_of(' ') + 1 - first);
}

} // namespace platform
