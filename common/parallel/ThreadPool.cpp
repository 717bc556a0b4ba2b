#include "parallel/ThreadPool.h"

#include "foundation/kvidbg.h"
#include "parallel/PoolEntry.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

namespace parallel
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr double kSpin = 40'000;                             // nanoseconds
constexpr std::uint32_t kFirstLook = 50, kLongestLook = 400; // of the monitor, milliseconds
constexpr std::size_t kMostMembers = 1024;

thread_local bool isMember = false;

/// Whether Finish has been called since the last Start; a forked child inherits it.
constinit std::atomic<bool> isFinished{false};

} // namespace

constinit std::atomic<unsigned> ThreadPool::forkCount_{0};

/// An object that is never destroyed, since threads may outlive the statics. Made without code at
/// run time where the standard library's mutex allows it (not with MinGW).
template <class T>
union ThreadPool::Immortal
{
    constexpr Immortal() : object() {}
    ~Immortal() {}
    T object;
};

ThreadPool& ThreadPool::Instance()
{
    static Immortal<ThreadPool> only; // Finish frees what it has on the heap
    return only.object;
}

/// In a forked child: the threads are gone, and any lock may be held by one of them.
void ThreadPool::StartFresh()
{
    isMember = false;
    ++forkCount_;
    new (&Instance()) ThreadPool; // what the old one held stays where it is
}

void ThreadPool::Start() { isFinished = false; }

void ThreadPool::Finish()
{
    if (isMember)
    {
        KVI_LOG(kvi::diag::error, 0, "the task pool cannot be finished by a task");
        return;
    }
    const std::lock_guard finishing(finishing_);
    std::vector<std::unique_ptr<Member>> members, retired;
    std::unique_ptr<Member> monitor;
    {
        const std::lock_guard lock(lock_);
        isFinished = true;
        stopping_ = true;
        isMonitoring_ = false;
        monitor.swap(monitor_);
        members.swap(members_);
        retired.swap(retired_);
        (void)std::exchange(idle_, std::vector<Member*>());
    }
    for (const auto& member : members)
        member->parker.Wake();
    if (monitor != nullptr)
    {
        monitor->parker.Wake();
        monitor->thread->Join();
    }
    for (const auto* group : {&members, &retired})
        for (const auto& member : *group)
            member->thread->Join();
    const std::lock_guard lock(lock_);
    stopping_ = false;
    std::size_t unused = 0;
    for (const Entry* entry = free_; entry != nullptr; entry = entry->after)
        ++unused;
    if (unused == entries_.size())
    {
        free_ = nullptr;
        (void)std::exchange(entries_, std::vector<std::unique_ptr<Entry>>());
    }
}
void ThreadPool::RequestHelper(Entry& entry)
{
    const std::lock_guard lock(lock_);
    if (!entry.isOpen || !entry.MayJoin())
        return;
    const std::size_t size = JobThreads() - (entry.isKept ? 0 : 1); // its caller is one of them
    if (!WakeOrStart(std::max<std::size_t>(size, entry.room)) && entry.IsStarved())
        StartMonitor();
}

/// Wakes a sleeping thread or, where none sleeps and there are fewer than @p limit, starts one.
/// Behind the lock.
/// @returns whether it did
bool ThreadPool::WakeOrStart(std::size_t limit)
{
    if (isFinished || stopping_)
        return false;
    if (!idle_.empty())
    {
        Member* const member = idle_.back();
        idle_.pop_back();
        member->parker.Wake();
        return true;
    }
    if (members_.size() >= std::min(limit, kMostMembers))
        return false;
    try
    {
        members_.reserve(members_.size() + 1);
        idle_.reserve(members_.size() + 1);
        retired_.reserve(members_.size() + retired_.size() + 1);
        auto member = std::make_unique<Member>();
        member->thread = platform::Thread::Start(&ThreadPool::Run, member.get(), 0);
        if (member->thread == nullptr)
            return false; // the work goes on with the threads there are
        members_.push_back(std::move(member));
        members_.back()->thread->Resume();
        return true;
    }
    catch (const std::bad_alloc&) // likewise
    {
        return false;
    }
}

/// Kept work that nobody has begun, or null. Behind the lock.
const ThreadPool::Entry* ThreadPool::FindStarved() const
{
    const Entry* entry = open_;
    while (entry != nullptr && !entry->IsStarved())
        entry = entry->after;
    return entry;
}

