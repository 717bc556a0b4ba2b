/// @file
/// Child processes for fault tests.
#pragma once

#include "sys/sys_file_folder.h"

#include <csignal>
#include <cstdlib>
#include <grp.h>

#include <sys/wait.h>
#include <unistd.h>

namespace fault_test
{

/// Runs @p check in a child. @returns 0 when it gave true, 1 when false, else what ended the child
template <class Check>
int InChild(Check check)
{
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::alarm(60); // a child that hangs ends
        ::_exit(check() ? 0 : 1);
    }
    int state = -1;
    ::waitpid(child, &state, 0);
    return WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + state;
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

} // namespace fault_test
