/// @file
/// The floating-point exceptions of the calling thread's processor: which were raised, which trap.
///
/// Both the SSE unit and the older x87 unit, which long double uses. Masks have the processor's own
/// bits: 1 invalid, 2 denormal operand, 4 division by zero, 8 overflow, 16 underflow, 32 inexact.
#pragma once

namespace platform
{

/// The exceptions raised since the last clearing, in either unit.
unsigned FpuRaised();
void FpuClearRaised();
/// The exceptions that trap: SIGFPE, or the structured exception of Windows.
unsigned FpuTraps();
/// Makes exactly those of @p mask trap. Unless that is none, what was raised before is cleared, for
/// it would trap now.
void FpuSetTraps(unsigned mask);

} // namespace platform
