// kvi-solver-node: a process that helps an engine to solve systems of equations.
#include "Factorisation.h"
#include "Processes.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr const char* kUsage =
    "kvi-solver-node helps an engine to solve systems of equations over MPI:\n"
    "  KVI_SOLVER=mumps mpirun -n 1 ENGINE ARGUMENTS : -n 3 kvi-solver-node\n"
    "It has no options, and ends with the engine.\n";

int Run(std::atomic<bool>& isIdle)
{
    mumps::Processes processes(isIdle);
    if (const std::string reason = processes.ConnectNode(); !reason.empty())
    {
        std::fprintf(stderr, "kvi-solver-node: %s\n", reason.c_str());
        return 1;
    }
    mumps::Factorisations systems;
    for (;;)
    {
        const mumps::Order order = processes.Receive();
        if (order.step == mumps::Step::End)
            break;
        mumps::Execute(processes, order, systems);
    }
    // What is still held the engine has not destroyed either: it is left to the end of the process.
    for (auto& [number, system] : systems)
        (void)system.release();
    processes.Finish();
    return 0;
}

/// The process that takes part in the job.
int Work(std::atomic<bool>& isIdle)
{
    try
    {
        return Run(isIdle);
    }
    catch (const std::exception& error)
    {
        // The others wait for this process; its end ends the job.
        std::fprintf(stderr, "kvi-solver-node: %s\n", error.what());
        return 1;
    }
}

/// Waits for the end of @p worker, and ends it when it was stopped for too long where others may
/// wait for it inside MPI, which they would do for ever. Where it is idle, the engine notices.
/// @returns the worker's exit code; ends by the signal that ended the worker
int Watch(pid_t worker, const std::atomic<bool>& isIdle)
{
    constexpr int kStepMicroseconds = 100'000;
    const int most = mumps::PatienceSeconds() * (1'000'000 / kStepMicroseconds);
    bool isStopped = false;
    // Counted in steps: time in which this process was stopped too does not count.
    for (int steps = 0; steps <= most;)
    {
        int status = 0;
        if (::waitpid(worker, &status, WNOHANG | WUNTRACED | WCONTINUED) == worker)
        {
            if (WIFEXITED(status))
                return WEXITSTATUS(status);
            if (WIFSIGNALED(status))
            {
                (void)::raise(WTERMSIG(status));
                return 1;
            }
            isStopped = WIFSTOPPED(status);
        }
        steps = isStopped && !isIdle ? steps + 1 : 0;
        ::usleep(kStepMicroseconds);
    }
    std::fprintf(stderr,
                 "kvi-solver-node: process number %d was stopped for %d s while the others waited "
                 "for it; the job ends\n",
                 int(worker), mumps::PatienceSeconds());
    ::kill(worker, SIGKILL);
    return 1;
}

} // namespace

/// The process that mpirun starts watches another one, which works.
int main(int argc, char**)
{
    if (argc > 1)
    {
        std::fputs(kUsage, stderr);
        return 2;
    }
    void* const shared = ::mmap(nullptr, sizeof(std::atomic<bool>), PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
    {
        std::perror("kvi-solver-node: mmap");
        return 1;
    }
    std::atomic<bool>& isIdle = *new (shared) std::atomic<bool>(false);
    const pid_t watcher = ::getpid();
    const pid_t worker = ::fork();
    if (worker == -1)
    {
        std::perror("kvi-solver-node: fork");
        return 1;
    }
    if (worker != 0)
        return Watch(worker, isIdle);
    // Whatever ends the watcher ends the worker.
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || ::getppid() != watcher)
        return 1;
    return Work(isIdle);
}
