/// @file
/// The three kinds of locks, and data with the lock that guards it.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace platform
{
class CriticalSection;
class NamedMutex;
} // namespace platform

namespace sys::thread
{

namespace task
{

/// The lock for tasks of the pool and bodies of its loops. Not re-entrant: a second Lock by its
/// owner waits for ever, a TryLock gives false.
///
/// A thread that waits for a loop runs only that loop's body, so running a loop or waiting for a
/// job is allowed with the lock held. In a forked child (Linux) it is as it was at the fork: held
/// for ever if another thread of the parent held it.
class KVI_API ExclusiveAccess
{
public:
    ExclusiveAccess() = default;
    ExclusiveAccess(const ExclusiveAccess&) = delete;
    ExclusiveAccess& operator=(const ExclusiveAccess&) = delete;

    void Lock();    ///< waits until it is free
    void Unlock();  ///< only by the thread that locked it
    bool TryLock(); ///< false when it is not free

private:
    std::atomic<std::uint32_t> state_{0}; // free, held, held and waited for
};

} // namespace task

namespace impl
{

/// The lock for plain threads of one process. Its owner may lock it again and must unlock it as
/// often. In a forked child (Linux) the thread that forked owns what it owned, as often; a lock
/// that another thread of the parent held stays held for ever: Lock does not return, TryLock gives
/// false.
class KVI_API ProcessExclusiveAccess
{
public:
    ProcessExclusiveAccess();
    ~ProcessExclusiveAccess();
    ProcessExclusiveAccess(const ProcessExclusiveAccess&) = delete;
    ProcessExclusiveAccess& operator=(const ProcessExclusiveAccess&) = delete;

    void Lock();    ///< waits until the calling thread has the lock
    void Unlock();  ///< undoes one Lock or TryLock of the calling thread
    bool TryLock(); ///< locks without waiting; whether the calling thread has the lock now
    /// How often the owner has locked it; to be called only by the owner.
    int Depth() const { return depth_; }

private:
    std::unique_ptr<platform::CriticalSection> section_;
    int depth_ = 0;
};

/// The lock among processes: a mutex with a name, which the processes of one user share.
///
/// Its owner, a thread, may lock it again, also through another object with that name. When the
/// owner dies holding it, the next one gets it; the protected data may then be inconsistent. Any
/// name will do on Linux; Windows accepts a backslash only after a leading "Local" or "Global".
///
/// A forked child owns nothing, whatever Depth still says of the parent's locks: there the objects
/// are to be made anew. Copies share the mutex, each with a depth of its own. Without Create or
/// Open nothing is locked, and that is reported. Failures of Lock, Unlock and TryLock go to the
/// log.
class KVI_API SystemExclusiveAccess
{
public:
    SystemExclusiveAccess();
    ~SystemExclusiveAccess();
    /// Shares the mutex of @p other, unlocked through this object.
    SystemExclusiveAccess(const SystemExclusiveAccess& other);
    /// Releases the mutex of this object and shares that of @p other.
    SystemExclusiveAccess& operator=(const SystemExclusiveAccess& other);

    /// The mutex @p name, created if it does not exist.
    /// @returns ok, or "CreateMutex" with the system's reason; the object is as before then
    gtl::status Create(const std::wstring& name);
    /// The mutex @p name, which must be open somewhere.
    /// @returns ok, or "CreateMutex" (as for Create) with the system's reason
    gtl::status Open(const std::wstring& name);
    bool IsReady() const { return mutex_ != nullptr; } ///< whether it has a mutex
    /// Detaches the mutex without unlocking it. @returns ok always
    gtl::status Close();

    void Lock();    ///< waits until the calling thread has the lock
    void Unlock();  ///< undoes one Lock or TryLock of the calling thread
    bool TryLock(); ///< locks without waiting; whether the calling thread has the lock now
    /// Locks through this object not yet undone.
    int Depth() const { return depth_.load(std::memory_order_relaxed); }

private:
    bool Acquire(bool wait);

    std::shared_ptr<platform::NamedMutex> mutex_;
    std::atomic<int> depth_{0};
};

} // namespace impl

/// A value and the lock that guards it.
/// @code
/// ExclusiveAccessOf<std::vector<int>, task::ExclusiveAccess> found;
/// found.Access()->push_back(7); // locked until the end of the statement
/// @endcode
template <class Data, class LockKind>
class ExclusiveAccessOf
{
public:
    ExclusiveAccessOf() = default;
    /// Guards @p value.
    explicit ExclusiveAccessOf(Data value) : data(std::move(value)) {}

    /// Access to the value; holds the lock for its lifetime.
    class Guard
    {
    public:
        /// Locks.
        explicit Guard(ExclusiveAccessOf& owner) : owner_(owner) { owner_.lock.Lock(); }
        ~Guard() { owner_.lock.Unlock(); }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;
        Data* operator->() const { return &owner_.data; } ///< the value
        Data& operator*() const { return owner_.data; }   ///< the value

    private:
        ExclusiveAccessOf& owner_;
    };

    /// Locks until the end of what is returned.
    Guard Access() { return Guard(*this); }

    Data data{};   ///< to be touched only with the lock held
    LockKind lock; ///< for explicit locking
};

} // namespace sys::thread
