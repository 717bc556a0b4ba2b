/// @file
/// Running a thread in another thread's floating-point environment.
#pragma once

#include <cfenv>

namespace parallel
{

/// Runs the calling thread in another thread's floating-point environment (rounding, traps, x87
/// precision) for its lifetime: Windows starts threads with shorter x87 registers than MinGW's
/// main.
class FloatEnvGuard
{
public:
    explicit FloatEnvGuard(const std::fenv_t& environment)
    {
        std::fegetenv(&own_);
        std::fesetenv(&environment);
    }
    ~FloatEnvGuard() { std::fesetenv(&own_); }
    FloatEnvGuard(const FloatEnvGuard&) = delete;
    FloatEnvGuard& operator=(const FloatEnvGuard&) = delete;

private:
    std::fenv_t own_;
};

} // namespace parallel
