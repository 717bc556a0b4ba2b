#include "numerics/math_fpu_Exception.h"

#include "foundation/kvi_feature.h"
#include "platform/platform_fpu.h"

namespace math::fpu
{

unsigned impl::ExceptionOn(unsigned mask, bool trap)
{
    const unsigned before = platform::FpuTraps();
    if (trap)
        platform::FpuSetTraps(mask);
    else
        platform::FpuClearRaised();
    return before;
}

unsigned Exception::DefaultExceptionMask() { return kInvalid | kDivideByZero | kOverflow; }

unsigned Exception::On(unsigned mask)
{
    return impl::ExceptionOn(mask, kvi::feature::IsDiagnosticFpuTrapsEnabled());
}

unsigned Exception::Off()
{
    const unsigned before = platform::FpuTraps();
    platform::FpuSetTraps(0);
    return before;
}

void Exception::Clear() { platform::FpuClearRaised(); }

bool Exception::IsError(unsigned mask) { return (platform::FpuRaised() & mask) != 0; }

} // namespace math::fpu