/// Has the monitor look after kept work that no thread was free for. Behind the lock.
void ThreadPool::StartMonitor()
{
    if (isFinished || stopping_ || isMonitoring_)
        return;
    if (monitor_ != nullptr)
        monitor_->parker.Wake();
    else
        try
        {
            auto monitor = std::make_unique<Member>();
            monitor->thread = platform::Thread::Start(&ThreadPool::Monitor, monitor.get(), 0);
            if (monitor->thread == nullptr)
                return;
            monitor_ = std::move(monitor);
            monitor_->thread->Resume();
        }
        catch (const std::bad_alloc&)
        {
            return;
        }
    isMonitoring_ = true;
}

/// The monitor's thread. The threads at work may all be waiting for work that nobody has begun:
/// while nothing begins, it starts one thread after the other beyond the pool's size.
void ThreadPool::Monitor(void* object)
{
    platform::Parker& parker = static_cast<Member*>(object)->parker;
    ThreadPool& pool = Instance();
    std::uint32_t wait = kFirstLook, joins = 0;
    bool isFirst = true;
    for (;;)
    {
        bool isNeeded = false;
        {
            const std::lock_guard lock(pool.lock_);
            if (pool.stopping_)
                return;
            isNeeded = pool.isMonitoring_ = pool.FindStarved() != nullptr;
            if (isNeeded && !isFirst && pool.joins_ == joins)
            {
                pool.WakeOrStart(kMostMembers);
                wait = std::min(2 * wait, kLongestLook);
            }
            joins = pool.joins_;
        }
        isFirst = !isNeeded;
        if (isFirst)
            wait = kFirstLook;
        (void)parker.Sleep(isNeeded ? wait : platform::kForever);
    }
}

/// Work that has room for the calling thread, which then is in; or null, and how many openings
/// there had been by then.
ThreadPool::Entry* ThreadPool::Join(unsigned& openings, unsigned& slot)
{
    const std::lock_guard lock(lock_);
    for (Entry* entry = open_; entry != nullptr; entry = entry->after)
        if (Admit(*entry, slot))
        {
            const Entry* const other = FindStarved();
            if (other != nullptr && !WakeOrStart(std::max<std::size_t>(JobThreads(), other->room)))
                StartMonitor();
            return entry;
        }
    openings = openings_.load(std::memory_order_acquire);
    return nullptr;
}

/// Waits a while for another opening. @returns false when there was none
bool ThreadPool::SpinForWork(unsigned openings) const
{
    if (ProcessorCount() == 1)
        return false;
    const Clock::time_point start = Clock::now();
    while (std::chrono::duration<double, std::nano>(Clock::now() - start).count() < kSpin)
        for (int i = 0; i < 16; ++i)
        {
            if (openings_.load(std::memory_order_acquire) != openings || stopping_)
                return true;
            platform::SpinPause();
        }
    return false;
}

void ThreadPool::Run(void* object)
{
    struct Lifetime
    {
        Member& member;
        const unsigned generation = forkCount_;
        bool isOver = false;
        ~Lifetime()
        {
            if (!isOver && generation == forkCount_)
                Instance().Retire(member);
        }
    };
    isMember = true;
    Lifetime lifetime{*static_cast<Member*>(object)};
    Instance().Serve(lifetime.member);
    lifetime.isOver = true;
}

/// A body ended the thread: it makes room for another, and is joined by Finish.
void ThreadPool::Retire(Member& member)
{
    const std::lock_guard lock(lock_);
    const auto at = std::find_if(members_.begin(), members_.end(),
                                 [&](const auto& one) { return one.get() == &member; });
    if (at == members_.end())
        return; // Finish has it
    retired_.push_back(std::move(*at));
    members_.erase(at);
}

void ThreadPool::Serve(Member& member)
{
    const unsigned generation = forkCount_;
    unsigned openings = 0, slot = 0;
    while (generation == forkCount_ && !stopping_)
    {
        if (Entry* const entry = Join(openings, slot))
        {
            const Session session(*this, *entry);
            if (entry->work->IsWorthWaking())
                RequestHelper(*entry); // who is woken wakes the next
            entry->work->TakePart(slot);
            continue;
        }
        if (SpinForWork(openings))
            continue;
        {
            const std::lock_guard lock(lock_);
            if (stopping_ || openings_.load(std::memory_order_acquire) != openings)
                continue;
            idle_.push_back(&member);
        }
        (void)member.parker.Sleep(); // without limit
    }
}

} // namespace parallel
