// Memory that ends while a process uses threads for the first time or opens a shared resource:
// nothing hangs or crashes, what fails says so, and the same again is right.

#include "RunChild.h"
#include "numerics/FilledSystem.h"
#include "support/FailingMemory.h"
#include "support/ForkedChild.h"
#include "sys/SharedResource.h"
#include "sys/sys_file_folder.h"
#include "sys/sys_thread_ParallelFor.h"

#include <atomic>
#include <new>

using failing_memory::left;
using math::SolveOutcome;
using namespace sys::thread;

namespace
{

/// What an action came to.
enum Result
{
    Right,
    Refused, // with a clear report
    Wrong
};

/// The elements and their matrices; the smallest grid for which the profile solver takes threads.
struct Mesh
{
    tagMultiVectorInt elements = filled_system::Grid(24, 24, 2, 0);
    std::vector<double> matrices;

    Mesh()
    {
        std::mt19937 random(5);
        for (std::size_t e = 0; e < elements.Count(); ++e)
        {
            const auto m = filled_system::RandomMatrix(8, filled_system::Kind::Definite, random);
            matrices.insert(matrices.end(), m.values.begin(), m.values.end());
        }
    }
};
const Mesh kMesh;

Result Solves()
{
    ISysEqnImpl system;
    system.Initialize(&kMesh.elements);
    system.InsertElementsIntoSysCoefMtx(0, int(kMesh.elements.Count()), kMesh.matrices.data());
    const tagVectorInt loaded{{5, 7, 90}};
    const tagVectorDbl loads{{10, 20, 30}};
    system.AddToRHSVector(&loaded, &loads);
    system.SolveForUnknownVector_Direct_Sym();
    const math::SolveRecord& record = system.LastSolve();
    if (record.outcome == SolveOutcome::Solved)
        return record.residual < 1e-12 ? Right : Wrong;
    return record.outcome == SolveOutcome::TooLarge && !record.reason.empty() ? Refused : Wrong;
}

Result Loops()
{
    std::atomic<int> calls{0};
    task::ParallelFor({0, 99'999}, [&](unsigned) { return ++calls > 0; });
    return calls == 100'000 ? Right : Wrong;
}

struct Counting : task::ITask
{
    void Run(const task::Range& part) override { calls += part.last - part.first + 1; }
    std::atomic<unsigned> calls{0};
};

Result Jobs()
{
    const auto counting = std::make_shared<Counting>();
    auto job = task::job::Create(counting, {0, 99'999}, 4);
    task::job::RunAsync(job);
    task::job::Wait(job);
    return counting->calls == 100'000 ? Right : Wrong;
}

Result (*const kActions[])() = {Solves, Loops, Jobs};

/// One action; a loop or a job without memory may throw what its caller can tell from a bug.
Result Try(Result (*action)())
try
{
    return action();
}
catch (const std::bad_alloc&)
{
    return Refused;
}

/// Each child is a process that has used no thread; in one of them each allocation fails.
TEST(FirstThreadsChild, DISABLED_RunOutOfMemory)
{
    const auto action = kActions[child::Number()];
    int refused = 0;
    for (long allocation = 1;; ++allocation)
    {
        ASSERT_EQ(sys_test::Count("/proc/self/task"), 1);
        const int result = support::InChild([&]() -> bool {
            left = allocation;
            const Result first = Try(action);
            const bool hasFailed = left.exchange(0) <= 0;
            if (first == Wrong || (first == Refused && !hasFailed))
                ::_exit(2);
            if (Try(action) != Right)
                ::_exit(3);
            task::Finalize();
            ::_exit(!hasFailed ? 10 : first == Refused ? 11 : 12);
        });
        if (result == 10)
            break;
        ASSERT_TRUE(result == 11 || result == 12) << "allocation " << allocation << ": " << result;
        refused += result == 11;
    }
    EXPECT_TRUE(refused > 0 || action != Solves);
}

TEST(FirstThreads, EndCleanlyWhereverMemoryEnds)
{
    for (int action = 0; action < std::ssize(kActions); ++action)
        EXPECT_TRUE(child::Run("FirstThreadsChild", "RunOutOfMemory", action, "OMP_NUM_THREADS=4 "))
            << action;
}

TEST(SharedResource, KeepsNoNameWhereverMemoryEnds)
{
    const std::wstring name = child::Name(L"kvi memory resource, a name that needs memory");
    bool hasFailed = true;
    for (long allocation = 1; hasFailed; ++allocation)
    {
        SharedResource resource;
        hasFailed = false;
        for (const bool opens : {true, false})
        {
            if (!opens && !SharedResource::IsOpenAnywhere(name))
                ASSERT_TRUE(SharedResource::Open(name, &resource, 0).ok()) << allocation;
            left = allocation;
            bool isDone = false;
            try
            {
                isDone =
                    (opens ? SharedResource::Open(name, &resource, 0) : SharedResource::Close(name))
                        .ok();
            }
            catch (const std::bad_alloc&) // as unable as a status to say more
            {
            }
            const bool hasFailedHere = left.exchange(0) <= 0;
            ASSERT_TRUE(isDone || hasFailedHere) << allocation;
            ASSERT_EQ(SharedResource::IsOpenAnywhere(name), opens && isDone) << allocation;
            hasFailed = hasFailed || hasFailedHere;
        }
    }
}

} // namespace
