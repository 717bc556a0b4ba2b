// Named mutexes are ranges of one file of the user, locked by its open file description: the kernel
// releases them at the moment the owner's process ends, no file has to be removed, and no other
// user can claim a name in the file. Each mutex has these bytes:
//   queue     eight bytes: a waiting process enters at the last one and moves up, locking the next
//   one before releasing its own owner     held by the owner presence  shared by all processes that
//   have the mutex open
// The kernel lets processes waiting for one byte race for it. In the queue only the holder of the
// next byte waits for a byte, so up to eight waiting processes keep their order, and an owner that
// locks again queues after them.

#include "platform/platform_mutex.h"

#include "platform/platform_park.h"
#include "platform/platform_unload.h"
#include "platform/posix/LockFile.h"
#include "platform/posix/SharedNames.h"

#include <atomic>
#include <cerrno>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{

/// The C library's recursive mutex knows its owner by a number that a fork changes, so that the
/// thread that forked would wait for itself. Its std::thread::id is the same in the child.
struct CriticalSection::Section
{
    std::mutex mutex;
    std::atomic<std::thread::id> owner{};
    int depth = 0; ///< of the owner

    bool IsMine() const
    {
        return owner.load(std::memory_order_relaxed) == std::this_thread::get_id();
    }
    void Enter()
    {
        owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
        depth = 1;
    }
};

CriticalSection::CriticalSection() : section_(std::make_unique<Section>()) {}
CriticalSection::~CriticalSection() = default;

void CriticalSection::Lock()
{
    if (section_->IsMine())
    {
        ++section_->depth;
        return;
    }
    section_->mutex.lock();
    section_->Enter();
}

bool CriticalSection::TryLock()
{
    if (section_->IsMine())
    {
        ++section_->depth;
        return true;
    }
    if (!section_->mutex.try_lock())
        return false;
    section_->Enter();
    return true;
}

void CriticalSection::Unlock()
{
    if (--section_->depth > 0)
        return;
    section_->owner.store({}, std::memory_order_relaxed);
    section_->mutex.unlock();
}

