/// @file
/// Forked child processes, for the tests of POSIX systems.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <grp.h>
#include <type_traits>

#include <sys/wait.h>
#include <unistd.h>

namespace support
{

/// A child that does @p work and exits with 0 where that gave true, or gave nothing and no test
/// failed, else with 1. A child that hangs is ended after a minute.
template <class Work>
pid_t StartChild(Work work)
{
    const pid_t child = ::fork();
    if (child != 0)
        return child;
    ::alarm(60);
    if constexpr (std::is_void_v<decltype(work())>)
        ::_exit((work(), testing::Test::HasFailure()) ? 1 : 0);
    else
        ::_exit(work() ? 0 : 1);
}

/// Waits for @p child, first sending it a signal unless its @p number is 0.
/// @returns its exit code, or below 0 the signal that ended it
inline int EndOf(pid_t child, int number = 0)
{
    int state = -1;
    if (number != 0)
        ::kill(child, number);
    ::waitpid(child, &state, 0);
    return WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
}

template <class Work>
int InChild(Work work)
{
    return EndOf(StartChild(work));
}

template <class Work>
void ExpectInChild(Work work)
{
    EXPECT_EQ(InChild(work), 0);
}

/// Drops root's privileges, which bypass every permission.
inline void BecomeOrdinary()
{
    constexpr int kNobody = 65534;
    if (::geteuid() == 0 &&
        (::setgroups(0, nullptr) != 0 || ::setresgid(kNobody, kNobody, kNobody) != 0 ||
         ::setresuid(kNobody, kNobody, kNobody) != 0))
        ::_exit(2);
}

} // namespace support
