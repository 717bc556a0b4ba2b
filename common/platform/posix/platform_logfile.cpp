#include "platform/platform_logfile.h"

#include "platform/platform_fork.h"
#include "platform/platform_text.h"
#include "platform/posix/Descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <cwchar>
#include <linux/magic.h>
#include <optional>
#include <stdio_ext.h>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace platform
{
namespace
{
using Clock = std::chrono::steady_clock;

constexpr auto kLongestWait = std::chrono::milliseconds(200);
// Where non-blocking writes are unavailable: a pipe that polls as writable accepts this much
// (POSIX's minimum PIPE_BUF is less, Linux has 4096).
constexpr std::size_t kPiece = 4096;

unsigned long ErrorNumber() { return static_cast<unsigned long>(errno); }

/// Keeps a write from terminating the process by @p signal: blocks it in this thread and consumes
/// the one that the write raised.
class SignalGuard
{
public:
    explicit SignalGuard(int signal)
    {
        ::sigemptyset(&signals_);
        ::sigaddset(&signals_, signal);
        sigset_t pending;
        ::sigpending(&pending);
        raisedHere_ = ::sigismember(&pending, signal) == 0;
        ::pthread_sigmask(SIG_BLOCK, &signals_, &before_);
    }
    ~SignalGuard()
    {
        const timespec noWait{};
        while (raisedHere_ && ::sigtimedwait(&signals_, nullptr, &noWait) < 0 && errno == EINTR)
        {
        }
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    SignalGuard(const SignalGuard&) = delete;
    SignalGuard& operator=(const SignalGuard&) = delete;

private:
    sigset_t signals_, before_;
    bool raisedHere_; // none was pending before
};

/// Whether a write past the end of the largest file allowed raises SIGXFSZ.
bool HasSizeLimit()
{
    rlimit limit;
    return ::getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY;
}

/// @param limited  what HasSizeLimit says
WriteResult WriteRegular(int file, std::string_view bytes, bool limited)
{
    std::optional<SignalGuard> guard;
    if (limited)
        guard.emplace(SIGXFSZ);
    std::size_t written = 0;
    while (written < bytes.size())
    {
        const auto n = ::write(file, bytes.data() + written, bytes.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return {ErrorNumber(), written};
        written += static_cast<std::size_t>(n);
    }
    return {0, written};
}

/// Writes through a separate, non-blocking open file: setting the flag on the one that other
/// processes share would make their writes fail.
ssize_t WriteReopened(int file, std::string_view bytes)
{
    char path[32];
    std::snprintf(path, sizeof path, "/proc/self/fd/%d", file);
    posix::Descriptor own(::open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!own.IsOpen()) // of another user, or no /proc: it has polled as writable
        return ::write(file, bytes.data(), std::min(bytes.size(), kPiece));
    const ssize_t n = ::write(own.Number(), bytes.data(), bytes.size());
    const int error = errno;
    (void)own.Close();
    errno = error;
    return n;
}

/// A non-blocking write to a blocking descriptor of a shared pipe. Checking for room first is not
/// enough, since another process may fill it.
ssize_t WriteWithoutWaiting(int file, std::string_view bytes)
{
    const iovec all{const_cast<char*>(bytes.data()), bytes.size()};
    const ssize_t n = ::pwritev2(file, &all, 1, -1, RWF_NOWAIT);
    if (n >= 0 || (errno != EOPNOTSUPP && errno != ENOSYS && errno != EINVAL && errno != ESPIPE))
        return n;
    const ssize_t sent = ::send(file, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    return sent >= 0 || errno != ENOTSOCK ? sent : WriteReopened(file, bytes);
}

WriteResult WriteWithLimit(int file, std::string_view bytes)
{
    if (bytes.empty())
        return {0, 0};
    const SignalGuard guard(SIGPIPE);
    const auto end = Clock::now() + kLongestWait;
    std::size_t written = 0;
    while (written < bytes.size())
    {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd ready{file, POLLOUT, 0};
        const int events = ::poll(&ready, 1, static_cast<int>(std::max<long long>(left, 0)));
        if (events == 0)
            return {EAGAIN, written};
        if (events < 0 && errno != EINTR)
            return {ErrorNumber(), written};
        const auto n = events < 0 ? 0 : WriteWithoutWaiting(file, bytes.substr(written));
        if (n < 0 && errno != EINTR && errno != EAGAIN)
            return {ErrorNumber(), written};
        written += n > 0 ? static_cast<std::size_t>(n) : 0;
        if (left <= 0 && written < bytes.size())
            return {EAGAIN, written};
    }
    return {0, written};
}

bool IsRegular(int file)
{
    struct stat about;
    return ::fstat(file, &about) == 0 && S_ISREG(about.st_mode);
}

/// Writes the host's buffered output of @p stream, whose descriptor is @p file, first. Bytes that
/// the target does not accept now stay in the stream: a flush by the C library would block or drop
/// them.
/// @returns 0, or the error number of the incomplete write
unsigned long WriteHostText(std::FILE* stream, int file, bool regular)
{
    if (::fileno(stream) != file || ::ftrylockfile(stream) != 0)
        return 0; // another thread is printing, perhaps into a full pipe
    unsigned long error = 0;
    if (regular && ::__fpending(stream) > 0)
    {
        const SignalGuard guard(SIGXFSZ);
        ::fflush_unlocked(stream);
    }
#ifdef __GLIBC__
    else if (!regular && ::fwide(stream, 0) <= 0)
    {
        char* const first = stream->_IO_write_base;
        const auto size = static_cast<std::size_t>(stream->_IO_write_ptr - first);
        const WriteResult result = WriteWithLimit(file, {first, size});
        std::copy(first + result.written, stream->_IO_write_ptr, first);
        stream->_IO_write_ptr -= result.written;
        error = result.error;
    }
#endif
    ::funlockfile(stream);
    return error;
}

/// Opens @p path for appending, through links of this user and of root only: another user's would
/// choose which of this user's files grows. @returns the descriptor, or -1 with the reason in errno
int OpenToAppend(std::string path)
{
    // Non-blocking: opening a named pipe without a reader fails instead of waiting for one.
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    constexpr int kMostLinks = 40; // as the system's own limit
    for (int links = 0; links < kMostLinks; ++links)
    {
        const int file = ::open(path.c_str(), kFlags | O_NOFOLLOW, 0600);
        if (file >= 0 || errno != ELOOP)
            return file;
        const posix::Descriptor link(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        struct stat about;
        struct statfs system;
        if (!link.IsOpen() || ::fstat(link.Number(), &about) != 0 ||
            ::fstatfs(link.Number(), &system) != 0)
            return -1;
        if (!S_ISLNK(about.st_mode))
            continue; // replaced meanwhile
        if (about.st_uid != ::geteuid() && about.st_uid != 0)
        {
            errno = EACCES;
            return -1;
        }
        if (system.f_type == PROC_SUPER_MAGIC) // /dev/stdout: no text leads to what it names
            return ::open(path.c_str(), kFlags, 0600);
        std::array<char, PATH_MAX> target;
        const ssize_t size = ::readlinkat(link.Number(), "", target.data(), target.size());
        if (size <= 0)
            return -1;
        path.erase(target[0] == '/' ? 0 : path.rfind('/') + 1);
        path.append(target.data(), static_cast<std::size_t>(size));
    }
    errno = ELOOP;
    return -1;
}

/// The path in the system's spelling.
std::string SystemPath(const std::wstring& path)
{
    std::string narrow = Narrow(path);
    std::replace(narrow.begin(), narrow.end(), '\\', '/');
    return narrow;
}

// Plain data, so it is usable before the constructors and after the destructors of a thread.
thread_local unsigned long threadNumber = 0;

// After a fork the one thread of the child has a number of its own.
constinit ForkHandler forkHandler{ForkRank::platform, nullptr, nullptr, [] { threadNumber = 0; }};
} // namespace

unsigned long LogFile::Open()
{
    posix::Descriptor file(OpenToAppend(SystemPath(path_)));
    struct stat about;
    if (!file.IsOpen() || ::fstat(file.Number(), &about) != 0)
        return ErrorNumber();
    file_ = std::move(file);
    FindSizeLimit();
    device_ = about.st_dev;
    number_ = about.st_ino;
    regular_ = S_ISREG(about.st_mode);
    return 0;
}

bool LogFile::IsCurrent() const
{
    struct stat about;
    return ::stat(SystemPath(path_).c_str(), &about) == 0 && about.st_dev == device_ &&
           about.st_ino == number_;
}

bool LogFile::IsRemoved() const
{
    struct stat about;
    return ::fstat(posix::NumberOf(file_), &about) == 0 && about.st_nlink == 0;
}

void LogFile::FindSizeLimit() { limited_ = HasSizeLimit(); }

const std::int64_t LogFile::kLookEvery = 500;

WriteResult LogFile::WriteRaw(std::string_view bytes)
{
    const int file = posix::NumberOf(file_);
    return regular_ ? WriteRegular(file, bytes, limited_) : WriteWithLimit(file, bytes);
}

WriteResult WriteToConsole(bool toError, std::string_view bytes)
{
    const int file = toError ? STDERR_FILENO : STDOUT_FILENO;
    const bool regular = IsRegular(file);
    if (const unsigned long error = WriteHostText(toError ? stderr : stdout, file, regular))
        return {error, 0};
    return regular ? WriteRegular(file, bytes, HasSizeLimit()) : WriteWithLimit(file, bytes);
}

unsigned long ThreadNumber()
{
    if (threadNumber == 0)
    {
        AddForkHandler(forkHandler);
        threadNumber = static_cast<unsigned long>(::syscall(SYS_gettid));
    }
    return threadNumber;
}

} // namespace platform
