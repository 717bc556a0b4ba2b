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

constexpr int kPatience = 1000; // milliseconds
constexpr char kOpener[] = "xdg-open";

/// What the watcher tells: one number, written at once.
struct Answer
{
    int error; ///< of starting the opener, or 0
    int exit;  ///< what the opener said when it ended
};

unsigned long Number() { return static_cast<unsigned long>(errno); }

/// Runs the opener in the process that watches it. Only calls that are safe after a fork.
[[noreturn]] void Watch(int answers, const char* path)
{
    // Nothing of the program's stays open in the opener, which may run for hours.
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
        // What it says is not for the program's console.
        const int nowhere = ::open("/dev/null", O_RDWR);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::dup2(nowhere, stream);
        if (::getauxval(AT_SECURE) != 0) // the caller's PATH must not choose the program
            ::execl("/usr/bin/xdg-open", kOpener, path, static_cast<char*>(nullptr));
        else
            ::execlp(kOpener, kOpener, path, static_cast<char*>(nullptr));
        const int error = errno;
        (void)!::write(failed[1], &error, sizeof error); // the reader takes silence for success
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
    (void)!::write(3, &answer, sizeof answer); // nobody may be listening any more
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
    // Two forks: the watcher belongs to nobody, so no ended process is left for the program.
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
    if (::poll(&ready, 1, kPatience) <= 0)
        return 0; // it runs
    Answer answer{0, 0};
    if (::read(reading.Number(), &answer, sizeof answer) != sizeof answer)
        return EAGAIN; // no process for the watcher
    if (answer.error != 0)
        return static_cast<unsigned long>(answer.error);
    return answer.exit == 0 ? 0 : ENOEXEC;
}

} // namespace platform
