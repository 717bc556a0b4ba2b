/// @file
/// Monitoring the processor's floating-point exceptions during numeric work.
#pragma once

#include "foundation/kvi_export.h"

namespace math::fpu
{

/// Reports whether numeric work divided by zero, overflowed or produced a NaN.
///
/// With the environment variable KVI_FPUTRAP set (not empty, not "0") such an operation also stops
/// the program where it happens: a debugger then shows the line. All state is that of the calling
/// thread: a thread started in between has its own state.
///
/// The library's own checks do not trap: a solver reports bad data as NotFinite whatever the traps.
/// Sums of a caller's numbers do trap: coefficients that overflow, or that are infinity minus
/// infinity, while they are inserted into a system; geometry with coordinates beyond 1e154, whose
/// squares overflow.
/// @code
/// math::fpu::Exception::On();
/// Factorise();
/// const bool suspect = math::fpu::Exception::IsError();
/// math::fpu::Exception::Off();
/// @endcode
class KVI_API Exception
{
public:
    /// The processor's own bits; to be combined by |.
    enum Mask : unsigned
    {
        kInvalid = 1,      ///< a NaN was produced from numbers, as 0/0
        kDenormal = 2,     ///< an operand was denormal
        kDivideByZero = 4, ///< a finite number divided by zero
        kOverflow = 8,
        kUnderflow = 16,
        kInexact = 32, ///< nearly every operation
    };

    /// The default exceptions of On and IsError: kInvalid, kDivideByZero and kOverflow.
    static unsigned DefaultExceptionMask();
    /// Clears the raised exceptions and, if KVI_FPUTRAP is set, makes exactly the exceptions of @p
    /// mask trap.
    /// @returns the mask that trapped before, for a second call to restore it
    static unsigned On(unsigned mask = DefaultExceptionMask());
    /// Disables all traps; raised exceptions remain visible to IsError.
    /// @returns the mask that trapped before
    static unsigned Off();
    /// Clears the raised exceptions.
    static void Clear();
    /// Whether any exception of @p mask was raised since the last On or Clear.
    static bool IsError(unsigned mask = DefaultExceptionMask());
};

namespace impl
{
/// On with the switch given: whether the exceptions trap.
unsigned ExceptionOn(unsigned mask, bool trap);
} // namespace impl

} // namespace math::fpu
