#include "foundation/str.h"
#include "numerics/FilledSystem.h"
#include "support/Numbers.h"

#include <gmock/gmock.h>

using namespace filled_system;
using math::SolveOutcome;
using support::kNaN;

namespace
{

Model RandomGrid(int nx, int ny, unsigned seed = 0)
{
    return RandomModel(Grid(nx, ny, 1, seed), Kind::Definite);
}

TEST(ISysEqnImpl, FixesUnknownsUntilItIsReset)
{
    Filled filled(RandomGrid(6, 5, 2));
    Fix(filled.system, {0, 7, 7, 20}, {2, 9, -3, 0.5}); // the later of two values counts
    const Eigen::MatrixXd whole = filled.model.Dense();
    Eigen::MatrixXd A = whole;
    Eigen::VectorXd b = filled.B();
    for (const auto& [i, value] : {std::pair(0, 2.0), std::pair(7, -3.0), std::pair(20, 0.5)})
    {
        A.row(i).setZero();
        A(i, i) = 1;
        b(i) = value;
    }
    const Eigen::VectorXd expected = A.partialPivLu().solve(b);
    for (const auto& solve : kSolvers)
    {
        SCOPED_TRACE(&solve - kSolvers);
        EXPECT_EQ(solve(filled.system, 1e-13, 1000), 0);
        EXPECT_EQ(filled.system.LastSolve().outcome, SolveOutcome::Solved);
        EXPECT_LT((filled.X() - expected).norm(), 1e-11 * expected.norm());
        EXPECT_EQ(filled.X()(7), -3); // exactly
        EXPECT_LT(Norm(filled.system, 0), 1e-9);
        tagVectorDbl reactions;
        filled.system.GetReactionVector(&reactions);
        EXPECT_LT((Vector(reactions.values) - (whole * expected - filled.B())).norm(), 1e-9);
    }
    filled.system.ResetToZero();
    EXPECT_EQ(Norm(filled.system, 2), 0);
    EXPECT_EQ(filled.X()(7), -3); // x stays
}

void Insert(ISysEqnImpl& system, int element, int size)
{
    const tagMatrixDbl m{size, size, Numbers(size * size, 1.0)};
    system.InsertIntoSysCoefMtx(element, &m);
}

/// A coefficient of row 0 and @p column.
void InsertBeside(ISysEqnImpl& system, int column)
{
    const tagVectorInt list{{0, column}};
    const tagMatrixDbl m{2, 2, {0, 1, 0, 0}};
    system.InsertIntoSysCoefMtxByEqnIndxs(&list, &m);
}

/// Coordinates 0 and components 0, but for @p component and @p last of the last row.
void Place(ISysEqnImpl& system, int rows, int columns, int component, double last)
{
    tagVectorInt components{std::vector<int>(rows)};
    tagMatrixDbl coordinates{rows, columns, Numbers(rows * columns)};
    components.values.back() = component;
    coordinates.values.back() = last;
    system.SetCoordinates(&components, &coordinates);
}

TEST(ISysEqnImpl, ReportsADroppedContributionUntilItIsReset)
{
    static const std::vector<int> one{0}, two{0, 1};
    static const Numbers value{1}, both{1, 2};
    const std::tuple<const char*, void (*)(ISysEqnImpl&), int> rows[] = {
        {"InsertIntoSysCoefMtx: there is no element -1",
         [](ISysEqnImpl& s) { Insert(s, -1, 4), Insert(s, 4, 4); }, -1},
        {"InsertIntoSysCoefMtx: the matrix of", [](ISysEqnImpl& s) { Insert(s, 0, 2); }, -1},
        {"InsertIntoSysCoefMtxByEqnIndxs: a coefficient",
         [](ISysEqnImpl& s) { InsertBeside(s, 8); }, 0},
        {"InsertIntoSysCoefMtxByEqnIndxs: a coefficient",
         [](ISysEqnImpl& s) { InsertBeside(s, 2); }, 0}, // row 0 has 1 and 3
        {"AddToRHSVector: there is no equation 9", [](ISysEqnImpl& s) { Load(s, {9}, {1}); }, 9},
        {"FixUnknowns: 2 equations, but 1 values", [](ISysEqnImpl& s) { Fix(s, two, value); }, -1},
        {"AddToRHSVector: 1 equations, but 2 values", [](ISysEqnImpl& s) { Load(s, one, both); },
         -1},
        {"FixUnknowns: equations or values are missing",
         [](ISysEqnImpl& s) { s.FixUnknowns(nullptr, nullptr); }, -1},
        {"InsertIntoSysCoefMtx: there is no matrix",
         [](ISysEqnImpl& s) { s.InsertIntoSysCoefMtx(0, nullptr); }, -1},
        {"SetCoordinates: components or",
         [](ISysEqnImpl& s) { s.SetCoordinates(nullptr, nullptr); }, -1},
        {"SetCoordinates: there is not one", [](ISysEqnImpl& s) { Place(s, 8, 2, 0, 0); }, -1},
        {"SetCoordinates: there is not one", [](ISysEqnImpl& s) { Place(s, 9, 4, 0, 0); }, -1},
        {"SetCoordinates: the component", [](ISysEqnImpl& s) { Place(s, 9, 2, 2, 0); }, 8},
        {"SetCoordinates: the component", [](ISysEqnImpl& s) { Place(s, 9, 3, -2, 0); }, 8},
        {"SetCoordinates: the component", [](ISysEqnImpl& s) { Place(s, 9, 2, 0, kNaN); }, 8},
    };
    for (const auto& [what, spoil, equation] : rows)
    {
        SCOPED_TRACE(what);
        Filled filled(RandomGrid(2, 2));
        spoil(filled.system);
        for (int solve = 0; solve < 2; ++solve)
        {
            filled.system.SolveForUnknownVector_Direct_Sym();
            const math::SolveRecord& record = filled.system.LastSolve();
            EXPECT_EQ(record.outcome, SolveOutcome::Failed);
            EXPECT_EQ(record.equation, equation);
            EXPECT_THAT(str::as_cstring(record.reason), testing::StartsWith(what));
        }
        EXPECT_LT(filled.Error(), 1e-9);
        filled.system.ResetToZero();
        filled.system.SolveForUnknownVector_Iterative_Sym(1e-9);
        EXPECT_EQ(filled.system.LastSolve().outcome, SolveOutcome::Solved);
    }
}

/// Two springs in a row whose supports were dropped: not only singular, but why.
TEST(ISysEqnImpl, NamesTheSupportsThatWereLost)
{
    for (const auto solve : kSolvers)
    {
        ISysEqnImpl system;
        tagMultiVectorInt springs;
        springs.Add({0, 1});
        springs.Add({1, 2});
        system.Initialize(&springs);
        const tagMatrixDbl matrix(2, 2, {1, -1, -1, 1});
        for (const int spring : {0, 1})
            system.InsertIntoSysCoefMtx(spring, &matrix);
        Fix(system, {0, 2}, {0});
        Load(system, {1}, {1});
        solve(system, 1e-10, 100);
        EXPECT_EQ(system.LastSolve().outcome, SolveOutcome::Failed);
        EXPECT_THAT(str::as_cstring(system.LastSolve().reason),
                    testing::StartsWith("FixUnknowns: 2 equations, but 1 values; "));
    }
}

TEST(ISysEqnImpl, AddsByEquationsWhatItAddsByElements)
{
    Filled filled(RandomModel(Grid(4, 3, 2, 9), Kind::NonSymmetric));
    const tagVectorInt list{{filled.system.EquationCount() - 1, filled.system.EquationCount() - 1}};
    const tagMatrixDbl m{2, 2, {1, 2, 3, 4}}; // a repeated equation: 10 on the diagonal
    filled.system.InsertIntoSysCoefMtxByEqnIndxs(&list, &m);
    filled.model.Add({list.values[0]}, {10});
    filled.system.SolveForUnknownVector_Direct_NonSym();
    EXPECT_LT(filled.Error(), 1e-9);
}

TEST(ISysEqnImpl, RunsTheSymmetricIterationInBothShortForms)
{
    Filled first(RandomGrid(9, 9)), second(RandomGrid(9, 9));
    first.system.SolveForUnknownVector_Iterative_Sym(1e-10);
    second.system.SolveForUnknownVector_Iterative_NonSym(1e-10);
    EXPECT_EQ(first.X(), second.X());
    EXPECT_EQ(second.system.LastSolve().method, math::SolveMethod::IterativeSymmetric);
    int iterations = -1;
    double tolerance = -1;
    second.system.SolveForUnknownVector_Direct_Sym(); // leaves the iteration's record
    EXPECT_EQ(second.system.GetSolverIterTol(&iterations, &tolerance), 0);
    EXPECT_EQ(iterations, first.system.LastSolve().iterations);
    EXPECT_GT(iterations, 0);
    EXPECT_EQ(tolerance, first.system.LastSolve().tolerance);
    EXPECT_LE(tolerance, 1e-10);
}

TEST(ISysEqnImpl, IsHarmlessWithoutEquations)
{
    ISysEqnImpl system;
    system.SolveForUnknownVector_Direct_Sym();
    EXPECT_EQ(system.LastSolve().outcome, SolveOutcome::Failed) << "never initialised";
    const tagMultiVectorInt none, spoilt{{0, -4}, {2}}, *const all[] = {&none, nullptr, &spoilt};
    for (const tagMultiVectorInt* equations : all)
    {
        system.Initialize(equations);
        EXPECT_EQ(system.SolveForUnknownVector_PARDISO_Release(), 0);
        for (const auto solve : kSolvers)
        {
            (void)solve(system, 1e-13, 1000);
            EXPECT_EQ(system.LastSolve().outcome,
                      equations == &spoilt ? SolveOutcome::Failed : SolveOutcome::Solved);
        }
        EXPECT_EQ(system.SolveForUnknownVector_PARDISO_SetUp(), 0);
        EXPECT_EQ(system.SolveForUnknownVector_PARDISO_Release(), 0);
        EXPECT_EQ(system.SolveForUnknownVector_PARDISO_Release(), 0);
        for (int kind = 0; kind < 3; ++kind)
            EXPECT_EQ(Norm(system, kind), 0);
        EXPECT_EQ(Unknowns(system), Numbers());
    }
}

TEST(ISysEqnImpl, GivesTheThreeNormsOfTheResidualAndHidesNoNaN)
{
    const Filled loaded({{0}}, {{0}}, {3, -4}); // a matrix of zeros leaves the residual b
    const double expected[] = {4, 7, 5, -1};    // kind 3 writes nothing
    for (int kind = 0; kind < 4; ++kind)
        EXPECT_EQ(Norm(loaded.system, kind), expected[kind]) << kind;
    for (const double bad : {support::kNaN, support::kInfinity})
        for (const int at : {0, 4, 8})
        {
            Filled filled(RandomGrid(2, 2));
            Load(filled.system, {at}, {bad});
            for (int kind = 0; kind < 3; ++kind)
            {
                const double norm = Norm(filled.system, kind);
                EXPECT_TRUE(std::isnan(bad) ? std::isnan(norm) : std::isinf(norm)) << kind;
            }
        }
    Filled large(RandomGrid(1, 1)); // squares that overflow are no infinity
    Load(large.system, {0, 1}, {3e200, 4e200});
    EXPECT_NEAR(Norm(large.system, 2), 5e200, 1e186);
}

} // namespace
