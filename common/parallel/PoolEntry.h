/// @file
/// @internal What the pool's list of open work and its threads consist of.
#pragma once

#include "parallel/FloatEnvGuard.h"
#include "parallel/ThreadCount.h"
#include "parallel/ThreadPool.h"
#include "platform/platform_thread.h"

#include <atomic>
#include <cfenv>
#include <cstdint>
#include <memory>

namespace parallel
{

/// Open work.
struct ThreadPool::Entry // NOLINT(clang-analyzer-optin.performance.Padding): counters on own lines
{
    /// In the word of an entry, above the number of threads.
    static constexpr std::uint32_t kNotification = 1 << 16;

    unsigned Inside() const { return state.load(std::memory_order_relaxed) % kNotification; }
    bool MayJoin() const { return work->HasMore() && Inside() < room; }
    /// No thread works at it; before a caller waits, only the pool's threads will.
    bool IsStarved() const { return keep != nullptr && Inside() == 0 && work->HasMore(); }

    Work* work = nullptr;
    unsigned room = 0;
    bool isOpen = false;
    bool isKept = false; // by the pool: all who work at it count as inside
    std::shared_ptr<Work> keep;
    Entry *before = nullptr, *after = nullptr;
    std::fenv_t environment{};
    unsigned threadLimit = 0;
    /// The threads at work, without the one that opened it; and kNotification for each NotifyWork.
    alignas(64) std::atomic<std::uint32_t> state{0};
    std::atomic<std::uint32_t> sleepers{0};
};

/// A thread of the pool.
struct ThreadPool::Member
{
    std::shared_ptr<platform::Thread> thread;
    platform::Parker parker;
};

/// One thread's lifetime at a work, which also ends when the thread is.
class ThreadPool::Session
{
public:
    Session(ThreadPool& pool, Entry& entry)
        : pool_(pool), entry_(entry), forks_(forkCount_), environment_(entry.environment),
          limit_(static_cast<int>(entry.threadLimit))
    {
    }
    ~Session()
    {
        if (forks_ == forkCount_)
            pool_.Leave(entry_);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

private:
    ThreadPool& pool_;
    Entry& entry_;
    const unsigned forks_;
    FloatEnvGuard environment_;
    ThreadLimit limit_;
};

} // namespace parallel
