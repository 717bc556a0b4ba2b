#include "sys/sys_thread_Crew_impl.h"

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

// Nanoseconds. Waking a sleeper takes the caller some 3 us and the sleeper 25 us and more; joining
// work that is open takes a spinning thread a few tenths of one.
constexpr double kAlone = 300;         // before anybody is let in
constexpr double kWorthCompany = 3000; // what must be left then
constexpr double kBeforeWaking = 3000;
constexpr double kWorthWaking = 5000;
constexpr double kPiece = 500;       // the least that is handed out
constexpr std::uint64_t kShares = 3; // of a thread, in what is left
constexpr double kSpin = 40'000;
constexpr std::size_t kMostMembers = 1024;
constexpr unsigned kGrowth = 8; // of the pieces while their cost is not yet known

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

/// Nanoseconds since its start.
class Work::Stopwatch
{
public:
    double Read() const
    {
        return std::chrono::duration<double, std::nano>(Clock::now() - start_).count();
    }

private:
    Clock::time_point start_ = Clock::now();
};

void Work::Run()
{
    if (workers_ == 1)
    {
        if (count_ != 0)
            piece_(context_, 0, count_);
        return;
    }
    // Few numbers are long ones as a rule: help is called at once, before the first has run.
    const bool few = count_ <= 4 * workers_;
    const std::uint64_t done = few ? 0 : RunAlone();
    if (done == count_)
        return;
    next_.store(done, std::memory_order_relaxed);
    room_ = workers_ - 1;
    Crew& crew = Crew::Instance();
    crew.Open(*this);
    if (few && count_ > 1)
        crew.CallHelp(*this);
    TakePart(!few);
    crew.Close(*this);
    if (failure_)
        std::rethrow_exception(failure_);
}

/// Does the first numbers, until it is plain that the rest is worth company.
std::uint64_t Work::RunAlone()
{
    const Stopwatch watch;
    std::uint64_t done = 0, size = grain_;
    for (;;)
    {
        const std::uint64_t end = done + std::min(size, count_ - done);
        piece_(context_, done, end);
        done = end;
        if (done == count_)
            return done;
        const double elapsed = watch.Read();
        const double perNumber = std::max(elapsed / static_cast<double>(done), 0.1);
        const double left = perNumber * static_cast<double>(count_ - done);
        perNumber_.store(perNumber, std::memory_order_relaxed);
        if (elapsed >= kAlone && left >= kWorthCompany)
            return done;
        const double wanted = elapsed < kAlone ? (kAlone - elapsed) / perNumber : left;
        size = std::clamp(static_cast<std::uint64_t>(wanted) + 1, grain_, kGrowth * size);
    }
}

void Work::TakePart(bool mayCall)
{
    const Stopwatch watch;
    double perNumber = perNumber_.load(std::memory_order_relaxed), before = 0;
    std::uint64_t begin = 0, end = 0;
    while (Claim(begin, end, perNumber))
    {
        try
        {
            piece_(context_, begin, end);
        }
        catch (...)
        {
            Fail();
            return;
        }
        const double now = watch.Read();
        perNumber = std::max((now - before) / static_cast<double>(end - begin), 0.1);
        before = now;
        if (!mayCall || now < kBeforeWaking - kAlone || end == count_)
            continue;
        mayCall = false;
        perNumber_.store(perNumber, std::memory_order_relaxed);
        if (IsWorthWaking())
            Crew::Instance().CallHelp(*this);
    }
}

/// Whether so much is left that a sleeper should be woken for it; yes while nothing is known.
bool Work::IsWorthWaking() const
{
    const double perNumber = perNumber_.load(std::memory_order_relaxed);
    const std::uint64_t next = std::min(next_.load(std::memory_order_relaxed), count_);
    return perNumber == 0 || perNumber * static_cast<double>(count_ - next) >= kWorthWaking;
}

bool Work::Claim(std::uint64_t& begin, std::uint64_t& end, double perNumber)
{
    const std::uint64_t least =
        perNumber > 0 ? std::max(grain_, static_cast<std::uint64_t>(kPiece / perNumber)) : grain_;
    begin = next_.load(std::memory_order_relaxed);
    do
    {
        if (begin >= count_)
            return false;
        const std::uint64_t left = count_ - begin;
        end = begin + std::min(left, std::max(left / (kShares * workers_), least));
    } while (!next_.compare_exchange_weak(begin, end, std::memory_order_relaxed));
    return true;
}

/// Keeps the first exception and lets nobody begin another piece.
void Work::Fail()
{
    static std::mutex lock;
    {
        const std::lock_guard guard(lock);
        if (!failure_)
            failure_ = std::current_exception();
    }
    next_.store(count_, std::memory_order_relaxed);
}

void Work::Start(std::shared_ptr<Work> self)
{
    if (count_ == 0)
        return;
    self_ = std::move(self);
    room_ = workers_;
    Crew& crew = Crew::Instance();
    crew.Open(*this);
    crew.CallHelp(*this);
}

void Work::Wait()
{
    Crew& crew = Crew::Instance();
    crew.Enter(*this);
    TakePart(false);
    crew.Leave(*this);
    crew.Close(*this);
    if (failure_)
        std::rethrow_exception(failure_);
}

bool Work::IsOver() const { return !HasMore() && inside_.load(std::memory_order_acquire) == 0; }

// Crew

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

void Crew::Enter(Work& work)
{
    const std::lock_guard lock(lock_);
    work.inside_.fetch_add(1, std::memory_order_relaxed);
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
Work* Crew::Join(unsigned& openings)
{
    const std::lock_guard lock(lock_);
    for (Work* work = first_; work != nullptr; work = work->after_)
        if (MayJoin(*work))
        {
            work->inside_.fetch_add(1, std::memory_order_relaxed);
            return work;
        }
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
    unsigned openings = 0;
    while (!stopping_)
    {
        if (Work* const work = Join(openings))
        {
            {
                const Disguise disguise(work->arithmetic_, work->parentId_);
                if (work->IsWorthWaking())
                    CallHelp(*work); // who is woken wakes the next
                work->TakePart(false);
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
