// kvi-solver-node: a process that helps an engine to solve systems of equations.
#include "Factorisation.h"
#include "Processes.h"

#include <cstdio>
#include <exception>
#include <string>

namespace
{

constexpr const char* kUsage =
    "kvi-solver-node helps an engine to solve systems of equations over MPI:\n"
    "  KVI_SOLVER=mumps mpirun -n 1 ENGINE ARGUMENTS : -n 3 kvi-solver-node\n"
    "It has no options, and ends with the engine.\n";

int Run()
{
    mumps::Processes processes;
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

} // namespace

int main(int argc, char**)
{
    if (argc > 1)
    {
        std::fputs(kUsage, stderr);
        return 2;
    }
    try
    {
        return Run();
    }
    catch (const std::exception& error)
    {
        // The others wait for this process; its end ends the job.
        std::fprintf(stderr, "kvi-solver-node: %s\n", error.what());
        return 1;
    }
}
