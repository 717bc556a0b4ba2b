#include "parallel/ThreadPool.h"

#include "foundation/kvidbg.h"
#include "parallel/FloatEnvGuard.h"
#include "parallel/ThreadCount.h"
#include "platform/platform_fork.h"
#include "platform/platform_thread.h"

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
constexpr std::uint32_t kNotification = 1 << 16; // in the word of an entry

thread_local bool isMember = false;

/// Forks on the way from the first process to this one.
constinit std::atomic<unsigned> forks{0};

/// Whether Finish has been called since the last Start; a forked child inherits it.
constinit std::atomic<bool> isFinished{false};

} // namespace

struct ThreadPool::Entry // NOLINT(clang-analyzer-optin.performance.Padding): counters on own lines
{
    unsigned Inside() const { return state.load(std::memory_order_relaxed) % kNotification; }
    bool MayJoin() const { return work->HasMore() && Inside() < room; }
    /// Nobody is at it, as only the pool's threads will be before somebody waits.
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
        : pool_(pool), entry_(entry), forks_(forks), environment_(entry.environment),
          limit_(static_cast<int>(entry.threadLimit))
    {
    }
    ~Session()
    {
        if (forks_ == forks)
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
    ++forks;
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

// ------------------------------------------------------------------------------------------------
// Open work

ThreadPool::Registration::~Registration() { Close(); }

bool ThreadPool::Registration::IsForked() const { return entry_ != nullptr && forks_ != forks; }

bool ThreadPool::Registration::LostWork() const { return IsForked() && entry_->Inside() != 0; }

bool ThreadPool::Registration::Open(Work& work, unsigned room, std::shared_ptr<Work> keep)
{
    ThreadPool& pool = Instance();
    const std::lock_guard lock(pool.lock_);
    static constinit platform::ForkHandler handler{platform::ForkRank::pool, nullptr, nullptr,
                                                   &ThreadPool::StartFresh};
    platform::AddForkHandler(handler);
    Entry* entry = pool.free_;
    if (entry != nullptr)
        pool.free_ = entry->after;
    else
        try
        {
            pool.entries_.push_back(std::make_unique<Entry>());
            entry = pool.entries_.back().get();
        }
        catch (const std::bad_alloc&)
        {
            return false;
        }
    std::fegetenv(&entry->environment);
    entry->threadLimit = ThreadLimit::Current();
    entry->work = &work;
    entry->room = room;
    entry->isOpen = true;
    entry->isKept = keep != nullptr;
    entry->keep = std::move(keep);
    entry->before = nullptr;
    entry->after = pool.open_;
    if (pool.open_ != nullptr)
        pool.open_->before = entry;
    pool.open_ = entry;
    pool.openings_.fetch_add(1, std::memory_order_release);
    entry_ = entry;
    forks_ = forks;
    return true;
}

void ThreadPool::Registration::RequestHelper()
{
    if (entry_ != nullptr && !IsForked())
        Instance().RequestHelper(*entry_);
}

void ThreadPool::Registration::NotifyWork()
{
    if (entry_ == nullptr || IsForked())
        return;
    entry_->state.fetch_add(kNotification);
    Instance().openings_.fetch_add(1, std::memory_order_release);
    if (entry_->sleepers.load() != 0)
        platform::WakeAll(entry_->state);
}

void ThreadPool::Registration::TakePart()
{
    if (entry_ == nullptr || IsForked())
        return;
    ThreadPool& pool = Instance();
    unsigned slot = 0;
    {
        const std::lock_guard lock(pool.lock_);
        if (!entry_->isOpen || !pool.Admit(*entry_, slot))
            return;
    }
    const Session session(pool, *entry_);
    entry_->work->TakePart(slot);
}

bool ThreadPool::Registration::AwaitMore()
{
    if (entry_ == nullptr)
        return false;
    constexpr int kSpins = 400; // the last piece of a helper is short, as a rule
    for (int spins = 0;; ++spins)
    {
        const std::uint32_t state = entry_->state.load(); // before the look at what is left
        const std::uint32_t inside = state % kNotification;
        const bool hasMore = entry_->work->HasMore();
        if (hasMore && (!entry_->isKept || inside < entry_->room))
            return true;
        if ((!hasMore && inside == 0) || IsForked())
            return false;
        if (spins < kSpins)
        {
            platform::SpinPause();
            continue;
        }
        entry_->sleepers.fetch_add(1);
        platform::SleepOn(entry_->state, state);
        entry_->sleepers.fetch_sub(1);
    }
}

void ThreadPool::Registration::Close()
{
    Entry* const entry = std::exchange(entry_, nullptr);
    if (entry == nullptr || forks_ != forks)
        return;
    ThreadPool& pool = Instance();
    {
        const std::lock_guard lock(pool.lock_);
        pool.Unlink(*entry);
    }
    while (const std::uint32_t inside = entry->state.load() % kNotification)
    {
        const std::uint32_t state = entry->state.load();
        if (state % kNotification != inside)
            continue;
        entry->sleepers.fetch_add(1);
        platform::SleepOn(entry->state, state);
        entry->sleepers.fetch_sub(1);
        if (forks_ != forks)
            return;
    }
    const std::lock_guard lock(pool.lock_);
    entry->work = nullptr;
    entry->after = pool.free_;
    pool.free_ = entry;
}

void ThreadPool::Unlink(Entry& entry)
{
    if (!std::exchange(entry.isOpen, false))
        return;
    (entry.before != nullptr ? entry.before->after : open_) = entry.after;
    if (entry.after != nullptr)
        entry.after->before = entry.before;
}

/// Lets the calling thread in, if the work may have one more. Behind the lock.
bool ThreadPool::Admit(Entry& entry, unsigned& slot)
{
    if (!entry.MayJoin())
        return false;
    slot = entry.state.fetch_add(1, std::memory_order_relaxed) % kNotification;
    ++joins_;
    return true;
}

void ThreadPool::Leave(Entry& entry)
{
    std::shared_ptr<Work> last; // is given up without the lock
    {
        const std::lock_guard lock(lock_);
        if (entry.isKept && entry.Inside() == 1 && !entry.work->HasMore())
        {
            Unlink(entry);
            last = std::move(entry.keep);
        }
        entry.state.fetch_sub(1); // the work may be gone from here on; the entry stays
    }
    if (entry.sleepers.load() != 0)
        platform::WakeAll(entry.state);
}

// ------------------------------------------------------------------------------------------------
// Threads

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
        const unsigned generation = forks;
        bool isOver = false;
        ~Lifetime()
        {
            if (!isOver && generation == forks)
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
    const unsigned generation = forks;
    unsigned openings = 0, slot = 0;
    while (generation == forks && !stopping_)
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
