#include "platform/platform_park.h"

#include "platform/posix/Futex.h"

#include <climits>
#include <linux/futex.h>
#include <linux/membarrier.h>
#include <sched.h>

#include <immintrin.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform
{
namespace posix
{
namespace
{

constexpr long kNanosecondsPerSecond = 1'000'000'000;

timespec Now()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

} // namespace

Deadline::Deadline(std::uint32_t milliseconds) : limited(milliseconds != kForever)
{
    if (!limited)
        return;
    at = Now();
    at.tv_sec += static_cast<time_t>(milliseconds / 1000);
    at.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (at.tv_nsec >= kNanosecondsPerSecond)
    {
        at.tv_nsec -= kNanosecondsPerSecond;
        ++at.tv_sec;
    }
}

timespec Deadline::Left() const
{
    const timespec now = Now();
    timespec left{at.tv_sec - now.tv_sec, at.tv_nsec - now.tv_nsec};
    if (left.tv_nsec < 0)
    {
        left.tv_nsec += kNanosecondsPerSecond;
        --left.tv_sec;
    }
    return left.tv_sec < 0 ? timespec{} : left;
}

bool Deadline::Passed() const
{
    if (!limited)
        return false;
    const timespec left = Left();
    return left.tv_sec == 0 && left.tv_nsec == 0;
}

void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t value, const Deadline& deadline)
{
    // The bitset form takes an absolute time of the monotonic clock instead of a duration.
    ::syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, value,
              deadline.limited ? &deadline.at : nullptr, nullptr, FUTEX_BITSET_MATCH_ANY);
}

void FutexWake(std::atomic<std::uint32_t>& word, int threads)
{
    ::syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, threads, nullptr, nullptr, 0);
}

} // namespace posix

Parker::Parker() = default;
Parker::~Parker() = default;

bool Parker::Sleep(std::uint32_t milliseconds)
{
    const posix::Deadline deadline(milliseconds);
    for (;;)
    {
        if (awake_.exchange(0, std::memory_order_acquire) != 0)
            return true;
        if (deadline.Passed())
            return false;
        posix::FutexWait(awake_, 0, deadline);
    }
}

void Parker::Wake()
{
    if (awake_.exchange(1, std::memory_order_release) == 0)
        posix::FutexWake(awake_);
}

bool SleepOn(std::atomic<std::uint32_t>& word, std::uint32_t value, std::uint32_t milliseconds)
{
    const posix::Deadline deadline(milliseconds);
    posix::FutexWait(word, value, deadline);
    return !deadline.Passed();
}

void WakeOne(std::atomic<std::uint32_t>& word) { posix::FutexWake(word); }

void WakeAll(std::atomic<std::uint32_t>& word) { posix::FutexWake(word, INT_MAX); }

bool HasProcessBarrier()
{
    static const bool has =
        ::syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;
    return has;
}

void ProcessBarrier() { ::syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0); }

void SpinPause() { _mm_pause(); }

void YieldThread() { ::sched_yield(); }

} // namespace platform
