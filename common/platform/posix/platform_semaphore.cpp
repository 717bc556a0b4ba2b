// Named semaphores: a pipe with a name, in which every byte is one count. The kernel transfers
// bytes atomically even if a process dies, and the content disappears with the last process that
// has it open.

#include "platform/posix/LockFile.h"
#include "platform/posix/SharedNames.h"
#include "platform/posix/Waitable.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
namespace
{

// Ranges of the file that are locked; the locks go with the descriptor, also when a process dies.
constexpr off_t kOpenClose = 0; // held while opening and closing
constexpr off_t kRelease = 1;   // held while releasing counts
constexpr off_t kMaximum = 2;   // shared by all holders; its length is the semaphore's maximum
constexpr std::int32_t kPage = 4096;

/// The pipe capacity that holds @p count bytes in any sequence of reads and writes. A write that
/// does not fit into the last page begins a new one, so pages may be half empty; some bytes of the
/// first are already consumed.
constexpr std::int32_t RoomFor(std::int32_t count) { return (2 * count / kPage + 2) * kPage; }

constexpr std::int32_t kMostCounts = 500'000;
static_assert(RoomFor(kMostCounts) <= 1 << 20, "the system's limit for a pipe");

class Locked
{
public:
    Locked(const posix::LockFile& file, off_t what)
        : file_(file), what_(what), held_(file.Lock(what, 1, true))
    {
    }
    ~Locked()
    {
        const int error = errno;
        file_.Unlock(what_, 1);
        errno = error;
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    bool Held() const { return held_; }

private:
    const posix::LockFile& file_;
    off_t what_;
    bool held_;
};

bool IsPipe(int file)
{
    struct stat open
    {
    };
    return ::fstat(file, &open) == 0 && S_ISFIFO(open.st_mode);
}

bool IsStillNamed(int file, const std::string& path)
{
    struct stat open
    {
    }, named{};
    return ::fstat(file, &open) == 0 && ::lstat(path.c_str(), &named) == 0 &&
           open.st_ino == named.st_ino && open.st_dev == named.st_dev;
}

bool PutCounts(int file, std::int32_t count)
{
    const std::string tokens(static_cast<std::size_t>(std::min(count, 4096)), 't');
    while (count > 0)
    {
        const auto part = std::min(tokens.size(), static_cast<std::size_t>(count));
        const auto written = ::write(file, tokens.data(), part);
        if (written < 0 && errno != EINTR)
            return false;
        count -= static_cast<std::int32_t>(std::max<ssize_t>(written, 0));
    }
    return true;
}

bool StartCounts(int file, std::int32_t count)
{
    char left[4096];
    while (::read(file, left, sizeof left) > 0) // of processes that died
    {
    }
    const std::int32_t room = RoomFor(count);
    return (room <= ::fcntl(file, F_GETPIPE_SZ) || ::fcntl(file, F_SETPIPE_SZ, room) >= room) &&
           PutCounts(file, count);
}

struct NamedSemaphore : Waitable
{
    NamedSemaphore(posix::Descriptor pipe, std::string name)
        : Waitable(Kind::tokens), path(std::move(name)), file_(std::move(pipe))
    {
        descriptor = file_.Number();
    }
    ~NamedSemaphore() override
    {
        const Locked openClose(file_, kOpenClose);
        if (maximum_ != 0)
            file_.Unshare(kMaximum, maximum_);
        off_t others = 0;
        if (file_.FindOther(kMaximum, 0, others) && others == 0 && IsStillNamed(descriptor, path))
            ::unlink(path.c_str());
        errno = 0;
    }

    bool Release(std::int32_t n) override
    {
        // Test and release are one atomic step for other threads and processes.
        file_.EnterThread();
        const bool given = ReleaseCounts(n);
        file_.LeaveThread();
        return given;
    }

    /// Joins the holders; the first one sets @p count.
    /// @returns false with errno 0 when the file has lost its name meanwhile
    bool Join(std::int32_t wanted)
    {
        const Locked openClose(file_, kOpenClose);
        if (!openClose.Held())
            return false;
        if (!IsStillNamed(descriptor, path))
        {
            errno = 0;
            return false;
        }
        off_t others = 0;
        if (!file_.FindOther(kMaximum, 0, others) ||
            (others == 0 && !StartCounts(descriptor, wanted)))
            return false;
        const std::int32_t most = others == 0 ? wanted : static_cast<std::int32_t>(others);
        if (!file_.Share(kMaximum, most))
            return false;
        maximum_ = most;
        return true;
    }

    const std::string path;

private:
    bool ReleaseCounts(std::int32_t n)
    {
        const Locked release(file_, kRelease);
        int there = 0;
        if (!release.Held() || ::ioctl(descriptor, FIONREAD, &there) != 0)
            return false;
        if (n <= 0 || n > maximum_ - there)
        {
            errno = n <= 0 ? EINVAL : EOVERFLOW;
            return false;
        }
        return PutCounts(descriptor, n);
    }

    posix::LockFile file_; // a forked child gets its own under the same number
    std::int32_t maximum_ = 0;
};

} // namespace

WaitHandle MakeNamedSemaphore(const std::wstring& name, std::int32_t count)
{
    errno = EINVAL;
    if (count <= 0 || count > kMostCounts)
        return nullptr;
    const uid_t user = ::geteuid();
    const posix::Descriptor folder = posix::UserFolder(user);
    if (!folder.IsOpen())
        return nullptr;
    const std::string leaf = "semaphore-" + posix::SafeName(name);
    for (;;)
    {
        if (::mkfifoat(folder.Number(), leaf.c_str(), 0600) != 0 && errno != EEXIST)
            return nullptr;
        posix::Descriptor file(
            ::openat(folder.Number(), leaf.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
        if (!file.IsOpen() && errno == ENOENT)
            continue; // its last holder has just removed it
        if (!file.IsOpen())
            return nullptr;
        if (!IsPipe(file.Number()))
        {
            errno = EEXIST; // another user's file
            return nullptr;
        }
        auto semaphore = std::make_shared<NamedSemaphore>(std::move(file),
                                                          posix::UserFolderPath(user) + "/" + leaf);
        if (semaphore->Join(count))
            return semaphore;
        const int error = errno;
        semaphore.reset();
        if (error != 0)
        {
            errno = error;
            return nullptr;
        }
    }
}

} // namespace platform
