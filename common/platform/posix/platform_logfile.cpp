#include "platform/platform_logfile.h"

#include "platform/platform_fork.h"
#include "platform/platform_text.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform
{
namespace
{
using Clock = std::chrono::steady_clock;

constexpr std::int64_t kLookEvery = 500; // microseconds
constexpr auto kPatience = std::chrono::milliseconds(200);
// A pipe that polls as writable takes this much without waiting (POSIX's least PIPE_BUF is less,
// Linux has 4096).
constexpr std::size_t kPiece = 4096;

unsigned long ErrorNumber() { return static_cast<unsigned long>(errno); }

/// Keeps a write to a closed pipe from ending the process: holds SIGPIPE back in this thread and
/// takes away the one that the write raised.
class PipeGuard
{
public:
    PipeGuard()
    {
        ::sigemptyset(&pipe_);
        ::sigaddset(&pipe_, SIGPIPE);
        sigset_t pending;
        ::sigpending(&pending);
        mine_ = ::sigismember(&pending, SIGPIPE) == 0;
        ::pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
    }
    ~PipeGuard()
    {
        const timespec noWait{};
        while (mine_ && ::sigtimedwait(&pipe_, nullptr, &noWait) < 0 && errno == EINTR)
        {
        }
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    PipeGuard(const PipeGuard&) = delete;
    PipeGuard& operator=(const PipeGuard&) = delete;

private:
    sigset_t pipe_, before_;
    bool mine_; // no other SIGPIPE was waiting before
};

WriteResult WriteRegular(int file, std::string_view bytes)
{
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

WriteResult WritePatiently(int file, std::string_view bytes)
{
    const PipeGuard guard;
    const auto end = Clock::now() + kPatience;
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
        const std::size_t piece = std::min(bytes.size() - written, kPiece);
        const auto n = events < 0 ? 0 : ::write(file, bytes.data() + written, piece);
        if (n < 0 && errno != EINTR && errno != EAGAIN)
            return {ErrorNumber(), written};
        written += n > 0 ? static_cast<std::size_t>(n) : 0;
    }
    return {0, written};
}

/// The path in the system's spelling.
std::string SystemPath(const std::wstring& path)
{
    std::string narrow = Narrow(path);
    std::replace(narrow.begin(), narrow.end(), '\\', '/');
    return narrow;
}

// Plain data, so it serves before and after every constructor and destructor of a thread.
thread_local unsigned long threadNumber = 0;

// After a fork the one thread of the child has a number of its own.
constinit ForkHandler forkHandler{ForkRank::platform, nullptr, nullptr, [] { threadNumber = 0; }};
} // namespace

LogFile::LogFile(std::wstring path) : path_(std::move(path)) {}

LogFile::~LogFile() { Close(); }

unsigned long LogFile::Open()
{
    // Not blocking: a named pipe without a reader refuses instead of waiting for one.
    const int file =
        ::open(SystemPath(path_).c_str(),
               O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600);
    if (file < 0)
        return ErrorNumber();
    struct stat about;
    if (::fstat(file, &about) != 0)
    {
        const unsigned long error = ErrorNumber();
        ::close(file);
        return error;
    }
    handle_ = file;
    device_ = about.st_dev;
    number_ = about.st_ino;
    regular_ = S_ISREG(about.st_mode);
    return 0;
}

void LogFile::Close()
{
    if (handle_ >= 0)
        ::close(static_cast<int>(handle_));
    handle_ = -1;
}

bool LogFile::IsCurrent() const
{
    struct stat about;
    return ::stat(SystemPath(path_).c_str(), &about) == 0 && about.st_dev == device_ &&
           about.st_ino == number_;
}

WriteResult LogFile::Write(std::string_view bytes, std::int64_t now)
{
    if (now - looked_ > kLookEvery || now < looked_)
    {
        looked_ = now;
        if (handle_ >= 0 && !IsCurrent())
            Close();
    }
    if (handle_ < 0)
    {
        const unsigned long error = Open();
        if (error != 0)
            return {error, 0};
    }
    const int file = static_cast<int>(handle_);
    const WriteResult result = regular_ ? WriteRegular(file, bytes) : WritePatiently(file, bytes);
    if (result.error != 0)
        Close();
    return result;
}

WriteResult WriteToConsole(bool toError, std::string_view bytes)
{
    const PipeGuard guard; // the C library's buffer may meet the closed pipe as well
    std::fflush(toError ? stderr : stdout);
    return WritePatiently(toError ? STDERR_FILENO : STDOUT_FILENO, bytes);
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
