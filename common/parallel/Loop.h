/// @file
/// A range of numbers that several threads share.
#pragma once

#include "parallel/ThreadPool.h"

#include <array>
#include <cstdint>
#include <exception>
#include <limits>

namespace parallel
{

/// Numbers 0 to count - 1, distributed in pieces until none is left.
///
/// The thread that starts the loop takes pieces at once. Others may join when the loop has run for
/// about a microsecond, and a sleeping one is woken when it has run somewhat longer: most loops end
/// before that would be worth it. A thread that waits here runs no other work, so it may hold
/// locks.
///
/// The numbers lie in lanes, one for each thread. A thread works through its own from the front, so
/// that a repeated loop finds its data in the same processor's cache, and then steals from the end
/// of the lane that has the most left. A piece is half of what its lane has, by the times measured
/// so far at most some tens of microseconds and at least half of one.
///
/// Measured times do not predict numbers that cost more than those before them. The piece of a
/// divisible loop therefore stops when another thread has nothing to do, and its rest goes back to
/// a lane. A piece of another loop is at most a sixteenth of a thread's even share.
class Loop : public Work // NOLINT(clang-analyzer-optin.performance.Padding): counters on own lines
{
public:
    /// When a piece is to stop before its end.
    class Yield
    {
    public:
        /// Never.
        Yield() = default;
        /// When the processor's counter reaches @p deadline, or where @p wanted is set.
        Yield(std::uint64_t deadline, std::uint64_t stride,
              const std::atomic<bool>* wanted = nullptr)
            : wanted_(wanted), deadline_(deadline), stride_(stride)
        {
        }

        /// Numbers to run before and between calls of IsDue.
        std::uint64_t Stride() const { return stride_; }
        bool IsDue() const;

    private:
        static constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();
        const std::atomic<bool>* wanted_ = nullptr;
        std::uint64_t deadline_ = kNever;
        std::uint64_t stride_ = kNever;
    };

    /// Runs the numbers from @p begin to @p end - 1; a divisible one may stop after each stride.
    /// @returns the first number that it did not run
    using Piece = std::uint64_t (*)(void* context, std::uint64_t begin, std::uint64_t end,
                                    const Yield& yield);

    struct Shape
    {
        std::uint64_t count;
        unsigned threads;        ///< the most at once, the caller's among them
        std::uint64_t grain = 1; ///< no piece is smaller, but the last
        bool divisible = false;
    };

    Loop(Piece piece, void* context, const Shape& shape);
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    /// Runs the whole loop with the helpers available. When a piece throws, no further ones are
    /// begun and the exception propagates from here once every thread has left. In the child of a
    /// fork inside a piece: throws std::runtime_error where other threads had joined.
    void Run();

    /// Starts the loop in the pool, keeping @p self until it ends. Without memory for that, Wait
    /// runs it all.
    void Begin(std::shared_ptr<Loop> self);
    /// Helps with the loop that Begin started, if there is room, until it is done; throws as Run
    /// does.
    void Wait();

    /// The exception of a piece that no Run or Wait has thrown yet; null otherwise.
    std::exception_ptr UnreportedFailure() const;

    bool HasMore() const override;
    bool IsWorthWaking() const override;
    void TakePart(unsigned slot) override;

private:
    class Stopwatch;

    /// Units @p begin to @p end - 1 of the loop, in one word.
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

    std::uint64_t RunSolo();
    void Divide(std::uint64_t done);
    void Participate(unsigned slot, bool mayCall);
    void SetCost(double perUnit);
    std::uint32_t DoPiece(Lane& own, Span piece, double perUnit, const Stopwatch& watch);
    bool ReturnRest(Lane& own, Span rest);
    bool Claim(Lane& own, double perUnit, Span& piece);
    Lane* Fullest(Span& left);
    void Fail(std::exception_ptr failure);
    void ThrowIfLost() const;
    void Rethrow();
    std::uint64_t Left() const;

    const Piece piece_;
    void* const context_;
    const std::uint64_t count_, threads_, grain_;
    const bool divisible_;
    unsigned firstSlot_ = 0;             // of helpers; 0 is the caller's where it takes part
    std::uint64_t first_ = 0, unit_ = 1; // lanes count units of unit_ numbers, from first_ on
    std::uint32_t largest_ = 0;          // units of a piece
    unsigned lanesUsed_ = 1;
    std::atomic<double> perNumber_{0}; // nanoseconds, as last measured
    std::atomic<bool> failed_{false};
    std::atomic<bool> reported_{false};
    std::exception_ptr failure_; // of the first thread to set failed_
    ThreadPool::Registration registration_;
    std::array<Lane, kLanes> lanes_;
    alignas(64) std::atomic<bool> wanted_{false}; // some thread found no piece
};

} // namespace parallel
