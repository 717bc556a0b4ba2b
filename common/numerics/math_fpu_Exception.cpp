#include "numerics/math_fpu_Exception.h"

#include "platform/platform_env.h"
#include "platform/platform_fpu.h"

namespace math::fpu
{
namespace
{

bool AreTrapsWanted()
{
    const auto value = platform::Environment(L"KVI_FPUTRAP");
    return value && !value->empty() && *value != L"0";
}

} // namespace

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

unsigned Exception::On(unsigned mask) { return impl::ExceptionOn(mask, AreTrapsWanted()); }

unsigned Exception::Off()
{
    const unsigned before = platform::FpuTraps();
    platform::FpuSetTraps(0);
    return before;
}

void Exception::Clear() { platform::FpuClearRaised(); }

bool Exception::IsError(unsigned mask) { return (platform::FpuRaised() & mask) != 0; }

} // namespace math::fpu
