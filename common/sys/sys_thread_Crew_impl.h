/// @file
/// Work that several threads share, and the threads that help with it.
#pragma once

#include "platform/platform_park.h"

#include <atomic>
#include <cfenv>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <vector>

namespace platform
{
class Thread;
}

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
class Work
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
    /// Helps with what Start began until it is done; throws what a piece threw.
    void Wait();
    /// Every piece has been done, or one has failed, and nobody is at it.
    bool IsOver() const;

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

/// The threads of the pool. They are made when first needed, spin for some tens of microseconds
/// after their last work, and then sleep.
class Crew
{
public:
    static Crew& Instance();

    /// Takes work again after a Finish.
    void Begin();
    /// Ends all threads, once they have done what they are at; work then gets no help.
    void Finish();

    void Open(Work& work);
    /// Gets one more thread to work for @p work, if it may have one.
    void CallHelp(Work& work);
    /// Nobody joins @p work any more; waits for those who are at it.
    void Close(Work& work);
    /// Joins @p work in the calling thread, and leaves it.
    void Enter(Work& work);
    void Leave(Work& work);

private:
    struct Member
    {
        std::shared_ptr<platform::Thread> thread;
        platform::Parking bed;
    };

    static void Run(void* member);
    void Serve(Member& member);
    Work* Join(unsigned& openings);
    bool SpinForWork(unsigned openings) const;
    void Unlink(Work& work);
    static bool MayJoin(const Work& work);

    std::mutex lock_;
    std::atomic<unsigned> openings_{0}; // grows with every Open
    std::atomic<bool> stopping_{false};
    bool finished_ = false;
    Work* first_ = nullptr;
    std::vector<std::unique_ptr<Member>> members_;
    std::vector<Member*> idle_;
};

} // namespace sys::thread::impl
