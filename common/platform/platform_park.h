/// @file
/// Sleeping threads and those who wake them; the barrier that makes cheap waking right.
#pragma once

#include <atomic>
#include <cstdint>

namespace platform
{

/// "Without limit" where a time in milliseconds is asked for.
inline constexpr std::uint32_t kForever = 0xffffffff;

/// A bed for one thread. A Wake before the Sleep is kept, several count as one.
///
/// Threads: one may sleep at a time, any may wake.
class Parking
{
public:
    Parking();
    ~Parking(); // NOLINT(performance-trivially-destructible): not on Windows
    Parking(const Parking&) = delete;
    Parking& operator=(const Parking&) = delete;

    /// Sleeps until there is a Wake, and uses it up.
    /// @returns false when @p milliseconds went by first
    bool Sleep(std::uint32_t milliseconds = kForever);
    void Wake();

private:
    std::atomic<std::uint32_t> awake_{0};
    /// Windows: instead of the word, if there is a handle for it.
    [[maybe_unused]] void* event_ = nullptr;
};

/// Sleeps while @p word is @p value, and may return early: look again.
/// @returns false when @p milliseconds went by first
///
/// Whoever changes the word wakes those who sleep on it. (The standard's own wait on an atomic
/// loses a wake-up now and then in GCC 12 for Windows: it looks before it takes its lock.)
bool SleepOn(std::atomic<std::uint32_t>& word, std::uint32_t value,
             std::uint32_t milliseconds = kForever);
/// Wakes one of those who sleep on @p word, or more.
void WakeOne(std::atomic<std::uint32_t>& word);
void WakeAll(std::atomic<std::uint32_t>& word);

/// Makes every other running thread of the process pass a full memory barrier before it returns.
///
/// Two threads that each store one word and then load the other's must not both miss the other's
/// store. With this call on the side that does so rarely, the frequent side needs no fence: its
/// store and load only have to stand in this order in the code (CompilerBarrier).
/// Call it only where HasProcessBarrier.
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

/// Tells the processor that this is a loop that waits.
void SpinPause();

/// Lets another thread have the processor.
void GiveWay();

} // namespace platform
