/// @file
/// @internal Stopping a solve from another thread.
#pragma once

#include <atomic>

namespace numerics
{

/// Thrown where a solve stops on request.
struct SolveStopped
{
};

/// Whether a computation that is running is to stop.
class StopRequest
{
public:
    /// Marks a computation of the calling thread as running, and as the current one of that thread.
    class Scope
    {
    public:
        explicit Scope(StopRequest& request);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        StopRequest& request_;
        const StopRequest* const before_;
    };

    /// From any thread: the running computation is to stop. Nothing happens when none is running.
    void Stop()
    {
        State expected = State::Running;
        state_.compare_exchange_strong(expected, State::Stopping);
    }
    bool IsMade() const { return state_.load(std::memory_order_relaxed) == State::Stopping; }

    /// The request that concerns the calling thread's computation; null when nothing may stop it.
    /// Threads of the pool have none: a parallel computation passes its own to them.
    static const StopRequest* Current();
    /// @throws SolveStopped when @p request, which may be null, is made
    static void ThrowIfMade(const StopRequest* request)
    {
        if (request != nullptr && request->IsMade())
            throw SolveStopped();
    }
    static void ThrowIfCurrent() { ThrowIfMade(Current()); }

private:
    enum class State
    {
        Idle,
        Running,
        Stopping
    };
    std::atomic<State> state_{State::Idle};
};

} // namespace numerics
