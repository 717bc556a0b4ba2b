// Named semaphores: a pipe with a name, in which every byte is one count. The kernel gives and
// takes bytes whole, whoever dies, and the content goes with the last process that has it open.

#include "platform/posix/platform_names_impl.h"
#include "platform/posix/platform_wait_impl.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
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
constexpr off_t kDoor = 0;    // held while opening and closing
constexpr off_t kGiving = 1;  // held while giving counts back
constexpr off_t kMaximum = 2; // shared by all holders; its length is the semaphore's maximum
constexpr std::int32_t kPage = 4096;

/// The pipe that takes @p count bytes however they come and go. A gift that does not fit into the
/// last page begins a new one, so pages may be half empty; of the first some are taken already.
constexpr std::int32_t RoomFor(std::int32_t count) { return (2 * count / kPage + 2) * kPage; }

constexpr std::int32_t kMostCounts = 500'000;
static_assert(RoomFor(kMostCounts) <= 1 << 20, "the system's limit for a pipe");

struct flock Range(short type, off_t start, off_t length)
{
    struct flock range
    {
    };
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = start;
    range.l_len = length;
    return range;
}

bool SetLock(int file, short type, off_t start, off_t length = 1)
{
    struct flock range = Range(type, start, length);
    int result;
    do
        result = ::fcntl(file, F_OFD_SETLKW, &range);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

class Locked
{
public:
    Locked(int file, off_t what) : file_(file), what_(what), held_(SetLock(file, F_WRLCK, what)) {}
    ~Locked()
    {
        const int error = errno;
        SetLock(file_, F_UNLCK, what_);
        errno = error;
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    bool Held() const { return held_; }

private:
    int file_;
    off_t what_;
    bool held_;
};

/// The maximum that the other holders have; 0 when there are none.
std::int32_t MaximumOfOthers(int file)
{
    struct flock range = Range(F_WRLCK, kMaximum, 0);
    if (::fcntl(file, F_OFD_GETLK, &range) != 0 || range.l_type == F_UNLCK)
        return 0;
    return static_cast<std::int32_t>(range.l_len);
}

bool IsPipe(int file)
{
    struct stat open
    {
    };
    return ::fstat(file, &open) == 0 && S_ISFIFO(open.st_mode);
}

bool StillNamed(int file, const std::string& path)
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
    while (::read(file, left, sizeof left) > 0) // of holders that are dead
    {
    }
    const std::int32_t room = RoomFor(count);
    return (room <= ::fcntl(file, F_GETPIPE_SZ) || ::fcntl(file, F_SETPIPE_SZ, room) >= room) &&
           PutCounts(file, count);
}

struct NamedSemaphore : Waitable
{
    NamedSemaphore(int file, std::string name) : Waitable(Kind::tokens), path(std::move(name))
    {
        descriptor = file;
        owned = true;
    }
    ~NamedSemaphore() override
    {
        const Locked door(descriptor, kDoor);
        SetLock(descriptor, F_UNLCK, kMaximum, 0);
        if (MaximumOfOthers(descriptor) == 0 && StillNamed(descriptor, path))
            ::unlink(path.c_str());
        errno = 0;
    }

    bool Release(std::int32_t n) override
    {
        // The test and the gift belong together, for other threads and for other processes.
        const std::lock_guard threads(giving_);
        const Locked giving(descriptor, kGiving);
        int there = 0;
        if (!giving.Held() || ::ioctl(descriptor, FIONREAD, &there) != 0)
            return false;
        if (n <= 0 || n > maximum - there)
        {
            errno = n <= 0 ? EINVAL : EOVERFLOW;
            return false;
        }
        return PutCounts(descriptor, n);
    }

    /// Becomes one of the holders, the first one with @p count.
    /// @returns false with errno 0 when the file has lost its name meanwhile
    bool Join(std::int32_t wanted)
    {
        const Locked door(descriptor, kDoor);
        if (!door.Held())
            return false;
        if (!StillNamed(descriptor, path))
        {
            errno = 0;
            return false;
        }
        const std::int32_t others = MaximumOfOthers(descriptor);
        if (others == 0 && !StartCounts(descriptor, wanted))
            return false;
        maximum = others == 0 ? wanted : others;
        return SetLock(descriptor, F_RDLCK, kMaximum, maximum);
    }

    const std::string path;

private:
    std::mutex giving_; // the lock of the file is one for all threads that share its descriptor
};

} // namespace

WaitHandle MakeNamedSemaphore(const std::wstring& name, std::int32_t count)
{
    errno = EINVAL;
    const std::string folder = count > 0 && count <= kMostCounts ? impl::RuntimeFolder() : "";
    if (folder.empty())
        return nullptr;
    const std::string path = folder + "/semaphore-" + impl::SafeName(name);
    for (;;)
    {
        if (::mkfifo(path.c_str(), 0600) != 0 && errno != EEXIST)
            return nullptr;
        const int file = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW);
        if (file < 0 && errno == ENOENT)
            continue; // its last holder has just taken it away
        if (file < 0)
            return nullptr;
        if (!IsPipe(file))
        {
            ::close(file);
            errno = EEXIST; // somebody else's file
            return nullptr;
        }
        auto semaphore = std::make_shared<NamedSemaphore>(file, path);
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
