#include "parallel/PoolEntry.h"
#include "platform/platform_fork.h"

#include <mutex>
#include <new>
#include <utility>

namespace parallel
{

ThreadPool::Registration::~Registration() { Close(); }

bool ThreadPool::Registration::IsForked() const
{
    return entry_ != nullptr && forks_ != forkCount_;
}

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
    forks_ = forkCount_;
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
    entry_->state.fetch_add(Entry::kNotification);
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
        const std::uint32_t inside = state % Entry::kNotification;
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
    if (entry == nullptr || forks_ != forkCount_)
        return;
    ThreadPool& pool = Instance();
    {
        const std::lock_guard lock(pool.lock_);
        pool.Unlink(*entry);
    }
    while (const std::uint32_t inside = entry->state.load() % Entry::kNotification)
    {
        const std::uint32_t state = entry->state.load();
        if (state % Entry::kNotification != inside)
            continue;
        entry->sleepers.fetch_add(1);
        platform::SleepOn(entry->state, state);
        entry->sleepers.fetch_sub(1);
        if (forks_ != forkCount_)
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
    slot = entry.state.fetch_add(1, std::memory_order_relaxed) % Entry::kNotification;
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

} // namespace parallel
