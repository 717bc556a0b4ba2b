/// @file
/// Starting threads, and the processors for them.
#pragma once

#include <memory>

namespace platform
{

/// A thread that was started here.
class Thread
{
public:
    using Entry = void (*)(void*);

    /// Starts a thread that waits for Resume and then calls @p entry with @p argument.
    /// @param stackSize  bytes; 0 for the system's usual size; too small values are raised to the
    /// minimum
    /// @returns null when no thread could be started
    static std::shared_ptr<Thread> Start(Entry entry, void* argument, unsigned stackSize);
    Thread() = default;
    virtual ~Thread() = default;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    virtual void Resume() = 0;
    /// The thread's number in the system, as ThreadNumber gives it.
    virtual unsigned long Number() = 0;
    /// Whether it has not yet ended.
    virtual bool IsActive() = 0;
    /// Waits for its end; at most once, and not in the thread itself.
    virtual void Join() = 0;
};

/// How many processors this process may use at once: those of its affinity mask, at most the
/// container's quota (rounded up). At least 1.
unsigned ProcessorCount();

/// How many of @p wanted threads can be started in addition to the running ones; determined by
/// starting and ending them.
unsigned StartableThreads(unsigned wanted);

} // namespace platform
