/// @file
/// Waiting on a word of memory, with a deadline unaffected by clock changes.
#pragma once

#include <atomic>
#include <cstdint>
#include <time.h>

namespace platform::posix
{

/// A time of the monotonic clock; none means no limit.
struct Deadline
{
    explicit Deadline(std::uint32_t milliseconds);

    bool limited;
    timespec at{};

    bool Passed() const;
    /// The remaining time, never negative.
    timespec Left() const;
};

/// Sleeps while @p word is @p value, no longer than the deadline. May return early for no reason.
void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t value, const Deadline& deadline);
/// Wakes up to @p threads that sleep on @p word.
void FutexWake(std::atomic<std::uint32_t>& word, int threads = 1);

} // namespace platform::posix
