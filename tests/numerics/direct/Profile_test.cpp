#include "numerics/FilledSystem.h"

using namespace filled_system;
using math::SolveMethod;
using math::SolveOutcome;

namespace
{

TEST(ProfileSolver, AgreesWithDenseSolutions)
{
    const tagMultiVectorInt grids[] = {Grid(1, 1, 1, 0), Grid(5, 3, 1, 0),   Grid(24, 8, 1, 0),
                                       Grid(9, 9, 2, 0), Grid(12, 12, 1, 3), Grid(6, 7, 3, 5)};
    for (const tagMultiVectorInt& grid : grids)
        for (const Kind kind : {Kind::Definite, Kind::Indefinite, Kind::NonSymmetric})
        {
            Filled filled(RandomModel(grid, kind));
            const Eigen::MatrixXd A = filled.model.Dense();
            const Eigen::VectorXd b = filled.B(), expected = A.partialPivLu().solve(b);
            for (const int solver : {0, 1})
            {
                if (solver == 0 && kind == Kind::NonSymmetric)
                    continue;
                SCOPED_TRACE(testing::Message() << &grid - grids << ' ' << int(kind) << solver);
                EXPECT_EQ(kSolvers[solver](filled.system, 0, 0), 0);
                const math::SolveRecord& record = filled.system.LastSolve();
                EXPECT_EQ(record.outcome, SolveOutcome::Solved);
                EXPECT_EQ(record.method, solver == 0 ? SolveMethod::ProfileSymmetric
                                                     : SolveMethod::ProfileNonSymmetric);
                EXPECT_LT((filled.X() - expected).norm(), 1e-9 * expected.norm());
                EXPECT_NEAR(record.residual, (b - A * filled.X()).norm() / b.norm(), 1e-12);
            }
        }
}

TEST(ProfileSolver, ReportsAMatrixThatIsNotSymmetric)
{
    Filled small({{0, 1}}, {{2, 1, 0, 2}}, {5, 4});
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
    for (const int solver : {0, 1})
    {
        kSolvers[solver](system, 0, 0);
        EXPECT_EQ(system.LastSolve().outcome, SolveOutcome::TooLarge);
        EXPECT_FALSE(system.LastSolve().reason.empty());
    }
}

} // namespace
