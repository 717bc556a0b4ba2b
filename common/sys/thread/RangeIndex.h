/// @file
/// The numbers of a range, counted from 0.
#pragma once

#include "sys/sys_thread_task.h"

#include <algorithm>

namespace sys::thread
{

/// How many numbers @p range has.
inline std::uint64_t CountOf(const task::Range& range)
{
    if (range.first > range.last)
        return 0;
    return std::uint64_t{range.last - range.first} / std::max(range.step, 1u) + 1;
}

/// The number at @p index, which is below CountOf.
inline unsigned NumberAt(const task::Range& range, std::uint64_t index)
{
    return static_cast<unsigned>(range.first + index * std::max(range.step, 1u));
}

} // namespace sys::thread
