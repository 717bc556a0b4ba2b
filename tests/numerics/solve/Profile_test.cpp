#include "numerics/FilledSystem.h"
#include "numerics/solve/Profile.h"

#include <cmath>

using namespace filled_system;
using math::SolveMethod;
using math::SolveOutcome;

namespace
{

TEST(ProfileSolver, AgreesWithDenseSolutions)
{
    const struct
    {
        int nx, ny, perNode;
        unsigned shuffle;
    } grids[] = {{1, 1, 1, 0}, {5, 3, 1, 0},   {24, 8, 1, 0},
                 {9, 9, 2, 0}, {12, 12, 1, 3}, {6, 7, 3, 5}};
    for (const auto& g : grids)
        for (const Kind kind : {Kind::Definite, Kind::Indefinite, Kind::NonSymmetric})
            for (const bool symmetric : {true, false})
            {
                if (symmetric && kind == Kind::NonSymmetric)
                    continue;
                SCOPED_TRACE(testing::Message() << "grid " << &g - grids << " kind " << int(kind)
                                                << (symmetric ? " sym" : " nonsym"));
                Filled filled(Grid(g.nx, g.ny, g.perNode, g.shuffle), kind);
                SolveDirectly(filled.system, symmetric);
                const math::SolveRecord& told = filled.system.LastSolve();
                EXPECT_EQ(told.outcome, SolveOutcome::Solved);
                EXPECT_EQ(told.method, symmetric ? SolveMethod::ProfileSymmetric
                                                 : SolveMethod::ProfileNonSymmetric);
                const Eigen::VectorXd expected = filled.A.partialPivLu().solve(filled.b);
                EXPECT_LT((filled.X() - expected).norm(), 1e-9 * expected.norm());
                EXPECT_NEAR(told.residual,
                            (filled.b - filled.A * filled.X()).norm() / filled.b.norm(), 1e-12);
            }
}

const Numbers kSpring = {1, -1, -1, 1};

TEST(ProfileSolver, TellsWhatItCouldNotSolve)
{
    const struct
    {
        std::vector<std::vector<int>> lists;
        std::vector<Numbers> matrices;
        Numbers b;
        SolveOutcome outcome;
        int equation;
        Numbers x;
    } rows[] = {
        {{}, {}, {}, SolveOutcome::Solved, -1, {}},
        {{{0}}, {{4}}, {2}, SolveOutcome::Solved, -1, {0.5}},
        {{{0}}, {{-1e-300}}, {1e-300}, SolveOutcome::Solved, -1, {-1}},
        // A small pivot spoils the first answer.
        {{{0, 1}}, {{1e-9, 1, 1, 1}}, {1, 2}, SolveOutcome::Solved, -1, {1 + 1e-9, 1 - 1e-9}},
        {{{0}}, {{0}}, {2}, SolveOutcome::Singular, 0, {0}},
        // Untouched equations have no pivot to be zero, unless they are to carry a load.
        {{{1}}, {{2}}, {0, 4, 0}, SolveOutcome::Solved, -1, {0, 2, 0}},
        {{{1}}, {{2}}, {0, 4, 1}, SolveOutcome::Singular, 2, {0, 2, 0}},
        // Unsupported springs; the last unknown is held at 0, and the loads balance.
        {{{0, 1}, {1, 2}}, {kSpring, kSpring}, {-1, 0, 1}, SolveOutcome::Singular, 2, {-2, -1, 0}},
        // Two parts of which only the first is held.
        {{{0, 1}, {0}, {2, 3}},
         {kSpring, {1}, kSpring},
         {0, 1, -1, 1},
         SolveOutcome::Singular,
         3,
         {1, 2, -1, 0}},
        // Regular, but its first pivot is zero: only pivoting could solve it.
        {{{0, 1}}, {{0, 1, 1, 0}}, {3, 4}, SolveOutcome::ZeroPivot, 0, {0, 0}},
    };
    for (const auto& row : rows)
        for (const bool symmetric : {true, false})
        {
            SCOPED_TRACE(testing::Message() << "row " << &row - rows << (symmetric ? " sym" : ""));
            Small small(row.lists, row.matrices, row.b);
            SolveDirectly(small.system, symmetric);
            EXPECT_EQ(small.system.LastSolve().outcome, row.outcome);
            EXPECT_EQ(small.system.LastSolve().equation, row.equation);
            EXPECT_EQ(small.system.LastSolve().reason.empty(), row.outcome == SolveOutcome::Solved);
            if (row.outcome == SolveOutcome::Solved)
                EXPECT_LT(small.system.LastSolve().residual, 1e-14);
            const Numbers x = Unknowns(small.system);
            for (std::size_t i = 0; i < row.x.size(); ++i)
                EXPECT_NEAR(x[i], row.x[i], 1e-14);
        }
}

TEST(ProfileSolver, TellsThatAMatrixIsNotSymmetric)
{
    Small small({{0, 1}}, {{2, 1, 0, 2}}, {5, 4});
    small.system.SolveForUnknownVector_Direct_Sym();
    EXPECT_EQ(Unknowns(small.system), (Numbers{2, 1})); // of the upper triangle, mirrored
    EXPECT_EQ(small.system.LastSolve().outcome, SolveOutcome::Failed);
    EXPECT_EQ(small.system.LastSolve().equation, 1);
    EXPECT_GT(small.system.LastSolve().residual, 0.1);
    small.system.SolveForUnknownVector_Direct_NonSym();
    EXPECT_EQ(Unknowns(small.system), (Numbers{1.5, 2}));
    EXPECT_EQ(small.system.LastSolve().outcome, SolveOutcome::Solved);
}

TEST(ProfileSolver, RefusesAProfileTooLongToCountBeforeItTakesMemory)
{
    tagMultiVectorInt elements;
    for (int i = 1; i < 70000; ++i) // rows of height i + 1: 2.45e9 entries
        elements.Add({0, i});
    ISysEqnImpl system;
    system.Initialize(&elements);
    for (const bool symmetric : {true, false})
    {
        SolveDirectly(system, symmetric);
        EXPECT_EQ(system.LastSolve().outcome, SolveOutcome::TooLarge);
        EXPECT_FALSE(system.LastSolve().reason.empty());
    }
}

TEST(ProfileSolver, GivesTheSameBitsOnAnyNumberOfThreads)
{
    for (const bool symmetric : {true, false})
    {
        const Kind kind = symmetric ? Kind::Indefinite : Kind::NonSymmetric;
        Filled filled(Grid(90, 30, 1, 0), kind);
        filled.system.SetThreads(1);
        SolveDirectly(filled.system, symmetric);
        const Eigen::VectorXd expected = filled.X();
        for (const int threads : {2, 3, 8, 0, 2, 2})
        {
            filled.system.SetThreads(threads);
            SolveDirectly(filled.system, symmetric);
            EXPECT_EQ(filled.X(), expected) << threads;
        }
    }
}

} // namespace
