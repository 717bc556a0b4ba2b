#include "sys/thread/Work.h"

#include "sys/thread/Crew.h"

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
constexpr double kLeast = 500, kMost = 50'000; // of a piece
constexpr unsigned kGrowth = 8;                // of the pieces while their cost is not yet known

constexpr std::uint32_t kUnits = 0xfffffffe; // the most that lanes hold

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
    Divide(done);
    room_ = workers_ - 1;
    Crew& crew = Crew::Instance();
    crew.Open(*this);
    if (few && count_ > 1)
        crew.CallHelp(*this);
    TakePart(0, !few);
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

/// Lays what is left after the first @p done numbers in lanes.
void Work::Divide(std::uint64_t done)
{
    first_ = done;
    const std::uint64_t left = count_ - done;
    unit_ = grain_ * (left / grain_ / kUnits + 1);
    const std::uint64_t units = left / unit_ + (left % unit_ != 0 ? 1 : 0);
    lanesUsed_ = static_cast<unsigned>(std::min<std::uint64_t>(workers_, kLanes));
    std::uint32_t begin = 0;
    for (unsigned i = 0; i < lanesUsed_; ++i)
    {
        const auto end = static_cast<std::uint32_t>(units * (i + 1) / lanesUsed_);
        lanes_[i].left.store(Span{begin, end}, std::memory_order_relaxed);
        begin = end;
    }
}

/// @param place  which lane is the thread's own, modulo their number
void Work::TakePart(unsigned place, bool mayCall)
{
    const Stopwatch watch;
    Lane& own = lanes_[place % lanesUsed_];
    double perUnit = perNumber_.load(std::memory_order_relaxed) * static_cast<double>(unit_);
    double before = 0;
    Span piece{};
    while (Claim(own, perUnit, piece))
    {
        const std::uint64_t begin = first_ + piece.begin * unit_;
        try
        {
            piece_(context_, begin, begin + std::min(piece.Size() * unit_, count_ - begin));
        }
        catch (...)
        {
            Fail();
            return;
        }
        const double now = watch.Read();
        perUnit = std::max((now - before) / piece.Size(), 0.1);
        before = now;
        if (!mayCall || now < kBeforeWaking - kAlone)
            continue;
        mayCall = false;
        perNumber_.store(perUnit / static_cast<double>(unit_), std::memory_order_relaxed);
        if (IsWorthWaking())
            Crew::Instance().CallHelp(*this);
    }
}

/// How many numbers nobody has begun.
std::uint64_t Work::Left() const
{
    std::uint64_t units = 0;
    for (unsigned i = 0; i < lanesUsed_; ++i)
        units += lanes_[i].left.load(std::memory_order_relaxed).Size();
    return units * unit_;
}

/// Whether so much is left that a sleeper should be woken for it; yes while nothing is known.
bool Work::IsWorthWaking() const
{
    const double perNumber = perNumber_.load(std::memory_order_relaxed);
    return perNumber == 0 || perNumber * static_cast<double>(Left()) >= kWorthWaking;
}

/// The lane with most left, and its @p left as it was seen; null when there is nothing anywhere.
Work::Lane* Work::Fullest(Span& left)
{
    Lane* fullest = nullptr;
    left = {};
    for (unsigned i = 0; i < lanesUsed_; ++i)
        if (const Span seen = lanes_[i].left.load(std::memory_order_relaxed);
            seen.Size() > left.Size())
        {
            fullest = &lanes_[i];
            left = seen;
        }
    return fullest;
}

/// Takes a piece out of the thread's own lane or, when that is empty, of the fullest.
bool Work::Claim(Lane& own, double perUnit, Span& piece)
{
    const auto unitsIn = [perUnit](double time) {
        return static_cast<std::uint32_t>(std::clamp(time / perUnit, 1.0, 4e9));
    };
    const bool known = perUnit > 0;
    const std::uint32_t least = known ? unitsIn(kLeast) : 1, most = known ? unitsIn(kMost) : kUnits;
    Lane* lane = &own;
    Span left = lane->left.load(std::memory_order_relaxed);
    for (;;)
    {
        if (left.Size() == 0 && (lane = Fullest(left)) == nullptr)
            return false;
        const std::uint32_t share = left.Size() / (known ? 2 : 4);
        const std::uint32_t size = std::min(left.Size(), std::clamp(share, least, most));
        Span rest = piece = left;
        if (lane == &own)
            rest.begin = piece.end = left.begin + size;
        else
            rest.end = piece.begin = left.end - size;
        if (lane->left.compare_exchange_weak(left, rest, std::memory_order_relaxed))
            return true;
    }
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
    for (unsigned i = 0; i < lanesUsed_; ++i)
        lanes_[i].left.store(Span{0, 0}, std::memory_order_relaxed);
}

void Work::Start(std::shared_ptr<Work> self)
{
    if (count_ == 0)
        return;
    self_ = std::move(self);
    Divide(0);
    room_ = workers_;
    Crew& crew = Crew::Instance();
    crew.Open(*this);
    crew.CallHelp(*this);
}

void Work::Wait()
{
    Crew& crew = Crew::Instance();
    if (unsigned place = 0; crew.Enter(*this, place))
    {
        TakePart(place, false);
        crew.Leave(*this);
    }
    crew.Close(*this); // who is in does what is left
    if (failure_)
        std::rethrow_exception(failure_);
}

} // namespace sys::thread::impl
