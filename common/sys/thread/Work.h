/// @file
/// Work that several threads share.
#pragma once

#include "platform/platform_park.h"

#include <array>
#include <atomic>
#include <cfenv>
#include <cstdint>
#include <exception>
#include <memory>

namespace sys::thread::impl
{

/// Numbers 0 to count - 1, handed out in pieces until there are none left.
///
/// Who starts the work takes pieces at once. Others are let in when the work has gone on for about
/// a microsecond, and a sleeping one is woken when it has gone on for some more: most loops are
/// over before that would pay. A thread that waits here runs no other work, so locks that it holds
/// are safe.
///
/// The numbers lie in lanes, one for each thread. A thread goes along its own from the front, so
/// that a loop that is run again finds the data of its numbers in the same processor's cache, and
/// then helps at the end of the lane that has most left. A piece is half of what its lane has, but
/// no more than some tens of microseconds long (whose thread loses its processor keeps others
/// waiting that long at most) and no less than about half of one.
///
/// Every helper computes in the arithmetic (rounding, traps, x87 precision) of the thread that
/// started the work: Windows starts threads with shorter x87 registers than MinGW's main.
class Work // NOLINT(clang-analyzer-optin.performance.Padding): counters have lines of their own
{
public:
    /// Does the numbers from @p begin to @p end - 1.
    using Piece = void (*)(void* context, std::uint64_t begin, std::uint64_t end);

    /// @param workers  the most threads at once, the caller's among them
    /// @param grain    no piece is smaller, but the last
    Work(Piece piece, void* context, std::uint64_t count, unsigned workers, std::uint64_t grain)
        : piece_(piece), context_(context), count_(count), workers_(workers < 1 ? 1 : workers),
          grain_(grain < 1 ? 1 : grain)
    {
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    /// Does all of it, with the help there is. When a piece throws, no further ones are begun and
    /// the exception comes out here, once every thread has left.
    void Run();

    /// Lets the crew begin, and keeps @p self until it is over.
    void Start(std::shared_ptr<Work> self);
    /// Helps with what Start began, if there is room, until it is done; throws what a piece threw.
    void Wait();

private:
    friend class Crew;

    class Stopwatch;

    /// Units @p begin to @p end - 1 of the work, in one word.
    struct alignas(8) Span // so aligned, every compiler reads and writes it as one
    {
        std::uint32_t begin, end;

        std::uint32_t Size() const { return end - begin; }
    };
    /// What is left of a lane.
    struct alignas(64) Lane
    {
        std::atomic<Span> left{Span{0, 0}};
        static_assert(std::atomic<Span>::is_always_lock_free);
    };
    static constexpr unsigned kLanes = 16; // more threads than that share them

    std::uint64_t RunAlone();
    void Divide(std::uint64_t done);
    void TakePart(unsigned place, bool mayCall);
    bool Claim(Lane& own, double perUnit, Span& piece);
    Lane* Fullest(Span& left);
    void Fail();
    std::uint64_t Left() const;
    /// The first helper's; before it is the caller's, where that thread takes part.
    unsigned FirstPlace() const { return room_ < workers_ ? 1 : 0; }
    bool HasMore() const { return Left() != 0; }
    bool IsWorthWaking() const;

    const Piece piece_;
    void* const context_;
    const std::uint64_t count_;
    const std::uint64_t workers_, grain_;
    std::uint64_t room_ = 0; // helpers at once; one less than workers where the caller takes part
    std::uint64_t first_ = 0, unit_ = 1; // what the lanes count: so many numbers each, from here on
    unsigned lanesUsed_ = 1;
    std::atomic<double> perNumber_{0}; // nanoseconds, as first measured
    std::array<Lane, kLanes> lanes_;
    alignas(64) std::atomic<unsigned> inside_{0}; // who is at it, beside the one who called Run

    // Behind the crew's lock:
    struct Waiting
    {
        platform::Parking* bed;
        Waiting* next;
    };
    Waiting* waiting_ = nullptr;
    Work *before_ = nullptr, *after_ = nullptr; // in the list of open work
    bool open_ = false;
    std::shared_ptr<Work> self_; // of work that Start began
    std::exception_ptr failure_;
    std::fenv_t arithmetic_{};
    unsigned parentId_ = 0;
};

} // namespace sys::thread::impl
