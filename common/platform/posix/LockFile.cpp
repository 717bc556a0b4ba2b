#include "platform/posix/LockFile.h"

#include "platform/platform_fork.h"
#include "platform/platform_park.h"
#include "platform/platform_unload.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

namespace platform::posix
{
namespace
{
/// All lock files of this process, the first of a list. Never destroyed, since objects may outlive
/// the statics.
struct Files
{
    std::mutex lock; // taken after NamedObjectsLock
    LockFile* first = nullptr;
};

Files& TheFiles()
{
    static Files& files = UntilUnload<Files>();
    return files;
}

std::atomic<unsigned> generation{0};

void LockAll()
{
    NamedObjectsLock().lock();
    TheFiles().lock.lock();
}

void UnlockAll()
{
    TheFiles().lock.unlock();
    NamedObjectsLock().unlock();
}

void RenewAll()
{
    ++generation;
    for (LockFile* file = TheFiles().first; file != nullptr; file = file->Next())
        file->Renew();
    UnlockAll();
}

constinit ForkHandler forkHandler{ForkRank::platform, &LockAll, &UnlockAll, &RenewAll};

/// One call on a range; @p command is F_OFD_SETLK or F_OFD_SETLKW.
bool Set(int file, int command, int type, off_t start, off_t length)
{
    struct flock range
    {
    };
    range.l_type = static_cast<short>(type);
    range.l_whence = SEEK_SET;
    range.l_start = start;
    range.l_len = length;
    int result;
    do
        result = ::fcntl(file, command, &range);
    while (result != 0 && errno == EINTR);
    if (result != 0 && errno == EACCES)
        errno = EAGAIN; // both errors mean that another process holds it
    return result == 0;
}
} // namespace

std::mutex& NamedObjectsLock()
{
    static std::mutex& lock = UntilUnload<std::mutex>();
    return lock;
}

unsigned ForkGeneration() { return generation.load(std::memory_order_relaxed); }

LockFile::LockFile(Descriptor file) : file_(std::move(file))
{
    AddForkHandler(forkHandler);
    const std::lock_guard guard(TheFiles().lock);
    next_ = std::exchange(TheFiles().first, this);
}

LockFile::~LockFile()
{
    const std::lock_guard guard(TheFiles().lock);
    LockFile** link = &TheFiles().first;
    while (*link != this)
        link = &(*link)->next_;
    *link = next_;
    (void)file_.Close(); // nothing was written; before the next fork
}

bool LockFile::IsRemoved() const
{
    struct stat about;
    return ::fstat(Number(), &about) != 0 || about.st_nlink == 0;
}

bool LockFile::Lock(off_t start, off_t length, bool wait) const
{
    return Set(Number(), wait ? F_OFD_SETLKW : F_OFD_SETLK, F_WRLCK, start, length);
}

bool LockFile::Unlock(off_t start, off_t length) const
{
    return Set(Number(), F_OFD_SETLK, F_UNLCK, start, length);
}

bool LockFile::Share(off_t start, off_t length)
{
    const std::lock_guard guard(TheFiles().lock);
    shared_.reserve(shared_.size() + 1); // what is locked is noted for certain
    if (!Set(Number(), F_OFD_SETLK, F_RDLCK, start, length))
        return false;
    shared_.emplace_back(start, length);
    return true;
}

void LockFile::Unshare(off_t start, off_t length)
{
    const std::lock_guard guard(TheFiles().lock);
    std::erase(shared_, std::pair(start, length));
    Unlock(start, length);
}

bool LockFile::FindOther(off_t start, off_t length, off_t& found) const
{
    struct flock range
    {
    };
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = start;
    range.l_len = length;
    if (::fcntl(Number(), F_OFD_GETLK, &range) != 0)
        return false;
    found = range.l_type == F_UNLCK ? 0 : range.l_len;
    return true;
}

void LockFile::EnterThread()
{
    std::uint32_t state = 0;
    if (threads_.compare_exchange_strong(state, 1, std::memory_order_acquire))
        return;
    while (threads_.exchange(2, std::memory_order_acquire) != 0)
        SleepOn(threads_, 2);
}

void LockFile::LeaveThread()
{
    if (threads_.exchange(0, std::memory_order_release) == 2)
        WakeOne(threads_);
}

void LockFile::Renew()
{
    threads_ = 0;
    const std::string path = "/proc/self/fd/" + std::to_string(Number());
    Descriptor own(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    const bool shares =
        own.IsOpen() && std::all_of(shared_.begin(), shared_.end(), [&](const auto& range) {
            return Set(own.Number(), F_OFD_SETLK, F_RDLCK, range.first, range.second);
        });
    // If the child cannot reopen the file it has none, so every call on it fails.
    if (!shares)
        own = Descriptor(::open("/", O_PATH | O_CLOEXEC));
    ::dup3(own.Number(), Number(), O_CLOEXEC);
}

} // namespace platform::posix
