#include "foundation/str.h"
#include "numerics/FilledSystem.h"

#include <cmath>
#include <limits>

using namespace filled_system;
using math::SolveOutcome;

namespace
{

/// Every way to solve, for matrices that suit all of them.
const std::vector<long (*)(ISysEqnImpl&)> kSolves = {
    [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Direct_Sym(); },
    [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Direct_NonSym(); },
    [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Iterative_Sym(1e-13); },
    [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Iterative_NonSym(1e-13, 1000); },
    [](ISysEqnImpl& s) { return s.SolveForUnknownVector_PARDISO(); },
};

TEST(ISysEqnImpl, SolvesTwoSpringsWithAFixedEnd)
{
    const Numbers spring = {2, -2, -2, 2};
    Small springs({{0, 1}, {1, 2}}, {spring, spring}, {0, 0, 4});
    ASSERT_EQ(springs.system.EquationCount(), 3);
    Fix(springs.system, {0}, {1});
    for (const bool symmetric : {true, false})
    {
        SolveDirectly(springs.system, symmetric);
        EXPECT_EQ(springs.system.LastSolve().outcome, SolveOutcome::Solved);
        EXPECT_EQ(Unknowns(springs.system), (Numbers{1, 3, 5}));
        EXPECT_EQ(Reactions(springs.system), (Numbers{-4, 0, 0}));
    }
}

TEST(ISysEqnImpl, GivesTheThreeNormsOfTheResidual)
{
    const Small loaded({{0}}, {{0}}, {3, -4}); // a matrix of zeros leaves the residual b
    const double expected[] = {4, 7, 5, -1};   // kind 3 writes nothing
    for (int kind = 0; kind < 4; ++kind)
        EXPECT_EQ(Norm(loaded.system, kind), expected[kind]) << kind;
}

TEST(ISysEqnImpl, FixesUnknownsUntilItIsReset)
{
    Filled filled(Grid(6, 5, 1, 2), Kind::Definite);
    Fix(filled.system, {0, 7, 7, 20}, {2, 9, -3, 0.5}); // the later of two values counts
    Eigen::MatrixXd A = filled.A;
    Eigen::VectorXd b = filled.b;
    for (const auto& [i, value] : {std::pair(0, 2.0), std::pair(7, -3.0), std::pair(20, 0.5)})
    {
        A.row(i).setZero();
        A(i, i) = 1;
        b(i) = value;
    }
    const Eigen::VectorXd expected = A.partialPivLu().solve(b);
    for (const auto solve : kSolves)
    {
        SCOPED_TRACE(&solve - kSolves.data());
        EXPECT_EQ(solve(filled.system), 0);
        EXPECT_EQ(filled.system.LastSolve().outcome, SolveOutcome::Solved);
        EXPECT_LT((filled.X() - expected).norm(), 1e-11 * expected.norm());
        EXPECT_EQ(filled.X()(7), -3); // exactly
        EXPECT_LT(Norm(filled.system, 0), 1e-9);
        EXPECT_NEAR(Reactions(filled.system)[7], filled.A.row(7).dot(expected) - filled.b(7), 1e-9);
    }
    filled.system.ResetToZero();
    EXPECT_EQ(Norm(filled.system, 2), 0);
    EXPECT_EQ(filled.X()(7), -3); // x stays
}

TEST(ISysEqnImpl, TellsUntilItIsResetThatAContributionWasDropped)
{
    const std::tuple<const char*, void (*)(ISysEqnImpl&), int> rows[] = {
        {"InsertIntoSysCoefMtx: there is no element -1",
         [](ISysEqnImpl& s) {
             const tagMatrixDbl m{4, 4, Numbers(16)};
             s.InsertIntoSysCoefMtx(-1, &m);
             s.InsertIntoSysCoefMtx(4, &m);
         },
         -1},
        {"InsertIntoSysCoefMtx: the matrix of element 0",
         [](ISysEqnImpl& s) {
             const tagMatrixDbl m{2, 2, {1, 2, 3, 4}};
             s.InsertIntoSysCoefMtx(0, &m);
         },
         -1},
        {"InsertIntoSysCoefMtxByEqnIndxs: a coefficient",
         [](ISysEqnImpl& s) {
             const tagVectorInt list{{0, 8}};
             const tagMatrixDbl m{2, 2, {0, 1, 0, 0}};
             s.InsertIntoSysCoefMtxByEqnIndxs(&list, &m);
         },
         0},
        {"AddToRHSVector: there is no equation 9", [](ISysEqnImpl& s) { Load(s, {9}, {1}); }, 9},
        {"FixUnknowns: 2 equations, but 1 values",
         [](ISysEqnImpl& s) {
             Fix(s, {0, 1}, {1});
         },
         -1},
        {"AddToRHSVector: 1 equations, but 2 values",
         [](ISysEqnImpl& s) {
             Load(s, {0}, {1, 2});
         },
         -1},
    };
    for (const auto& [what, spoil, equation] : rows)
    {
        SCOPED_TRACE(what);
        Filled filled(Grid(2, 2, 1, 0), Kind::Definite);
        spoil(filled.system);
        for (int solve = 0; solve < 2; ++solve)
        {
            filled.system.SolveForUnknownVector_Direct_Sym();
            EXPECT_EQ(filled.system.LastSolve().outcome, SolveOutcome::Failed);
            EXPECT_EQ(filled.system.LastSolve().equation, equation);
            EXPECT_EQ(str::as_cstring(filled.system.LastSolve().reason).find(what), 0u);
        }
        EXPECT_LT(filled.Error(), 1e-9);
        filled.system.ResetToZero();
        filled.system.SolveForUnknownVector_Iterative_Sym(1e-9);
        EXPECT_EQ(filled.system.LastSolve().outcome, SolveOutcome::Solved);
    }
}

TEST(ISysEqnImpl, AddsByEquationsWhatItAddsByElements)
{
    Filled filled(Grid(4, 3, 2, 9), Kind::NonSymmetric);
    const tagVectorInt list{{filled.system.EquationCount() - 1, filled.system.EquationCount() - 1}};
    const tagMatrixDbl m{2, 2, {1, 2, 3, 4}}; // a repeated equation: 10 on the diagonal
    filled.system.InsertIntoSysCoefMtxByEqnIndxs(&list, &m);
    filled.A(list.values[0], list.values[0]) += 10;
    filled.system.SolveForUnknownVector_Direct_NonSym();
    EXPECT_LT(filled.Error(), 1e-9);
}

TEST(ISysEqnImpl, RunsTheSymmetricIterationInBothShortForms)
{
    Filled first(Grid(9, 9, 1, 0), Kind::Definite), second(Grid(9, 9, 1, 0), Kind::Definite);
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
        for (const auto solve : kSolves)
        {
            (void)solve(system);
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

TEST(ISysEqnImpl, HidesNoNaNInItsNorms)
{
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        for (const int at : {0, 4, 8})
        {
            Filled filled(Grid(2, 2, 1, 0), Kind::Definite);
            Load(filled.system, {at}, {bad});
            for (int kind = 0; kind < 3; ++kind)
            {
                const double norm = Norm(filled.system, kind);
                EXPECT_TRUE(std::isnan(bad) ? std::isnan(norm) : std::isinf(norm)) << kind;
            }
        }
    Filled large(Grid(1, 1, 1, 0), Kind::Definite); // squares that overflow are no infinity
    Load(large.system, {0, 1}, {3e200, 4e200});
    EXPECT_NEAR(Norm(large.system, 2), 5e200, 1e186);
}

} // namespace
