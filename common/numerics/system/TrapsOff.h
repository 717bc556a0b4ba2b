/// @file
/// @internal Floating-point traps switched off where NaN and overflow are looked for.
#pragma once

#include "platform/platform_fpu.h"

namespace numerics
{

/// No floating-point exception of the calling thread traps while this lives.
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
            platform::FpuSetTraps(before_); // clears what was raised, for it would trap now
    }
    TrapsOff(const TrapsOff&) = delete;
    TrapsOff& operator=(const TrapsOff&) = delete;

private:
    unsigned before_;
};

} // namespace numerics
