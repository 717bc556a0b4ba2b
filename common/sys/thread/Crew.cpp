#include "sys/thread/Crew.h"

#include "foundation/kvidbg.h"
#include "platform/platform_thread.h"
#include "sys/sys_thread_affinity.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace sys::thread::impl
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr double kSpin = 40'000; // nanoseconds
constexpr std::size_t kMostMembers = 1024;

thread_local bool isMember = false;

platform::Parking& MyBed()
{
    thread_local platform::Parking bed;
    return bed;
}

/// The pool's threads help with the arithmetic of whom they help, and note who that is.
class Disguise
{
public:
    Disguise(const std::fenv_t& arithmetic, unsigned parentId) : parentId_(affinity::ParentId())
    {
        std::fegetenv(&own_);
        std::fesetenv(&arithmetic);
        affinity::SetParentId(parentId);
    }
    ~Disguise()
    {
        affinity::SetParentId(parentId_);
        std::fesetenv(&own_);
    }
    Disguise(const Disguise&) = delete;
    Disguise& operator=(const Disguise&) = delete;

private:
    std::fenv_t own_;
    unsigned parentId_;
};

} // namespace

Crew& Crew::Instance()
{
    static Crew& crew = *new Crew; // its threads may outlive the statics
    return crew;
}

void Crew::Begin()
{
    const std::lock_guard lock(lock_);
    finished_ = false;
}

void Crew::Finish()
{
    if (isMember)
    {
        KVI_LOG(kvi::diag::error, 0, "the task pool cannot be finished by a task");
        return;
    }
    const std::lock_guard finishing(finishing_);
    std::vector<std::unique_ptr<Member>> members;
    {
        const std::lock_guard lock(lock_);
        finished_ = true;
        stopping_ = true;
        members.swap(members_);
        idle_.clear();
    }
    for (const auto& member : members)
        member->bed.Wake();
    for (const auto& member : members)
        member->thread->Join();
    const std::lock_guard lock(lock_);
    stopping_ = false;
}

bool Crew::MayJoin(const Work& work)
{
    return work.HasMore() && work.inside_.load(std::memory_order_relaxed) < work.room_;
}

void Crew::Open(Work& work)
{
    std::fegetenv(&work.arithmetic_);
    work.parentId_ = affinity::CurrentId();
    const std::lock_guard lock(lock_);
    work.open_ = true;
    work.before_ = nullptr;
    work.after_ = first_;
    if (first_ != nullptr)
        first_->before_ = &work;
    first_ = &work;
    openings_.fetch_add(1, std::memory_order_relaxed);
}

void Crew::CallHelp(Work& work)
{
    const std::lock_guard lock(lock_);
    if (finished_ || stopping_ || !work.open_ || !MayJoin(work))
        return;
    if (!idle_.empty())
    {
        Member* const member = idle_.back();
        idle_.pop_back();
        member->bed.Wake();
        return;
    }
    if (members_.size() >= work.room_ || members_.size() >= kMostMembers)
        return;
    auto member = std::make_unique<Member>();
    member->thread = platform::Thread::Start(&Crew::Run, member.get(), 0);
    if (member->thread == nullptr)
        return; // the work goes on with those there are
    members_.push_back(std::move(member));
    members_.back()->thread->Resume();
}

void Crew::Unlink(Work& work)
{
    if (!std::exchange(work.open_, false))
        return;
    (work.before_ != nullptr ? work.before_->after_ : first_) = work.after_;
    if (work.after_ != nullptr)
        work.after_->before_ = work.before_;
}

void Crew::Close(Work& work)
{
    {
        const std::lock_guard lock(lock_);
        Unlink(work);
    }
    // The last piece of a helper is short, as a rule.
    for (int spin = 0; spin < 400; ++spin)
    {
        if (work.inside_.load(std::memory_order_acquire) == 0)
            return;
        platform::SpinPause();
    }
    Work::Waiting entry{&MyBed(), nullptr};
    {
        const std::lock_guard lock(lock_);
        if (work.inside_.load(std::memory_order_relaxed) == 0)
            return;
        entry.next = work.waiting_;
        work.waiting_ = &entry;
    }
    (void)entry.bed->Sleep(); // without limit
}

/// Lets the calling thread in, if the work may have one more. Behind the lock.
bool Crew::Admit(Work& work, unsigned& place)
{
    if (!MayJoin(work))
        return false;
    place = work.FirstPlace() + work.inside_.fetch_add(1, std::memory_order_relaxed);
    return true;
}

bool Crew::Enter(Work& work, unsigned& place)
{
    const std::lock_guard lock(lock_);
    return Admit(work, place);
}

void Crew::Leave(Work& work)
{
    std::shared_ptr<Work> last; // is given up without the lock
    const std::lock_guard lock(lock_);
    const bool over = work.inside_.load(std::memory_order_relaxed) == 1;
    if (over && !work.HasMore())
    {
        Unlink(work);
        last = std::move(work.self_);
    }
    Work::Waiting* waiting = over ? std::exchange(work.waiting_, nullptr) : nullptr;
    work.inside_.fetch_sub(1, std::memory_order_release); // the work may be gone from here on
    while (waiting != nullptr)
        std::exchange(waiting, waiting->next)->bed->Wake();
}

/// Work that has room for the calling thread, which then is in; or null, and how many openings
/// there had been by then.
Work* Crew::Join(unsigned& openings, unsigned& place)
{
    const std::lock_guard lock(lock_);
    for (Work* work = first_; work != nullptr; work = work->after_)
        if (Admit(*work, place))
            return work;
    openings = openings_.load(std::memory_order_relaxed);
    return nullptr;
}

/// Waits a while for another opening. @returns false when there was none
bool Crew::SpinForWork(unsigned openings) const
{
    static const bool alone = platform::ProcessorCount() == 1;
    const Clock::time_point start = Clock::now();
    while (!alone && std::chrono::duration<double, std::nano>(Clock::now() - start).count() < kSpin)
        for (int i = 0; i < 16; ++i)
        {
            if (openings_.load(std::memory_order_relaxed) != openings || stopping_)
                return true;
            platform::SpinPause();
        }
    return false;
}

void Crew::Run(void* member)
{
    isMember = true;
    Instance().Serve(*static_cast<Member*>(member));
}

void Crew::Serve(Member& member)
{
    unsigned openings = 0, place = 0;
    while (!stopping_)
    {
        if (Work* const work = Join(openings, place))
        {
            {
                const Disguise disguise(work->arithmetic_, work->parentId_);
                if (work->IsWorthWaking())
                    CallHelp(*work); // who is woken wakes the next
                work->TakePart(place, false);
            }
            Leave(*work);
            continue;
        }
        if (SpinForWork(openings))
            continue;
        {
            const std::lock_guard lock(lock_);
            if (stopping_ || openings_.load(std::memory_order_relaxed) != openings)
                continue;
            idle_.push_back(&member);
        }
        (void)member.bed.Sleep(); // without limit
    }
}

} // namespace sys::thread::impl
