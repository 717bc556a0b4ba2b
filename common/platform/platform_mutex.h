/// @file
/// Recursive locks: one within the process, one among processes.
#pragma once

#include <memory>
#include <string>

namespace platform
{

/// The critical section of Windows, a recursive mutex elsewhere. In a forked child the thread that
/// forked owns what it owned; what another thread of the parent owned is never released.
class CriticalSection
{
public:
    CriticalSection();
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void Lock();
    bool TryLock();
    void Unlock();

private:
    struct Section;
    std::unique_ptr<Section> section_;
};

/// A named mutex shared by all processes of this user.
///
/// It belongs to one thread at a time, which may lock it again, also through another object of that
/// name. When the thread or its process ends, in whatever way, the next one gets it. It exists
/// while any process has it open; child programs do not inherit it.
///
/// Linux: a name is one lock for all processes of a user that see the same /tmp, in whichever
/// session, container or network they are. Up to eight processes that wait keep their order, and
/// one that releases and locks again queues after them; threads of a process get it in the order of
/// their requests. A forked child has open what its parent has, and owns nothing.
class NamedMutex
{
public:
    /// The mutex @p name, which is created if it does not exist.
    /// @returns null on failure, as Open does; LastErrorNumber has the reason
    static std::shared_ptr<NamedMutex> Create(const std::wstring& name);
    /// The mutex @p name, which must be open somewhere.
    static std::shared_ptr<NamedMutex> Open(const std::wstring& name);
    NamedMutex() = default;
    virtual ~NamedMutex() = default;
    NamedMutex(const NamedMutex&) = delete;
    NamedMutex& operator=(const NamedMutex&) = delete;

    enum class Outcome
    {
        owned,
        busy, ///< only without waiting
        failed
    };

    /// Waits without limit, or not at all.
    virtual Outcome Acquire(bool wait) = 0;
    /// @returns false when the calling thread does not own it
    virtual bool Release() = 0;
};

} // namespace platform
