#include "parallel/Loop.h"

#include "platform/platform_cpu.h"

#include <algorithm>
#include <chrono>
#include <cxxabi.h>
#include <new>
#include <stdexcept>
#include <utility>

namespace parallel
{
namespace
{

using Clock = std::chrono::steady_clock;

// Nanoseconds. Waking a sleeper takes the caller some 3 us and the sleeper 25 us and more; joining
// open work takes a spinning thread a few tenths of one.
constexpr double kSoloTime = 300;       // before other threads may join
constexpr double kMinSharedTime = 3000; // minimum of the remaining work then
constexpr double kBeforeWaking = 3000;
constexpr double kWorthWaking = 5000;
constexpr double kLeast = 500, kMost = 50'000; // of a piece
constexpr double kStride = 400;                // between two looks at whether to stop
constexpr unsigned kGrowth = 8;                // of the pieces while their cost is not yet known

// Of the processor's counter, which ticks two to five times a nanosecond.
constexpr std::uint64_t kSoloTicks = 1000, kSharedTicks = 10'000, kMostTicks = 300'000;

constexpr std::uint32_t kUnits = 0xfffffffe; // the most that lanes hold
constexpr std::uint64_t kMostStride = 64;
constexpr std::uint64_t kShares = 16; // pieces of a thread's even share, where they do not divide

} // namespace

/// Nanoseconds since its start and since its last lap.
class Loop::Stopwatch
{
public:
    double Read() const
    {
        return std::chrono::duration<double, std::nano>(Clock::now() - start_).count();
    }
    double SinceLap() const { return Read() - lap_; }
    /// Begins a lap. @returns how long the one before was
    double Lap()
    {
        const double now = Read();
        return now - std::exchange(lap_, now);
    }
    /// When the lap began.
    double LapStart() const { return lap_; }

private:
    Clock::time_point start_ = Clock::now();
    double lap_ = 0;
};

bool Loop::Yield::IsDue() const
{
    return (wanted_ != nullptr && wanted_->load(std::memory_order_relaxed)) ||
           (deadline_ != kNever && platform::CycleCount() >= deadline_);
}

Loop::Loop(Piece piece, void* context, const Shape& shape)
    : piece_(piece), context_(context), count_(shape.count), threads_(std::max(shape.threads, 1u)),
      grain_(std::max<std::uint64_t>(shape.grain, 1)), divisible_(shape.divisible)
{
}

void Loop::Run()
{
    if (threads_ == 1)
    {
        if (count_ != 0)
            piece_(context_, 0, count_, Yield());
        return;
    }
    // A few numbers are usually expensive ones: helpers are requested at once, before the first has
    // run.
    const bool few = count_ <= 4 * threads_;
    const std::uint64_t done = few ? 0 : RunSolo();
    if (done == count_)
        return;
    Divide(done);
    firstSlot_ = 1;
    registration_.Open(*this, static_cast<unsigned>(threads_ - 1), nullptr);
    {
        struct Closer // also when a piece ends this thread
        {
            ThreadPool::Registration& registration;
            ~Closer() { registration.Close(); }
        };
        const Closer closer{registration_};
        if (few && count_ > 1)
            registration_.RequestHelper();
        do
            Participate(0, !few);
        while (registration_.AwaitMore());
        ThrowIfLost();
    }
    Rethrow();
}

/// Runs the first numbers until the rest is known to be worth sharing.
/// @returns how many it ran
std::uint64_t Loop::RunSolo()
{
    Stopwatch watch;
    const std::uint64_t largest = std::max(grain_, count_ / (kShares * threads_));
    const std::uint64_t most = std::clamp<std::uint64_t>(count_ / 32, 1, 32);
    std::uint64_t done = 0, size = grain_, ticks = 0, stride = 1; // at first a single number
    for (;;)
    {
        const std::uint64_t begin = done;
        if (divisible_)
            done = piece_(context_, begin, count_, Yield(platform::CycleCount() + ticks, stride));
        else
            done = piece_(context_, begin, begin + std::min(size, count_ - begin), Yield());
        if (done == count_)
            return done;
        const double perNumber = std::max(watch.Lap() / static_cast<double>(done - begin), 0.1);
        const double elapsed = watch.LapStart();
        const double left = perNumber * static_cast<double>(count_ - done);
        perNumber_.store(perNumber, std::memory_order_relaxed);
        if (elapsed >= kSoloTime && left >= kMinSharedTime)
            return done;
        ticks = elapsed < kSoloTime ? kSoloTicks : kSharedTicks;
        stride = most;
        const double wanted = elapsed < kSoloTime ? (kSoloTime - elapsed) / perNumber : left;
        size = std::clamp(static_cast<std::uint64_t>(wanted) + 1, grain_, kGrowth * size);
        size = std::min(size, largest);
    }
}

/// Distributes the numbers after the first @p done over lanes.
void Loop::Divide(std::uint64_t done)
{
    first_ = done;
    const std::uint64_t left = count_ - done;
    unit_ = grain_ * (left / grain_ / kUnits + 1);
    const std::uint64_t units = left / unit_ + (left % unit_ != 0 ? 1 : 0);
    largest_ =
        divisible_
            ? kUnits
            : static_cast<std::uint32_t>(std::max<std::uint64_t>(units / (kShares * threads_), 1));
    lanesUsed_ = static_cast<unsigned>(std::min<std::uint64_t>(threads_, kLanes));
    std::uint32_t begin = 0;
    for (unsigned i = 0; i < lanesUsed_; ++i)
    {
        const auto end = static_cast<std::uint32_t>(units * (i + 1) / lanesUsed_);
        lanes_[i].left.store(Span{begin, end}, std::memory_order_relaxed);
        begin = end;
    }
}

/// Lets all threads know what a unit has cost, in nanoseconds.
void Loop::SetCost(double perUnit)
{
    perNumber_.store(perUnit / static_cast<double>(unit_), std::memory_order_relaxed);
}

void Loop::TakePart(unsigned slot) { Participate(firstSlot_ + slot, false); }

/// @param slot     which lane is the thread's own, modulo their number
/// @param mayCall  whether to request a helper once the loop has run for a while
// A thread that ends unwinds without an exception object, which the sanitizer takes for null.
__attribute__((no_sanitize("null"))) void Loop::Participate(unsigned slot, bool mayCall)
{
    Stopwatch watch;
    Lane& own = lanes_[slot % lanesUsed_];
    double perUnit = perNumber_.load(std::memory_order_relaxed) * static_cast<double>(unit_);
    Span piece{};
    while (Claim(own, perUnit, piece))
    {
        std::uint32_t done = 0;
        try
        {
            done = DoPiece(own, piece, perUnit, watch);
        }
        catch (const abi::__forced_unwind&)
        {
            Fail(std::make_exception_ptr(
                std::runtime_error("a pass of a parallel loop ended its thread")));
            throw;
        }
        catch (...)
        {
            Fail(std::current_exception());
            return;
        }
        perUnit = std::max(watch.Lap() / done, 0.1);
        if (!mayCall || watch.LapStart() < kBeforeWaking - kSoloTime)
            continue;
        SetCost(perUnit);
        if (!IsWorthWaking())
            continue;
        mayCall = false;
        registration_.RequestHelper();
    }
    wanted_.store(true, std::memory_order_relaxed);
}

/// Runs the units of @p piece, or the first of them and returns the others to a lane.
/// @returns how many it ran
std::uint32_t Loop::DoPiece(Lane& own, Span piece, double perUnit, const Stopwatch& watch)
{
    const std::uint64_t first = first_ + piece.begin * unit_;
    const std::uint64_t end = first + std::min(piece.Size() * unit_, count_ - first);
    if (!divisible_)
    {
        piece_(context_, first, end, Yield());
        return piece.Size();
    }
    const double wanted = perUnit > 0 ? kStride / perUnit : 1;
    const std::uint64_t most = std::clamp<std::uint64_t>(count_ / 64, 1, kMostStride);
    const std::uint64_t stride =
        std::clamp<std::uint64_t>(static_cast<std::uint64_t>(std::min(wanted, 1e6)), 1, most);
    for (std::uint64_t begin = first;;)
    {
        const Yield yield(platform::CycleCount() + kMostTicks, stride * unit_, &wanted_);
        begin = piece_(context_, begin, end, yield);
        if (begin == end)
            return piece.Size();
        const auto done = static_cast<std::uint32_t>((begin - first) / unit_);
        if (done != 0) // so that the rest is judged by what it cost so far, not by earlier numbers
            SetCost(watch.SinceLap() / done);
        if (ReturnRest(own, Span{piece.begin + done, piece.end}))
            return done;
    }
}

/// Puts the rest of a piece into an empty lane.
/// @returns false when there is none: then other threads have enough work
bool Loop::ReturnRest(Lane& own, Span rest)
{
    wanted_.store(false, std::memory_order_relaxed);
    const auto layIn = [rest](Lane& lane) {
        Span left = lane.left.load(std::memory_order_relaxed);
        for (;;)
        {
            if (left.Size() != 0 && left.begin != rest.end)
                return false;
            const Span whole{rest.begin, left.Size() != 0 ? left.end : rest.end};
            if (lane.left.compare_exchange_weak(left, whole, std::memory_order_relaxed))
                return true;
        }
    };
    bool isLaid = layIn(own);
    for (unsigned i = 0; !isLaid && i < lanesUsed_; ++i)
        isLaid = layIn(lanes_[i]);
    if (!isLaid)
        return false;
    registration_.NotifyWork();
    if (IsWorthWaking())
        registration_.RequestHelper();
    return true;
}

/// How many numbers have not been begun.
std::uint64_t Loop::Left() const
{
    std::uint64_t units = 0;
    for (unsigned i = 0; i < lanesUsed_; ++i)
        units += lanes_[i].left.load(std::memory_order_relaxed).Size();
    return units * unit_;
}

bool Loop::HasMore() const { return !failed_.load(std::memory_order_relaxed) && Left() != 0; }

/// True while no cost is known.
bool Loop::IsWorthWaking() const
{
    const double perNumber = perNumber_.load(std::memory_order_relaxed);
    return perNumber == 0 || perNumber * static_cast<double>(Left()) >= kWorthWaking;
}

/// The lane with the most left, and its @p left as read; null when all are empty.
Loop::Lane* Loop::Fullest(Span& left)
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

/// Takes a piece from the thread's own lane or, when that is empty, from the fullest.
bool Loop::Claim(Lane& own, double perUnit, Span& piece)
{
    if (failed_.load(std::memory_order_relaxed))
        return false;
    const auto unitsIn = [this, perUnit](double time) {
        return static_cast<std::uint32_t>(
            std::clamp(time / perUnit, 1.0, static_cast<double>(largest_)));
    };
    const bool known = perUnit > 0;
    const std::uint32_t least = known ? unitsIn(kLeast) : 1;
    const std::uint32_t most = known ? unitsIn(kMost) : largest_;
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

/// Keeps the first exception and stops further pieces.
void Loop::Fail(std::exception_ptr failure)
{
    if (!failed_.exchange(true))
        failure_ = std::move(failure);
}

void Loop::Begin(std::shared_ptr<Loop> self)
{
    if (count_ == 0)
        return;
    Divide(0);
    if (!registration_.Open(*this, static_cast<unsigned>(threads_), std::move(self)))
        throw std::bad_alloc();
    registration_.RequestHelper();
}

void Loop::Wait()
{
    while (registration_.AwaitMore())
        registration_.TakePart();
    ThrowIfLost();
    Rethrow();
}

void Loop::ThrowIfLost() const
{
    if (registration_.LostWork())
        throw std::runtime_error("the process was forked inside a parallel loop");
}

void Loop::Rethrow()
{
    if (!failure_)
        return;
    reported_ = true;
    std::rethrow_exception(failure_);
}

std::exception_ptr Loop::UnreportedFailure() const { return reported_ ? nullptr : failure_; }

} // namespace parallel
