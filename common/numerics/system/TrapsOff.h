/// @file
/// @internal Disabling floating-point traps where NaN and overflow are checked for.
#pragma once

#include "platform/platform_fpu.h"

namespace numerics
{

/// Disables all floating-point traps of the calling thread for its lifetime.
class TrapsOff
{
public:
    TrapsOff() : before_(platform::FpuTraps())
    {
        if (before_ != 0)
            platform::FpuSetTraps(0);
    }
    ~TrapsOff()
    {
        if (before_ != 0)
            platform::FpuSetTraps(before_); // clears raised exceptions, which would trap now
    }
    TrapsOff(const TrapsOff&) = delete;
    TrapsOff& operator=(const TrapsOff&) = delete;

private:
    unsigned before_;
};

} // namespace numerics
