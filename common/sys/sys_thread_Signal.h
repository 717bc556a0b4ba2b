/// @file
/// Events: one thread tells others that something has happened.
#pragma once

#include "foundation/kvi_export.h"
#include "sys/sys_thread_Handle.h"

namespace sys::thread
{

/// An unnamed event, not signalled at first.
///
/// Setting an auto-reset event releases one waiting thread, or the next one that waits, and clears
/// the event. A manual-reset event stays set until it is cleared; a set releases every thread that
/// waits at that moment, also when the event is cleared at once.
///
/// Threads: any.
class KVI_API Signal
{
public:
    /// Who clears the event: a wait that it ends, or Clear alone.
    enum Kind : int
    {
        autoReset = 0,
        manualReset = 1 ///< as every other value that is not 0
    };

    explicit Signal(Kind kind); ///< not signalled
    ~Signal();
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    void Set();   ///< signals the event
    void Clear(); ///< clears the event
    void Wait();  ///< until it is signalled
    /// @returns whether the event was signalled before @p ms milliseconds went by
    bool Wait(unsigned long ms);

    /// Shares the event; it lives as long as the handle.
    Handle SharedHandle() const { return handle_; }

private:
    Handle handle_;
};

} // namespace sys::thread
