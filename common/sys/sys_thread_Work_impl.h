/// @file
/// Work that several threads share.
#pragma once

#include "platform/platform_park.h"

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
/// are safe. Pieces get smaller towards the end, down to about a microsecond each.
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
    std::uint64_t RunAlone();
    void TakePart(bool mayCall);
    bool Claim(std::uint64_t& begin, std::uint64_t& end, double perNumber);
    void Fail();
    bool HasMore() const { return next_.load(std::memory_order_relaxed) < count_; }
    bool IsWorthWaking() const;

    const Piece piece_;
    void* const context_;
    const std::uint64_t count_;
    const std::uint64_t workers_, grain_;
    std::uint64_t room_ = 0; // helpers at once; one less than workers where the caller takes part
    std::atomic<double> perNumber_{0}; // nanoseconds, as first measured
    alignas(64) std::atomic<std::uint64_t> next_{0};
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
