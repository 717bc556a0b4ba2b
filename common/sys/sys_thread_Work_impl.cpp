#include "sys/sys_thread_Work_impl.h"

#include "sys/sys_thread_Crew_impl.h"

#include <algorithm>
#include <chrono>
#include <mutex>
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
constexpr unsigned kGrowth = 8;      // of the pieces while their cost is not yet known

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
    if (crew.Enter(*this))
    {
        TakePart(false);
        crew.Leave(*this);
    }
    crew.Close(*this); // who is in does what is left
    if (failure_)
        std::rethrow_exception(failure_);
}

} // namespace sys::thread::impl
