#include "numerics/dense/Kernels.h"

#include "platform/platform_cpu.h"

namespace numerics
{

constinit const Kernels* activeKernels = &sse2::kKernels;

namespace
{

constexpr const Kernels* kByLevel[] = {&sse2::kKernels, &avx2::kKernels, &avx512::kKernels};

[[maybe_unused]] const bool chosen = [] {
    activeKernels = kByLevel[platform::SimdLevel()];
    return true;
}();

} // namespace

} // namespace numerics
