#include "numerics/FilledSystem.h"

#include <atomic>
#include <cmath>
#include <thread>

using namespace filled_system;
using math::SolveOutcome;

namespace
{

using Solver = decltype(+kSolvers[0]);

void StartFromZero(ISysEqnImpl& system)
{
    tagVectorInt all{std::vector<int>(std::size_t(system.EquationCount()))};
    std::iota(all.values.begin(), all.values.end(), 0);
    const tagVectorDbl zeros{Numbers(all.values.size())};
    system.SetUnknownVector(&all, &zeros);
}

/// Solves from x = 0 until another thread's request, made again and again, has stopped a solve.
void SolveUntilStopped(ISysEqnImpl& system, Solver solve)
{
    std::atomic<bool> isStopped{false};
    std::thread other([&] {
        while (!isStopped)
            system.RequestStop();
    });
    do
    {
        StartFromZero(system);
        system.SolveForUnknownVector_PARDISO_SetUp(); // forgets a factor
        EXPECT_EQ(solve(system, 1e-12, 1000), 0);
    } while (system.LastSolve().outcome != SolveOutcome::Interrupted);
    isStopped = true;
    other.join();
}

TEST(StopRequest, EndsASolveAndLeavesASystemThatCanBeSolved)
{
    const Model model = RandomModel(Grid(30, 30, 2, 1), Kind::Definite);
    Filled stopped(model), other(model);
    stopped.system.RequestStop(); // nothing is running
    for (const auto& solve : kSolvers)
    {
        SCOPED_TRACE(&solve - kSolvers);
        SolveUntilStopped(stopped.system, solve);
        for (const double value : Unknowns(stopped.system))
            ASSERT_TRUE(std::isnan(value));
        for (Filled* filled : {&stopped, &other})
        {
            StartFromZero(filled->system);
            solve(filled->system, 1e-12, 1000);
            EXPECT_EQ(filled->system.LastSolve().outcome, SolveOutcome::Solved);
        }
        EXPECT_EQ(Unknowns(stopped.system), Unknowns(other.system));
    }
}

} // namespace
