/// @file
/// Waiting on a word of memory, up to a time that no change of the clock moves.
#pragma once

#include <atomic>
#include <cstdint>
#include <time.h>

namespace platform::posix
{

/// A moment of the monotonic clock; none is "without limit".
struct Deadline
{
    explicit Deadline(std::uint32_t milliseconds);

    bool limited;
    timespec at{};

    bool Passed() const;
    /// What is left, never below zero.
    timespec Left() const;
};

/// Sleeps while @p word is @p value, no longer than the deadline. May return early for no reason.
void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t value, const Deadline& deadline);
/// Wakes up to @p threads that sleep on @p word.
void FutexWake(std::atomic<std::uint32_t>& word, int threads = 1);

} // namespace platform::posix
