// Systems of equations when memory runs out: every allocation of every step fails once.
#include "FilledSystem.h"
#include "numerics/solve/Pardiso.h"
#include "support/FailingMemory.h"

#include <gtest/gtest.h>

namespace
{

using namespace filled_system;
using math::SolveOutcome;

/// A regular system, two unknowns of which are given.
void Prepare(ISysEqnImpl& system)
{
    static const Model model = RandomModel(Grid(20, 20, 1, 0), Kind::Definite, 5);
    Fill(system, model);
    Fix(system, {3, 40}, {1, -2});
}

void Begin(ISysEqnImpl& system)
{
    static const tagMultiVectorInt elements = Grid(20, 20, 1, 0);
    system.Initialize(&elements);
}

Numbers SolvedAfresh(ISysEqnImpl& system)
{
    Begin(system);
    Prepare(system);
    system.SolveForUnknownVector_Direct_Sym();
    EXPECT_EQ(system.LastSolve().outcome, SolveOutcome::Solved);
    return Unknowns(system);
}

TEST(ISysEqnImpl, EndsWithARecordWhereverMemoryEnds)
{
    numerics::ReplacePardiso(&numerics::BuiltInPardiso());
    ISysEqnImpl reference;
    const Numbers right = SolvedAfresh(reference);
    for (int step = -1; step < int(std::size(kSolvers)); ++step) // the set-up, then the solvers
    {
        bool hasToldOnce = false;
        for (long allocation = 1;; ++allocation)
        {
            SCOPED_TRACE(testing::Message() << "step " << step << ", allocation " << allocation);
            ISysEqnImpl system;
            if (step >= 0)
            {
                Begin(system);
                Prepare(system);
            }
            failing_memory::left = allocation;
            ASSERT_NO_THROW(step < 0 ? Begin(system) : (void)kSolvers[step](system, 1e-12, 10'000));
            const bool hasFailed = failing_memory::left.exchange(0) <= 0;
            const SolveOutcome outcome = system.LastSolve().outcome;
            if (!hasFailed)
            {
                EXPECT_EQ(outcome, SolveOutcome::Solved);
                break;
            }
            hasToldOnce = hasToldOnce || outcome == SolveOutcome::TooLarge;
            ASSERT_TRUE(outcome == SolveOutcome::TooLarge || outcome == SolveOutcome::Solved)
                << int(outcome);
            ASSERT_EQ(SolvedAfresh(system), right);
        }
        EXPECT_TRUE(hasToldOnce) << step;
    }
    numerics::ReplacePardiso(nullptr);
}

} // namespace
