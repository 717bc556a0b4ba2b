// Systems of equations when memory runs out: every allocation of every step fails once.
#include "FilledSystem.h"
#include "numerics/solve/Pardiso.h"
#include "support/FailingMemory.h"

#include <gtest/gtest.h>

#include <exception>

namespace
{

using math::SolveOutcome;

struct Step
{
    const char* name;
    void (*run)(ISysEqnImpl& system);
};

const tagMultiVectorInt& Elements()
{
    static const tagMultiVectorInt grid = filled_system::Grid(20, 20, 1, 0);
    return grid;
}

/// Matrices and loads of a regular system, two unknowns of which are given.
void Fill(ISysEqnImpl& system)
{
    std::mt19937 random(5);
    for (std::size_t e = 0; e < Elements().Count(); ++e)
    {
        const auto m = filled_system::RandomMatrix(4, filled_system::Kind::Definite, random);
        system.InsertIntoSysCoefMtx(int(e), &m);
    }
    filled_system::Fix(system, {3, 40}, {1, -2});
    filled_system::Load(system, {5, 7, 90}, {10, 20, 30});
}

constexpr Step kSteps[] = {
    {"set-up", [](ISysEqnImpl& system) { system.Initialize(&Elements()); }},
    {"profile, symmetric", [](ISysEqnImpl& s) { s.SolveForUnknownVector_Direct_Sym(); }},
    {"profile", [](ISysEqnImpl& s) { s.SolveForUnknownVector_Direct_NonSym(); }},
    {"iterative, symmetric", [](ISysEqnImpl& s) { s.SolveForUnknownVector_Iterative_Sym(1e-12); }},
    {"iterative", [](ISysEqnImpl& s) { s.SolveForUnknownVector_Iterative_NonSym(1e-12, 10'000); }},
    {"built-in direct", [](ISysEqnImpl& s) { s.SolveForUnknownVector_PARDISO(); }}};

std::vector<double> SolvedAfresh(ISysEqnImpl& system)
{
    system.Initialize(&Elements());
    Fill(system);
    system.SolveForUnknownVector_Direct_Sym();
    EXPECT_EQ(system.LastSolve().outcome, SolveOutcome::Solved);
    return filled_system::Unknowns(system);
}

TEST(ISysEqnImpl, EndsWithARecordWhereverMemoryEnds)
{
    numerics::ReplacePardiso(&numerics::BuiltInPardiso());
    ISysEqnImpl reference;
    const std::vector<double> right = SolvedAfresh(reference);
    for (const Step& step : kSteps)
    {
        bool hasToldOnce = false;
        for (long allocation = 1;; ++allocation)
        {
            ISysEqnImpl system;
            if (&step != kSteps)
            {
                system.Initialize(&Elements());
                Fill(system);
            }
            failing_memory::left = allocation;
            bool isCaught = true;
            try
            {
                step.run(system);
            }
            catch (const std::exception&)
            {
                isCaught = false;
            }
            const bool hasFailed = failing_memory::left.exchange(0) <= 0;
            ASSERT_TRUE(isCaught) << step.name << ", allocation " << allocation;
            const SolveOutcome outcome = system.LastSolve().outcome;
            if (!hasFailed)
            {
                EXPECT_EQ(outcome, SolveOutcome::Solved) << step.name;
                break;
            }
            hasToldOnce = hasToldOnce || outcome == SolveOutcome::TooLarge;
            ASSERT_TRUE(outcome == SolveOutcome::TooLarge || outcome == SolveOutcome::Solved)
                << step.name << ", allocation " << allocation << ": " << int(outcome);
            ASSERT_EQ(SolvedAfresh(system), right) << step.name << ", allocation " << allocation;
        }
        EXPECT_TRUE(hasToldOnce) << step.name;
    }
    numerics::ReplacePardiso(nullptr);
}

} // namespace
