#include "platform/platform_folders.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/SystemPath.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/auxv.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform
{
namespace
{
using posix::Descriptor;

constexpr int kTimeout = 1000; // milliseconds
constexpr char kOpener[] = "xdg-open";

/// The watcher's message, written in one piece.
struct Answer
{
    int error; ///< of starting the opener, or 0
    int exit;  ///< exit code of the opener
};

unsigned long Number() { return static_cast<unsigned long>(errno); }

/// Runs the opener in the process that watches it. Only async-signal-safe calls.
[[noreturn]] void Watch(int answers, const char* path)
{
    // No descriptor of the program stays open in the opener, which may run for hours.
    ::dup2(answers, 3);
    ::close_range(4, ~0u, 0);
    ::fcntl(3, F_SETFD, FD_CLOEXEC);
    ::setsid();
    Answer answer{0, 0};
    int failed[2];
    if (::pipe2(failed, O_CLOEXEC) != 0)
        ::_exit(1);
    const pid_t opener = ::fork();
    if (opener == 0)
    {
        // Its output does not go to the program's console.
        const int nowhere = ::open("/dev/null", O_RDWR);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::dup2(nowhere, stream);
        if (::getauxval(AT_SECURE) != 0) // the caller's PATH must not choose the program
            ::execl("/usr/bin/xdg-open", kOpener, path, static_cast<char*>(nullptr));
        else
            ::execlp(kOpener, kOpener, path, static_cast<char*>(nullptr));
        const int error = errno;
        (void)!::write(failed[1], &error, sizeof error); // no message means success
        ::_exit(127);
    }
    ::close(failed[1]);
    int state = 0;
    if (opener < 0)
        answer.error = errno;
    else if (::read(failed[0], &answer.error, sizeof answer.error) <= 0)
        answer.error = 0;
    while (opener > 0 && ::waitpid(opener, &state, 0) < 0 && errno == EINTR)
    {
    }
    answer.exit = WIFEXITED(state) ? WEXITSTATUS(state) : 1;
    (void)!::write(3, &answer, sizeof answer); // the reader may be gone
    ::_exit(0);
}
} // namespace

unsigned long OpenWithProgram(const std::wstring& path, void* /*window: the desktop chooses one*/)
{
    const std::string name = posix::ToSystemPath(path);
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return Number();
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    // Double fork: the watcher is orphaned, so it leaves no zombie in the program.
    const pid_t child = ::fork();
    if (child < 0)
        return Number();
    if (child == 0)
    {
        if (::fork() == 0)
            Watch(ends[1], name.c_str());
        ::_exit(0);
    }
    writing.Close();
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR)
    {
    }
    pollfd ready{reading.Number(), POLLIN, 0};
    if (::poll(&ready, 1, kTimeout) <= 0)
        return 0; // it runs
    Answer answer{0, 0};
    if (::read(reading.Number(), &answer, sizeof answer) != sizeof answer)
        return EAGAIN; // no process for the watcher
    if (answer.error != 0)
        return static_cast<unsigned long>(answer.error);
    return answer.exit == 0 ? 0 : ENOEXEC;
}

} // namespace platform
