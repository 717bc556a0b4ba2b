/// @file
/// Child processes disturbed at a chosen system call.
#pragma once

#include "support/ForkedChild.h"
#include "sys/sys_file_folder.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <vector>

#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>

namespace fault_test
{

/// A fixture whose folder lies in memory where the system has that: no call waits for a disk.
template <class Fixture>
class InMemory : public Fixture
{
protected:
    fs::path Place() const override
    {
        const bool memory = ::access("/dev/shm", W_OK | X_OK) == 0;
        return memory ? fs::path("/dev/shm/kvi-test-" + std::to_string(::getpid()))
                      : Fixture::Place();
    }
    void TearDown() override
    {
        Fixture::TearDown();
        std::error_code otherTests;
        fs::remove(Place(), otherTests);
    }
};

// clang-format off
/// Calls that may change files, or the locks on them.
constexpr int kChanges[] = {
    SYS_open, SYS_openat, SYS_close, SYS_write, SYS_pwrite64, SYS_copy_file_range, SYS_fcntl,
    SYS_flock, SYS_fsync, SYS_fdatasync, SYS_ftruncate, SYS_rename, SYS_renameat, SYS_renameat2,
    SYS_link, SYS_linkat, SYS_unlink, SYS_unlinkat, SYS_rmdir, SYS_mkdir, SYS_chmod, SYS_fchmod,
    SYS_fchown, SYS_utimensat};
/// Calls that look at them.
constexpr int kLooks[] = {
    SYS_read, SYS_pread64, SYS_lseek, SYS_stat, SYS_lstat, SYS_fstat, SYS_newfstatat, SYS_statx,
    SYS_access, SYS_faccessat, SYS_faccessat2, SYS_readlink, SYS_getdents64};
// clang-format on

/// From here on this process stops for its tracer at those calls, and no others.
inline bool StopAtCalls(bool looksToo)
{
    std::vector<sock_filter> program = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0)}; // the call's number
    const auto stopAt = [&](int call) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    };
    std::for_each(std::begin(kChanges), std::end(kChanges), stopAt);
    if (looksToo)
        std::for_each(std::begin(kLooks), std::end(kLooks), stopAt);
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

/// The outcome of a child process.
struct Outcome
{
    bool reached = false; ///< it reached that call
    int result = -1;      ///< 0 when its work gave true, 1 for false; below 0 when it did not end
    bool allowed = true;  ///< a process may be watched here
};

/// Runs @p work in a child. At the entry of call number @p call, counted from 1, of those that
/// change files it is killed: between two of them its end has no other visible effect. Or, with an
/// @p error, call number @p call of those that change or look at files is not made and fails.
template <class Work>
Outcome Disturb(int call, int error, Work work)
{
    constexpr int kNotAllowed = 77;
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::alarm(60);
        if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            ::_exit(kNotAllowed);
        ::raise(SIGSTOP);
        ::_exit(!StopAtCalls(error != 0) ? kNotAllowed : work() ? 0 : 1);
    }
    Outcome outcome;
    int state = 0;
    ::waitpid(child, &state, 0);
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESECCOMP | PTRACE_O_EXITKILL);
    ::ptrace(PTRACE_CONT, child, nullptr, 0);
    while (::waitpid(child, &state, 0) == child && WIFSTOPPED(state))
    {
        const bool atCall = state >> 8 == (SIGTRAP | PTRACE_EVENT_SECCOMP << 8);
        if (atCall && --call == 0)
        {
            outcome.reached = true;
            const auto set = [&](std::size_t field, long value) {
                ::ptrace(PTRACE_POKEUSER, child, reinterpret_cast<void*>(field), value);
            };
            set(offsetof(user_regs_struct, orig_rax), -1); // no call is made
            set(offsetof(user_regs_struct, rax), -long{error});
            if (error == 0)
                ::kill(child, SIGKILL);
        }
        ::ptrace(PTRACE_CONT, child, nullptr, atCall ? 0 : WSTOPSIG(state));
    }
    outcome.result = WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
    outcome.allowed = outcome.result != kNotAllowed;
    return outcome;
}

/// Forks are slow with a sanitizer in them: there, one call of so many is disturbed.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kStep = 9;
#else
constexpr int kStep = 1;
#endif

/// Disturbs @p work at its first call, its second, and so on until it has no more. Before each
/// round
/// @p prepare runs, and after it @p check with the outcome.
/// @returns the number of the last call that was; 0 where processes may not be watched
template <class Prepare, class Work, class Check>
int DisturbAtEachCall(int error, Prepare prepare, Work work, Check check)
{
    for (int call = 1;; call += kStep)
    {
        prepare();
        const Outcome outcome = Disturb(call, error, work);
        if (!outcome.reached || testing::Test::HasFatalFailure())
            return outcome.allowed ? call - kStep : 0;
        SCOPED_TRACE(testing::Message()
                     << (error == 0 ? "killed at call " : "failed call ") << call);
        check(outcome);
    }
}

} // namespace fault_test
