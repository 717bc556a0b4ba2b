/// @file
/// The objects behind a wait on Linux.
#pragma once

#include "platform/platform_wait.h"

#include <vector>

namespace platform
{

namespace posix
{
struct Waiter;
}

/// Events and unnamed semaphores are memory of this process: a file descriptor that is set and
/// cleared at once would not wake its waiters. Objects shared with other processes are descriptors.
struct Waitable
{
    enum class Kind
    {
        manualEvent,
        autoEvent,
        semaphore,
        descriptor, ///< signalled while it can be read
        tokens      ///< a pipe of which each wait takes one byte
    };

    explicit Waitable(Kind k) : kind(k) {}
    virtual ~Waitable();
    Waitable(const Waitable&) = delete;
    Waitable& operator=(const Waitable&) = delete;

    bool IsDescriptor() const { return kind == Kind::descriptor || kind == Kind::tokens; }
    virtual bool Release(std::int32_t n);

    const Kind kind;
    // Events and semaphores; guarded by the one lock of all waits:
    std::int32_t count = 0; ///< 0 or 1 for events
    std::int32_t maximum = 1;
    std::vector<posix::Waiter*> waiters; ///< in order of arrival
    // Descriptors:
    int descriptor = -1;
    bool owned = false;
};

} // namespace platform
