/// @file
/// What the library does around a fork of its process, so that the child can use it.
#pragma once

#include <atomic>

namespace platform
{

/// The order of fork handlers: that of nested locks, the outermost first. Whoever holds a lock of
/// one rank may take locks of a later rank, never of an earlier one.
enum class ForkRank : int
{
    service,  ///< named locks, resources, settings
    pool,     ///< the pool of threads
    log,      ///< sinks, the registry of categories
    text,     ///< locales, message texts
    platform, ///< this folder's own state
};

/// One part's share in a fork. Any of the three functions may be null; none may throw. Handlers of
/// one rank are called in no particular order.
///
/// Lives in static storage for as long as the library is loaded:
/// @code
/// constinit platform::ForkHandler forkHandler{platform::ForkRank::log, LockAll, UnlockAll, Renew};
/// const bool registered = platform::AddForkHandler(forkHandler);
/// @endcode
struct ForkHandler
{
    ForkRank rank;
    /// In the forking thread, before the fork: takes the locks whose data the child needs, and
    /// completes lazily built objects. By ascending rank.
    void (*before)();
    /// In the parent's forking thread: releases the locks. By descending rank.
    void (*inParent)();
    /// In the child's only thread: releases the locks and drops the state of threads that do not
    /// exist in it. By descending rank.
    void (*inChild)();

    std::atomic<bool> added{false}; ///< for AddForkHandler, as are the next two
    bool entered = false;
    ForkHandler* next = nullptr;
};

/// Makes @p handler part of every later fork; a second call with the same handler changes nothing.
/// One that is added while a fork is under way takes part from the next one on. Does nothing where
/// processes are not forked (Windows). Allocates nothing.
/// Threads: any, also from the handlers' own functions.
/// @returns true
bool AddForkHandler(ForkHandler& handler);

} // namespace platform