namespace
{
using posix::Descriptor;
using posix::LockFile;
using posix::NamedObjectsLock;

constexpr off_t kQueue = 8; // bytes of the queue, the first one next to the owner
constexpr off_t kOwner = kQueue, kPresence = kOwner + 1, kBytes = 16; // of one mutex

/// The state of a mutex in this process, guarded by NamedObjectsLock except for the calls on the
/// file.
struct State
{
    std::string key;
    off_t base = 0;
    std::shared_ptr<LockFile> file;
    int handles = 0; // objects of this process with that name
    unsigned generation = posix::ForkGeneration();
    // Threads of this process take turns.
    std::uint32_t lastTicket = 0;
    std::atomic<std::uint32_t> serving{0};
    std::thread::id owner; // none while waiting for another process
    int depth = 0;
};

std::map<std::string, std::shared_ptr<State>>& States()
{
    static auto& states = UntilUnload<std::map<std::string, std::shared_ptr<State>>>();
    return states;
}

/// Forgets, in a forked child, the threads of the parent.
void ForgetParent(State& state)
{
    if (state.generation == posix::ForkGeneration())
        return;
    state.generation = posix::ForkGeneration();
    state.lastTicket = 0;
    state.serving = 0;
    state.owner = {};
    state.depth = 0;
}

/// Lets the next thread of this process try.
void PassOn(State& state)
{
    state.owner = {};
    state.depth = 0;
    state.file->Unlock(state.base + kOwner, 1);
    ++state.serving;
    WakeAll(state.serving);
}

std::shared_ptr<LockFile> OpenLockFile(uid_t user)
{
    const Descriptor folder = posix::UserFolder(user);
    if (!folder.IsOpen())
        return nullptr;
    Descriptor file(::openat(folder.Number(), "locks",
                             O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    struct stat about;
    if (!file.IsOpen() || ::fstat(file.Number(), &about) != 0)
        return nullptr;
    if (!S_ISREG(about.st_mode) || about.st_uid != user)
    {
        errno = EACCES;
        return nullptr;
    }
    ::futimens(file.Number(), nullptr); // cleaners of old temporary files see that it is in use
    return std::make_shared<LockFile>(std::move(file));
}

/// The file of the locks of @p user; under NamedObjectsLock.
std::shared_ptr<LockFile> FileOf(uid_t user)
{
    static std::map<uid_t, std::weak_ptr<LockFile>> files;
    std::weak_ptr<LockFile>& known = files[user];
    if (auto file = known.lock(); file && !file->IsRemoved())
        return file;
    auto file = OpenLockFile(user);
    known = file;
    return file;
}

/// Waits for the other processes.
NamedMutex::Outcome TakeFromOthers(const LockFile& file, off_t base, bool wait)
{
    using Outcome = NamedMutex::Outcome;
    // Free, and nobody waits: all at once.
    if (file.Lock(base, kQueue + 1, false))
    {
        file.Unlock(base, kQueue);
        return Outcome::owned;
    }
    if (errno != EAGAIN || !wait)
        return errno == EAGAIN ? Outcome::busy : Outcome::failed;
    // From the end of the queue to the owner's byte, locking each before the previous one is
    // released.
    for (off_t place = kQueue - 1; place >= -1; --place)
    {
        const bool locked = file.Lock(base + (place < 0 ? kOwner : place), 1, true);
        const int error = errno;
        if (place + 1 < kQueue)
            file.Unlock(base + place + 1, 1);
        errno = error;
        if (!locked)
            return Outcome::failed;
    }
    return Outcome::owned;
}

/// Releases the mutexes of a thread when it ends.
class HeldByThread
{
public:
    ~HeldByThread()
    {
        const std::lock_guard guard(NamedObjectsLock());
        for (const auto& held : states_)
            if (const auto state = held.lock())
                if (ForgetParent(*state); state->owner == std::this_thread::get_id())
                    PassOn(*state);
    }
    /// Makes room for one more, so that Add cannot fail.
    void Reserve() { states_.reserve(states_.size() + 1); }
    void Add(std::weak_ptr<State> state) { states_.push_back(std::move(state)); }
    void Remove(const State* state)
    {
        std::erase_if(states_, [&](const auto& held) {
            const auto one = held.lock();
            return !one || one.get() == state;
        });
    }

private:
    std::vector<std::weak_ptr<State>> states_;
};

HeldByThread& Held()
{
    thread_local HeldByThread held;
    return held;
}

class RangeMutex : public NamedMutex
{
public:
    explicit RangeMutex(std::shared_ptr<State> state) : state_(std::move(state)) {}
    ~RangeMutex() override;
    Outcome Acquire(bool wait) override;
    bool Release() override;

private:
    bool WaitForTurn(std::unique_lock<std::mutex>& lock, bool wait);
    Outcome TakeInTurn(std::unique_lock<std::mutex>& lock, bool wait);

    const std::shared_ptr<State> state_;
};

/// Closes a mutex that this process has no handle of.
void Forget(const State& state)
{
    if (state.handles > 0)
        return;
    state.file->Unlock(state.base + kOwner, 1);
    state.file->Unshare(state.base + kPresence, 1);
    States().erase(state.key);
}

RangeMutex::~RangeMutex()
{
    const std::lock_guard guard(NamedObjectsLock());
    --state_->handles;
    Forget(*state_);
}

/// Waits for earlier threads of this process. @returns false when it must not wait
bool RangeMutex::WaitForTurn(std::unique_lock<std::mutex>& lock, bool wait)
{
    State& state = *state_;
    if (!wait && state.serving != state.lastTicket)
        return false;
    const std::uint32_t ticket = state.lastTicket++;
    for (std::uint32_t now; (now = state.serving) != ticket;)
    {
        lock.unlock();
        SleepOn(state.serving, now);
        lock.lock();
    }
    return true;
}

NamedMutex::Outcome RangeMutex::TakeInTurn(std::unique_lock<std::mutex>& lock, bool wait)
{
    State& state = *state_;
    for (;;)
    {
        const std::shared_ptr<LockFile> file = state.file;
        lock.unlock();
        const Outcome outcome = TakeFromOthers(*file, state.base, wait);
        const int error = errno;
        const bool removed = outcome == Outcome::owned && file->IsRemoved();
        lock.lock();
        errno = error;
        if (!removed)
            return outcome;
        // Other processes cannot find this file any more, so a lock on it excludes nobody.
        auto fresh = FileOf(::geteuid());
        if (!fresh || !fresh->Share(state.base + kPresence, 1))
            return Outcome::failed;
        state.file = std::move(fresh);
    }
}

NamedMutex::Outcome RangeMutex::Acquire(bool wait)
{
    State& state = *state_;
    const auto self = std::this_thread::get_id();
    std::unique_lock lock(NamedObjectsLock());
    ForgetParent(state);
    if (state.owner == self)
    {
        ++state.depth;
        return Outcome::owned;
    }
    Held().Reserve(); // before anything is locked
    if (!WaitForTurn(lock, wait))
        return Outcome::busy;
    const Outcome outcome = TakeInTurn(lock, wait);
    if (outcome != Outcome::owned)
    {
        const int error = errno;
        PassOn(state);
        errno = error;
        return outcome;
    }
    state.owner = self;
    state.depth = 1;
    Held().Add(state_);
    return outcome;
}

bool RangeMutex::Release()
{
    const std::lock_guard guard(NamedObjectsLock());
    ForgetParent(*state_);
    if (state_->owner != std::this_thread::get_id())
    {
        errno = EPERM;
        return false;
    }
    if (--state_->depth > 0)
        return true;
    PassOn(*state_);
    Held().Remove(state_.get());
    return true;
}

std::shared_ptr<NamedMutex> Find(const std::wstring& name, bool mustExist)
{
    const uid_t user = ::geteuid();
    const std::string safe = posix::SafeName(name);
    const std::lock_guard guard(NamedObjectsLock());
    std::shared_ptr<State>& entry = States()[std::to_string(user) + "-" + safe];
    if (!entry)
    {
        auto state = std::make_shared<State>();
        state->key = std::to_string(user) + "-" + safe;
        state->base = static_cast<off_t>(posix::NumberOf(safe)) * kBytes;
        state->file = FileOf(user);
        off_t other = 0;
        bool usable = state->file != nullptr;
        if (usable && mustExist)
            usable = state->file->FindOther(state->base + kPresence, 1, other);
        if (usable && mustExist && other == 0)
        {
            errno = ENOENT;
            usable = false;
        }
        if (!usable || !state->file->Share(state->base + kPresence, 1))
        {
            const int error = errno;
            States().erase(state->key);
            errno = error;
            return nullptr;
        }
        entry = std::move(state);
    }
    const auto known = entry; // what is erased below may be the entry
    try
    {
        auto mutex = std::make_shared<RangeMutex>(known);
        ++known->handles;
        return mutex;
    }
    catch (const std::bad_alloc&)
    {
        Forget(*known);
        throw;
    }
}

} // namespace

std::shared_ptr<NamedMutex> NamedMutex::Create(const std::wstring& name)
{
    return Find(name, false);
}

std::shared_ptr<NamedMutex> NamedMutex::Open(const std::wstring& name) { return Find(name, true); }

} // namespace platform
