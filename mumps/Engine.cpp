// The functions that the library calls in the process of the engine.
#include "Factorisation.h"
#include "Processes.h"
#include "numerics/solve/DistributedInterface.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <new>
#include <string>

#include <unistd.h>

namespace mumps
{
namespace
{

using numerics::DistributedMatrix;
using numerics::DistributedReport;
using numerics::DistributedResult;

/// A system as the library holds it.
struct System
{
    int number;
};

/// The engine's end of the communication, made once and never destroyed: the order in which a
/// process destroys its statics is unknown.
struct Engine
{
    std::mutex mutex;
    std::atomic<bool> isIdle = false; // unused: only nodes are idle
    Processes processes{isIdle};
    Factorisations systems;
    int created = 0;
    pid_t owner = 0; ///< process that is connected, 0 before
    bool isOver = false;
};
Engine& TheEngine()
{
    static Engine* const engine = new Engine;
    return *engine;
}

DistributedResult Fail(DistributedReport* report, const std::string& text)
{
    std::snprintf(report->text, sizeof report->text, "%s", text.c_str());
    return numerics::kDistributedFailed;
}

/// Runs @p body, which returns a result, with the engine; no exception leaves.
template <class Body>
DistributedResult Guard(DistributedReport* report, Body body)
{
    try
    {
        Engine& engine = TheEngine();
        const std::lock_guard lock(engine.mutex);
        if (engine.isOver)
            return Fail(report, "the process is ending, and MPI has ended");
        if (engine.owner != 0 && engine.owner != ::getpid())
            return Fail(report, "a forked process cannot use its parent's MPI");
        return body(engine);
    }
    catch (const std::bad_alloc&)
    {
        Fail(report, "not enough memory in the engine's process");
        return numerics::kDistributedTooLarge;
    }
    catch (const std::exception& error)
    {
        return Fail(report, error.what());
    }
}

/// Takes a step together with all nodes.
DistributedResult Take(Engine& engine, const Order& order, DistributedReport* report)
{
    if (const std::string reason = engine.processes.Send(order); !reason.empty())
        return Fail(report, reason);
    Execute(engine.processes, order, engine.systems);
    const Factorisation& system = *engine.systems[order.system];
    system.Describe(*report);
    return system.Result();
}

/// When the process ends: the nodes end too.
void Disconnect()
{
    Engine& engine = TheEngine();
    const std::unique_lock lock(engine.mutex, std::try_to_lock);
    if (!lock || engine.owner != ::getpid())
        return;
    engine.isOver = true;
    // What is still held is left to the end of the processes.
    (void)engine.processes.Send({Step::End, 0, 0, 0, 0});
    engine.processes.Finish();
}

DistributedResult Connect(int* processes, DistributedReport* report)
{
    return Guard(report, [&](Engine& engine) {
        if (engine.owner == 0)
        {
            const std::string reason = engine.processes.ConnectEngine();
            if (!reason.empty())
                return Fail(report, reason);
            engine.owner = ::getpid();
            std::atexit(Disconnect);
        }
        *processes = engine.processes.Count();
        return numerics::kDistributedDone;
    });
}

void Destroy(void* system)
{
    if (system == nullptr)
        return;
    const int number = static_cast<System*>(system)->number;
    delete static_cast<System*>(system);
    DistributedReport report;
    (void)Guard(&report, [&](Engine& engine) {
        const Order order{Step::Destroy, number, 0, 0, 0};
        // Without the nodes it cannot be destroyed, and is left to the end of the process.
        if (engine.processes.Send(order).empty())
            Execute(engine.processes, order, engine.systems);
        return numerics::kDistributedDone;
    });
}

DistributedResult Analyse(const DistributedMatrix* A, void** system, DistributedReport* report)
{
    auto made = std::unique_ptr<System>(new (std::nothrow) System{0});
    const DistributedResult result = Guard(report, [&](Engine& engine) {
        if (made == nullptr)
            throw std::bad_alloc();
        made->number = ++engine.created;
        Order order{Step::Create, made->number, A->isSymmetric, 0, 0};
        const DistributedResult created = Take(engine, order, report);
        if (created != numerics::kDistributedDone)
            return created;
        engine.systems[order.system]->SetMatrix(*A);
        if (!engine.systems[order.system]->HasRoomToOrder())
        {
            Fail(report, "not enough memory in the engine's process to order the equations");
            return numerics::kDistributedTooLarge;
        }
        order.step = Step::Analyse;
        return Take(engine, order, report);
    });
    if (result == numerics::kDistributedDone)
        *system = made.release();
    else
        Destroy(made.release());
    return result;
}

DistributedResult Factorise(void* system, const double* values, int findsNullPivots,
                            DistributedReport* report)
{
    // Percentages of memory beyond the estimate: delayed pivots take more than the analysis knows.
    constexpr int kSpares[] = {20, 60, 200};
    return Guard(report, [&](Engine& engine) {
        Order order{Step::Factorise, static_cast<System*>(system)->number, 0, findsNullPivots, 0};
        DistributedResult result = numerics::kDistributedFailed;
        Factorisation& factorisation = *engine.systems.at(order.system);
        factorisation.SetValues(values);
        for (const int spare : kSpares)
        {
            order.spare = spare;
            result = Take(engine, order, report);
            if (!factorisation.NeedsSpare())
                break;
        }
        return result;
    });
}

DistributedResult Substitute(Step step, void* system, double* x, DistributedReport* report)
{
    return Guard(report, [&](Engine& engine) {
        const int number = static_cast<System*>(system)->number;
        engine.systems.at(number)->SetVector(x);
        return Take(engine, {step, number, 0, 0, 0}, report);
    });
}

DistributedResult Solve(void* system, double* x, DistributedReport* report)
{
    return Substitute(Step::Solve, system, x, report);
}

DistributedResult NullVector(void* system, double* z, DistributedReport* report)
{
    return Substitute(Step::NullVector, system, z, report);
}

} // namespace
} // namespace mumps

extern "C" __attribute__((visibility("default"))) const numerics::DistributedFunctions*
KviDistributedFunctions()
{
    static constexpr numerics::DistributedFunctions kFunctions = {
        numerics::kDistributedVersion,
        "mumps " MUMPS_VERSION,
        mumps::Connect,
        mumps::Analyse,
        mumps::Factorise,
        mumps::Solve,
        mumps::NullVector,
        mumps::Destroy,
    };
    return &kFunctions;
}
