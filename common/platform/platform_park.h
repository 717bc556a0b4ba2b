/// @file
/// Putting threads to sleep and waking them; the process-wide barrier for cheap wake-ups.
#pragma once

#include <atomic>
#include <cstdint>

namespace platform
{

/// No time limit, for arguments in milliseconds.
inline constexpr std::uint32_t kForever = 0xffffffff;

/// Parks one thread. A Wake before the Sleep is remembered; several count as one.
///
/// Threads: one may sleep at a time, any may wake.
class Parker
{
public:
    Parker();
    ~Parker(); // NOLINT(performance-trivially-destructible): not on Windows
    Parker(const Parker&) = delete;
    Parker& operator=(const Parker&) = delete;

    /// Sleeps until there is a Wake, and consumes it.
    /// @returns false when @p milliseconds went by first
    bool Sleep(std::uint32_t milliseconds = kForever);
    void Wake();

private:
    std::atomic<std::uint32_t> awake_{0};
    /// Windows: used instead of the word if an event could be created.
    [[maybe_unused]] void* event_ = nullptr;
};

/// Sleeps while @p word is @p value; may return early, so check the word again.
/// @returns false when @p milliseconds went by first
///
/// A thread that changes the word wakes the threads sleeping on it. (The standard's own wait on an
/// atomic occasionally loses a wake-up in GCC 12 for Windows: it checks before it takes its lock.)
bool SleepOn(std::atomic<std::uint32_t>& word, std::uint32_t value,
             std::uint32_t milliseconds = kForever);
/// Wakes at least one of the threads sleeping on @p word.
void WakeOne(std::atomic<std::uint32_t>& word);
void WakeAll(std::atomic<std::uint32_t>& word);

/// Makes every other running thread of the process pass a full memory barrier before it returns.
///
/// Two threads that each store one word and then load the other's must not both miss the other's
/// store. With this call on the side that does so rarely, the frequent side needs no fence: its
/// store and load only have to be in this order in the code (CompilerBarrier). Call it only where
/// HasProcessBarrier.
void ProcessBarrier();

/// Whether the system has such a barrier; without it both sides need a fence of their own.
bool HasProcessBarrier();

/// Keeps the compiler from moving loads and stores across.
inline void CompilerBarrier() { std::atomic_signal_fence(std::memory_order_seq_cst); }

/// A full memory barrier in this thread. (A fence as such is unknown to the thread sanitizer.)
inline void FullBarrier()
{
    std::atomic<int> word{0};
    word.exchange(1, std::memory_order_seq_cst);
}

/// Tells the processor that this is a spin loop.
void SpinPause();

/// Yields the processor to another thread.
void YieldThread();

} // namespace platform
