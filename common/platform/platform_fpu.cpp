#include "platform/platform_fpu.h"

#include <immintrin.h>

namespace platform
{
namespace
{

// The six exceptions have this order in every register; a set mask bit means "do not trap".
constexpr unsigned kAll = 0x3f;
constexpr unsigned kSseMaskShift = 7;
constexpr unsigned short kX87Plain = 0x37f; // nothing traps, 64 bits of mantissa, to nearest

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

X87EnvGuard::X87EnvGuard() : control_(X87Control()), status_(X87Status())
{
    __asm__ volatile("fldcw %0" : : "m"(kX87Plain));
}

X87EnvGuard::~X87EnvGuard()
{
    if (((X87Status() ^ status_) & kAll) == 0)
    {
        __asm__ volatile("fldcw %0" : : "m"(control_));
        return;
    }
    // Only loading a whole environment restores the raised exceptions: this one, with its stack
    // unchanged.
    struct
    {
        unsigned short control, gap, status, rest[11];
    } environment;
    __asm__ volatile("fnstenv %0" : "=m"(environment));
    environment.control = control_;
    environment.status =
        static_cast<unsigned short>((environment.status & ~kAll) | (status_ & kAll));
    __asm__ volatile("fldenv %0" : : "m"(environment));
}

} // namespace platform
