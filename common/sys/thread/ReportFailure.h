/// @file
/// Reporting failures of system calls in functions that return no status.
#pragma once

#include <cstdint>
#include <string_view>

namespace sys::thread
{

/// Logs that the system function @p function failed, with the thread's last system error.
void ReportFailure(std::wstring_view function);

/// A time in milliseconds as the platform takes it; values that do not fit mean no limit.
inline std::uint32_t Milliseconds(unsigned long time)
{
    return time < 0xffffffff ? static_cast<std::uint32_t>(time) : 0xffffffff;
}

} // namespace sys::thread
