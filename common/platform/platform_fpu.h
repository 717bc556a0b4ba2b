/// @file
/// The floating-point exceptions of the calling thread's processor: which were raised, which trap.
///
/// Both the SSE unit and the older x87 unit, which long double uses. Masks have the processor's own
/// bits: 1 invalid, 2 denormal operand, 4 division by zero, 8 overflow, 16 underflow, 32 inexact.
#pragma once

#include <xmmintrin.h>

namespace platform
{

/// The exceptions raised since the last clearing, in either unit.
unsigned FpuRaised();
void FpuClearRaised();
/// The exceptions that trap: SIGFPE, or the structured exception of Windows.
unsigned FpuTraps();
/// Makes exactly those of @p mask trap. Unless that is none, exceptions raised before are cleared,
/// since they would trap now.
void FpuSetTraps(unsigned mask);

/// Plain arithmetic of the x87 unit while it lives: full precision, no traps. Afterwards the unit
/// has the control and the raised exceptions that it had before.
class X87EnvGuard
{
public:
    X87EnvGuard();
    ~X87EnvGuard();
    X87EnvGuard(const X87EnvGuard&) = delete;
    X87EnvGuard& operator=(const X87EnvGuard&) = delete;

private:
    const unsigned short control_, status_;
};

/// Plain arithmetic of doubles while it lives, whatever the thread is set to: nothing traps,
/// results are rounded to nearest, subnormal numbers are numbers. Afterwards the SSE unit is as it
/// was, the exceptions raised before included and no others. A few cycles where nothing changes; on
/// 32-bit processors, whose compilers convert 64-bit integers in the x87 unit, that one too.
///
/// The compiler may move arithmetic across it: guard the call of a function that is not inlined.
class FloatEnvGuard
{
public:
    FloatEnvGuard() : before_(_mm_getcsr())
    {
        constexpr unsigned kRaised = 0x3f, kPlain = 0x1f80;
        if ((before_ & ~kRaised) != kPlain) [[unlikely]]
            _mm_setcsr(kPlain | (before_ & kRaised));
    }
    ~FloatEnvGuard()
    {
        if (_mm_getcsr() != before_) [[unlikely]]
            _mm_setcsr(before_);
    }
    FloatEnvGuard(const FloatEnvGuard&) = delete;
    FloatEnvGuard& operator=(const FloatEnvGuard&) = delete;

private:
    const unsigned before_;
#ifdef __i386__
    const X87EnvGuard x87_;
#endif
};

/// The same for long double as well.
class LongDoubleEnvGuard
{
private:
    const FloatEnvGuard sse_;
    const X87EnvGuard x87_;
};

} // namespace platform
