#include "numerics/FilledSystem.h"

#include <atomic>
#include <cmath>
#include <thread>

using namespace filled_system;
using math::SolveOutcome;

namespace
{

void StartFromZero(ISysEqnImpl& system)
{
    tagVectorInt all{std::vector<int>(std::size_t(system.EquationCount()))};
    std::iota(all.values.begin(), all.values.end(), 0);
    const tagVectorDbl zeros{Numbers(all.values.size())};
    system.SetUnknownVector(&all, &zeros);
}

/// Solves from x = 0 until another thread's request, made again and again, has stopped a solve.
void SolveUntilStopped(ISysEqnImpl& system, long (*solve)(ISysEqnImpl&))
{
    std::atomic<bool> isStopped{false};
    std::thread other([&] {
        while (!isStopped)
            system.RequestStop();
    });
    do
    {
        StartFromZero(system);
        EXPECT_EQ(solve(system), 0);
    } while (system.LastSolve().outcome != SolveOutcome::Interrupted);
    isStopped = true;
    other.join();
}

TEST(StopRequest, EndsASolveAndLeavesASystemThatCanBeSolved)
{
    long (*const solvers[])(ISysEqnImpl&) = {
        [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Direct_Sym(); },
        [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Direct_NonSym(); },
        [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Iterative_Sym(1e-12); },
        [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Iterative_NonSym(1e-12, 1000); },
        [](ISysEqnImpl& s) {
            s.SolveForUnknownVector_PARDISO_SetUp(); // forgets the factor
            return s.SolveForUnknownVector_PARDISO();
        }};
    Filled stopped(Grid(30, 30, 2, 1), Kind::Definite), other(Grid(30, 30, 2, 1), Kind::Definite);
    stopped.system.RequestStop(); // nothing is running
    for (const auto solve : solvers)
    {
        SCOPED_TRACE(&solve - solvers);
        SolveUntilStopped(stopped.system, solve);
        for (const double value : Unknowns(stopped.system))
            ASSERT_TRUE(std::isnan(value));
        for (Filled* filled : {&stopped, &other})
        {
            StartFromZero(filled->system);
            solve(filled->system);
            EXPECT_EQ(filled->system.LastSolve().outcome, SolveOutcome::Solved);
        }
        EXPECT_EQ(Unknowns(stopped.system), Unknowns(other.system));
    }
}

} // namespace
