#include "platform/platform_fpu.h"

#include <immintrin.h>

namespace platform
{
namespace
{

// The six exceptions stand in this order in every register; a set mask bit means "do not trap".
constexpr unsigned kAll = 0x3f;
constexpr unsigned kSseMaskShift = 7;

unsigned short X87Control()
{
    unsigned short control;
    __asm__ volatile("fnstcw %0" : "=m"(control));
    return control;
}

unsigned short X87Status()
{
    unsigned short status;
    __asm__ volatile("fnstsw %0" : "=m"(status));
    return status;
}

} // namespace

unsigned FpuRaised() { return (_mm_getcsr() | X87Status()) & kAll; }

void FpuClearRaised()
{
    __asm__ volatile("fnclex");
    _mm_setcsr(_mm_getcsr() & ~kAll);
}

unsigned FpuTraps() { return ~(_mm_getcsr() >> kSseMaskShift) & kAll; }

void FpuSetTraps(unsigned mask)
{
    if (mask != 0)
        FpuClearRaised();
    const unsigned masked = ~mask & kAll;
    const auto control = static_cast<unsigned short>((X87Control() & ~kAll) | masked);
    __asm__ volatile("fldcw %0" : : "m"(control));
    _mm_setcsr((_mm_getcsr() & ~(kAll << kSseMaskShift)) | masked << kSseMaskShift);
}

} // namespace platform
