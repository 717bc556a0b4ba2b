/// @file
/// What the processor and the operating system offer to vector code.
#pragma once

#include <cstdint>
#include <string>

namespace platform
{

/// The widest vector level that the processor has and the operating system saves:
/// 0 SSE2 (every x86-64), 1 AVX2 with FMA, 2 AVX-512 (F, VL, DQ, BW).
///
/// The environment variable KVI_SIMD_MAX ("sse2" or "avx2") caps it; any other value does not.
/// Found once; safe from static constructors and from any thread.
int SimdLevel();

/// As SimdLevel, of the processor alone, with @p cap in the place of the variable's value.
int SimdLevelCappedBy(const std::string& cap);

/// The processor's time-stamp counter: steady, two to five ticks a nanosecond, read in some 6 ns.
inline std::uint64_t CycleCount() { return __builtin_ia32_rdtsc(); }

} // namespace platform
