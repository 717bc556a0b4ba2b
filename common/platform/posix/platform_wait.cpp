#include "platform/platform_wait.h"

#include "platform/platform_fork.h"
#include "platform/platform_unload.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/Futex.h"
#include "platform/posix/Waitable.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <new>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform
{
namespace posix
{

constexpr std::uint32_t kAsleep = 0;

/// A waiting thread. The signalling thread decides under the lock which thread is released and
/// consumes the signal on its behalf, so a released thread stays released whatever happens to the
/// object afterwards.
struct Waiter
{
    const WaitHandle* objects;
    std::size_t count;
    bool all;
    std::atomic<std::uint32_t> released{kAsleep}; // 1 + the number of the object
    int wakeDescriptor = -1;                      // where the thread sleeps in a poll
};

} // namespace posix

namespace
{

using posix::Deadline;
using posix::Waiter;

std::mutex& Lock()
{
    static std::mutex& lock = UntilUnload<std::mutex>();
    return lock;
}

/// The threads that wait; under Lock.
std::vector<Waiter*>& Waiters()
{
    static auto& waiters = UntilUnload<std::vector<Waiter*>>();
    return waiters;
}

/// Removes the threads that do not exist in a forked child from the objects' lists: a signal given
/// to them would be lost.
void ForgetWaiters()
{
    for (const Waiter* const waiter : Waiters())
        for (std::size_t i = 0; i < waiter->count; ++i)
            waiter->objects[i]->waiters.clear();
    Waiters().clear();
    Lock().unlock();
}

constinit ForkHandler forkHandler{ForkRank::platform, [] { Lock().lock(); },
                                  [] { Lock().unlock(); }, &ForgetWaiters};

/// 1 when @p descriptor can be read, 0 when not; below 0, with errno, when it is closed.
int Readable(int descriptor)
{
    pollfd entry{descriptor, POLLIN, 0};
    const int ready = ::poll(&entry, 1, 0);
    if (ready == 1 && (entry.revents & POLLNVAL) != 0)
    {
        errno = EBADF;
        return -1;
    }
    return ready == 1 ? 1 : 0;
}

/// Consumes the signal of an object.
/// @returns 1, 0 when it is not signalled, below 0 with errno on failure
int Take(Waitable& object)
{
    if (object.kind == Waitable::Kind::tokens)
    {
        char token;
        if (::read(object.descriptor, &token, 1) == 1) // another process may have been faster
            return 1;
        return errno == EAGAIN || errno == EINTR ? 0 : -1;
    }
    if (object.kind == Waitable::Kind::descriptor)
        return Readable(object.descriptor);
    if (object.count == 0)
        return 0;
    if (object.kind == Waitable::Kind::autoEvent || object.kind == Waitable::Kind::semaphore)
        --object.count;
    return 1;
}

/// The object whose signal was taken (for all: 0), kWaitTimeout for none, or kWaitFailed.
int TryTake(const WaitHandle* objects, std::size_t count, bool all)
{
    if (!all)
    {
        for (std::size_t i = 0; i < count; ++i)
            if (const int taken = Take(*objects[i]); taken != 0)
                return taken > 0 ? static_cast<int>(i) : kWaitFailed;
        return kWaitTimeout;
    }
    if (!std::all_of(objects, objects + count, [](const auto& o) { return o->count > 0; }))
        return kWaitTimeout;
    std::for_each(objects, objects + count, [](const auto& o) { Take(*o); });
    return 0;
}

/// Gives the signals of @p object to its waiters, in order of arrival.
void Offer(Waitable& object)
{
    for (Waiter* const waiter : object.waiters)
    {
        if (object.count == 0)
            return;
        if (waiter->released.load(std::memory_order_relaxed) != posix::kAsleep)
            continue;
        const int taken = TryTake(waiter->objects, waiter->count, waiter->all);
        if (taken < 0)
            continue; // waits for others as well
        waiter->released.store(static_cast<std::uint32_t>(taken) + 1, std::memory_order_release);
        // The waiter needs the lock to leave, so it is still there.
        if (waiter->wakeDescriptor < 0)
            posix::FutexWake(waiter->released);
        else
            (void)::eventfd_write(waiter->wakeDescriptor, 1);
    }
}

/// Adds a waiter to its objects' lists for its lifetime.
class Queued
{
public:
    explicit Queued(Waiter& waiter) : waiter_(waiter)
    {
        for (std::size_t i = 0; i < waiter.count; ++i)
            waiter.objects[i]->waiters.push_back(&waiter);
        Waiters().push_back(&waiter);
    }
    ~Queued()
    {
        for (std::size_t i = 0; i < waiter_.count; ++i)
            std::erase(waiter_.objects[i]->waiters, &waiter_);
        std::erase(Waiters(), &waiter_);
    }
    Queued(const Queued&) = delete;
    Queued& operator=(const Queued&) = delete;

private:
    Waiter& waiter_;
};

/// Polls the descriptors among the objects and the waiter's own.
bool SleepInPoll(const Waiter& waiter, const Deadline& deadline)
{
    std::vector<pollfd> entries{{waiter.wakeDescriptor, POLLIN, 0}};
    for (std::size_t i = 0; i < waiter.count; ++i)
        if (waiter.objects[i]->IsDescriptor())
            entries.push_back({waiter.objects[i]->descriptor, POLLIN, 0});
    const timespec left = deadline.limited ? deadline.Left() : timespec{};
    return ::ppoll(entries.data(), entries.size(), deadline.limited ? &left : nullptr, nullptr) >=
               0 ||
           errno == EINTR;
}

int Wait(const WaitHandle* objects, std::size_t count, bool all, std::uint32_t milliseconds)
{
    const bool usable = std::all_of(objects, objects + count, [](const auto& o) { return !!o; });
    const bool polls = usable && std::any_of(objects, objects + count,
                                             [](const auto& o) { return o->IsDescriptor(); });
    if (!usable || count == 0 || count > kWaitLimit || (polls && all))
    {
        errno = EINVAL;
        return kWaitFailed;
    }
    AddForkHandler(forkHandler);
    const Deadline deadline(milliseconds);
    std::unique_lock lock(Lock());
    int taken = TryTake(objects, count, all);
    if (taken != kWaitTimeout || milliseconds == 0)
        return taken;
    const posix::Descriptor wake(polls ? ::eventfd(0, EFD_CLOEXEC) : -1);
    if (polls && wake.Number() < 0)
        return kWaitFailed;
    Waiter waiter{objects, count, all, {}, wake.Number()};
    const Queued queued(waiter);
    for (;;)
    {
        lock.unlock();
        bool sound = true;
        if (polls)
            sound = SleepInPoll(waiter, deadline);
        else
            posix::FutexWait(waiter.released, posix::kAsleep, deadline);
        lock.lock();
        // A release counts even after a timeout: the signal has been consumed.
        if (const auto released = waiter.released.load(std::memory_order_acquire))
            return static_cast<int>(released) - 1;
        if (!sound)
            return kWaitFailed;
        if (taken = TryTake(objects, count, all); taken != kWaitTimeout)
            return taken;
        if (deadline.Passed())
            return kWaitTimeout;
    }
}

WaitHandle MakeObject(Waitable::Kind kind, std::int32_t count, std::int32_t maximum)
{
    auto object = std::make_shared<Waitable>(kind);
    object->count = count;
    object->maximum = maximum;
    return object;
}

WaitHandle MakeDescriptor(int descriptor, bool owned)
{
    if (descriptor < 0)
        return nullptr;
    auto object = std::make_shared<Waitable>(Waitable::Kind::descriptor);
    object->descriptor = descriptor;
    object->owned = owned;
    return object;
}

} // namespace

Waitable::~Waitable()
{
    if (owned)
        ::close(descriptor);
}

bool Waitable::Release(std::int32_t n)
{
    const std::lock_guard lock(Lock());
    if (kind != Kind::semaphore || n <= 0 || n > maximum - count)
    {
        errno = kind == Kind::semaphore && n > 0 ? EOVERFLOW : EINVAL;
        return false;
    }
    count += n;
    Offer(*this);
    return true;
}

WaitHandle MakeEvent(bool manualReset)
{
    return MakeObject(manualReset ? Waitable::Kind::manualEvent : Waitable::Kind::autoEvent, 0, 1);
}

WaitHandle MakeSemaphore(std::int32_t count)
{
    if (count > 0)
        return MakeObject(Waitable::Kind::semaphore, count, count);
    errno = EINVAL;
    return nullptr;
}

WaitHandle OpenProcessEnd(int id)
{
    const auto process = static_cast<int>(::syscall(SYS_pidfd_open, id, 0));
    if (process < 0 && errno == ESRCH)
        return MakeObject(Waitable::Kind::manualEvent, 1, 1); // has ended
    return MakeDescriptor(process, true);
}

WaitHandle BorrowHandle(std::intptr_t systemHandle)
{
    return MakeDescriptor(static_cast<int>(systemHandle), false);
}

std::intptr_t SystemHandle(const Waitable& object) { return object.descriptor; }

bool SetSignal(Waitable& event)
{
    AddForkHandler(forkHandler);
    const std::lock_guard lock(Lock());
    event.count = 1;
    Offer(event);
    return true;
}

bool ClearSignal(Waitable& event)
{
    const std::lock_guard lock(Lock());
    event.count = 0;
    return true;
}

bool ReleaseCount(Waitable& semaphore, std::int32_t count) { return semaphore.Release(count); }

int WaitAny(const WaitHandle* objects, std::size_t count, std::uint32_t milliseconds)
{
    return Wait(objects, count, false, milliseconds);
}

int WaitAll(const WaitHandle* objects, std::size_t count, std::uint32_t milliseconds)
{
    return Wait(objects, count, true, milliseconds);
}

void SleepFor(std::uint32_t milliseconds)
{
    const Deadline deadline(milliseconds);
    while (!deadline.limited)
        ::pause();
    while (!deadline.Passed())
        ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline.at, nullptr);
}

} // namespace platform
