#include "numerics/FilledSystem.h"

using namespace filled_system;
using math::SolveMethod;
using math::SolveOutcome;

namespace
{

/// Bars to the node before and to one further back: the profile's rows differ from tile to tile.
tagMultiVectorInt RaggedBars(int nodes)
{
    constexpr int kBack[] = {3, 60, 2, 41, 90, 17, 33, 1, 120, 8};
    tagMultiVectorInt bars;
    for (int i = 1; i < nodes; ++i)
    {
        bars.Add({i - 1, i});
        bars.Add({std::max(0, i - kBack[i / 24 % 10]), i});
    }
    return bars;
}

TEST(ProfileSolver, AgreesWithDenseSolutions)
{
    const tagMultiVectorInt grids[] = {Grid(1, 1, 1, 0), Grid(5, 3, 1, 0),   Grid(24, 8, 1, 0),
                                       Grid(9, 9, 2, 0), Grid(12, 12, 1, 3), Grid(6, 7, 3, 5),
                                       RaggedBars(260)};
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

    Filled rounding({{0, 1}}, {{2, 1, 0, 2e13}}, {3, 2e13}); // beside the diagonal of its row
    rounding.system.SolveForUnknownVector_Direct_Sym();
    EXPECT_EQ(rounding.system.LastSolve().outcome, SolveOutcome::Solved);
}

TEST(ProfileSolver, HoldsAnUnknownWhosePivotIsRoundingOfTermsThatCancel)
{
    // Pivots 1e-9 and -1e-9 take 1e9 from the third and give it back; 3e-7 of it are left.
    for (const int last : {2, 20, 30}) // in one column group, one tile, two tiles
    {
        std::vector<std::vector<int>> lists = {{0, 1, last}};
        std::vector<Numbers> matrices = {{1e-9, 0, 1, 0, -1e-9, 1, 1, 1, 3e-7}};
        Numbers b(std::size_t(last) + 1, 0.0);
        b.back() = 1;
        for (int i = 2; i < last; ++i)
        {
            lists.push_back({i});
            matrices.push_back({1});
        }
        for (const int solver : {0, 1})
        {
            SCOPED_TRACE(testing::Message() << last << ' ' << solver);
            Filled filled(lists, matrices, b);
            kSolvers[solver](filled.system, 0, 0);
            EXPECT_EQ(filled.system.LastSolve().outcome, SolveOutcome::Singular);
            EXPECT_EQ(filled.system.LastSolve().equation, last);
            EXPECT_EQ(Unknowns(filled.system).back(), 0);
        }
    }
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
