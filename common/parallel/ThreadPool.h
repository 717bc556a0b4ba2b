/// @file
/// The threads that the library shares out among its loops and jobs.
#pragma once

#include "platform/platform_park.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace parallel
{

/// What several threads can work at: a loop, or a group of tasks.
class Work
{
public:
    virtual ~Work() = default;
    /// Whether some of it has not been begun. Called often and from any thread; does not block.
    virtual bool HasMore() const = 0;
    /// Whether what has not been begun justifies waking a sleeping thread.
    virtual bool IsWorthWaking() const = 0;
    /// Works at it in the calling thread until nothing is left to begin. Throws nothing; a thread
    /// that is ended inside is unwound through here.
    /// @param slot  the thread's number among those at work, from 0; unique while few join and
    /// leave
    virtual void TakePart(unsigned slot) = 0;
};

/// The threads of the process's pool. They are started when first needed, spin for some tens of
/// microseconds after their last work, and then sleep. A thread helps in the floating-point
/// environment of the thread that opened the work.
///
/// Bodies may wait for each other: work opened with a share (Registration::Open) that no thread is
/// free for, while no other begins for 50 ms, gets a thread beyond the pool's size, up to 1024.
///
/// In a forked child, which has none of its parent's threads, the first work makes a new pool. Work
/// that was open when the process forked is the parent's.
class ThreadPool
{
    struct Entry;

public:
    static ThreadPool& Instance();

    /// Takes work again after a Finish.
    void Start();
    /// Ends all threads after what they are doing; work then gets no help. Not for a pool's thread.
    void Finish();

    /// An entry of the pool's list of open work.
    class Registration
    {
    public:
        /// Nothing; Open makes one.
        Registration() = default;
        ~Registration();
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;

        /// Lets threads of the pool join @p work, at most @p room at once. Without memory for the
        /// entry the work gets no help.
        /// @param keep  a share of @p work, given up when all of it is done; or null, and the
        ///     caller closes the entry before the work goes
        /// @returns whether it is open
        bool Open(Work& work, unsigned room, std::shared_ptr<Work> keep);
        /// Gets one more thread to work, if there is room for it.
        void RequestHelper();
        /// There is something to begin again: calls back threads that wait, spin or sleep.
        void NotifyWork();
        /// Joins in the calling thread, where there is room for one more.
        void TakePart();
        /// Waits until there is something to begin (true) or nobody is at work any more (false).
        bool AwaitMore();
        /// Lets nobody in any more; waits for those who are at work.
        void Close();
        /// In a child forked since Open: whether other threads were at work, which are lost to it.
        bool LostWork() const;

    private:
        bool IsForked() const;

        Entry* entry_ = nullptr;
        unsigned forks_ = 0; // at Open
    };

private:
    struct Member;
    class Session;
    template <class T>
    union Immortal;

    /// Forks on the way from the first process to this one.
    static std::atomic<unsigned> forkCount_;

    ThreadPool() = default;
    static void StartFresh();
    static void Run(void* object);
    void Serve(Member& member);
    void Retire(Member& member);
    Entry* Join(unsigned& openings, unsigned& slot);
    bool Admit(Entry& entry, unsigned& slot);
    void Leave(Entry& entry);
    void RequestHelper(Entry& entry);
    bool WakeOrStart(std::size_t limit);
    const Entry* FindStarved() const;
    void StartMonitor();
    static void Monitor(void* object);
    void Unlink(Entry& entry);
    bool SpinForWork(unsigned openings) const;

    std::mutex finishing_;              // one Finish at a time
    std::mutex lock_;                   // of all below but the atomics
    std::atomic<unsigned> openings_{0}; // grows when there is something new to begin
    std::atomic<bool> stopping_{false};
    Entry* open_ = nullptr; // list of open work, newest first
    Entry* free_ = nullptr; // entries for reuse
    std::vector<std::unique_ptr<Entry>> entries_;
    std::vector<std::unique_ptr<Member>> members_, retired_;
    std::vector<Member*> idle_;
    std::unique_ptr<Member> monitor_;
    bool isMonitoring_ = false;
    std::uint32_t joins_ = 0; // of threads to open work
};

} // namespace parallel
