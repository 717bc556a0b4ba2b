#include "numerics/FilledSystem.h"
#include "numerics/ISysEqnImpl.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using filled_system::Filled;
using filled_system::Grid;
using filled_system::Kind;
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
    tagMultiVectorInt elements;
    elements.Add({0, 1});
    elements.Add({1, 2});
    ISysEqnImpl system;
    EXPECT_EQ(system.Initialize(&elements), 0);
    ASSERT_EQ(system.EquationCount(), 3);
    const tagMatrixDbl spring{2, 2, {2, -2, -2, 2}};
    system.InsertIntoSysCoefMtx(0, &spring);
    system.InsertIntoSysCoefMtx(1, &spring);
    const tagVectorInt end{{2}}, support{{0}};
    const tagVectorDbl load{{4}}, moved{{1}};
    system.AddToRHSVector(&end, &load);
    system.FixUnknowns(&support, &moved);
    for (const bool symmetric : {true, false})
    {
        if (symmetric)
            system.SolveForUnknownVector_Direct_Sym();
        else
            system.SolveForUnknownVector_Direct_NonSym();
        EXPECT_EQ(system.LastSolve().outcome, math::SolveOutcome::Solved);
        tagVectorDbl x, reaction;
        system.GetUnknownVector(&x);
        EXPECT_EQ(x.values, (std::vector<double>{1, 3, 5}));
        system.GetReactionVector(&reaction);
        EXPECT_EQ(reaction.values, (std::vector<double>{-4, 0, 0}));
    }
}

TEST(ISysEqnImpl, GivesTheThreeNormsOfTheResidual)
{
    tagMultiVectorInt elements;
    elements.Add({0});
    ISysEqnImpl system;
    system.Initialize(&elements, 2); // a matrix of zeros leaves the residual b
    const tagVectorInt both{{0, 1}};
    const tagVectorDbl b{{3, -4}};
    system.AddToRHSVector(&both, &b);
    const double expected[] = {4, 7, 5, -1}; // kind 3 writes nothing
    for (int kind = 0; kind < 4; ++kind)
    {
        double norm = -1;
        EXPECT_EQ(system.GetResidualVecNorm(kind, &norm), 0);
        EXPECT_EQ(norm, expected[kind]) << kind;
    }
}

TEST(ISysEqnImpl, FixesUnknownsUntilItIsReset)
{
    Filled filled(Grid(6, 5, 1, 2), Kind::Definite);
    const tagVectorInt fixed{{0, 7, 7, 20}}; // the later of two values counts
    const tagVectorDbl values{{2, 9, -3, 0.5}};
    filled.system.FixUnknowns(&fixed, &values);
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
        double norm = -1;
        filled.system.GetResidualVecNorm(0, &norm);
        EXPECT_LT(norm, 1e-9);
        tagVectorDbl reaction;
        filled.system.GetReactionVector(&reaction);
        EXPECT_NEAR(reaction.values[7], filled.A.row(7).dot(expected) - filled.b(7), 1e-9);
    }
    filled.system.ResetToZero();
    double norm = -1;
    filled.system.GetResidualVecNorm(2, &norm);
    EXPECT_EQ(norm, 0);
    EXPECT_EQ(filled.X()(7), -3); // x stays
}

TEST(ISysEqnImpl, TellsUntilItIsResetThatAContributionWasDropped)
{
    const struct
    {
        const char* what;
        void (*spoil)(ISysEqnImpl&);
        int equation;
    } rows[] = {
        {"no such element",
         [](ISysEqnImpl& s) {
             const tagMatrixDbl m{4, 4, std::vector<double>(16)};
             s.InsertIntoSysCoefMtx(-1, &m);
             s.InsertIntoSysCoefMtx(4, &m);
         },
         -1},
        {"matrix too small",
         [](ISysEqnImpl& s) {
             const tagMatrixDbl m{2, 2, {1, 2, 3, 4}};
             s.InsertIntoSysCoefMtx(0, &m);
         },
         -1},
        {"outside the pattern",
         [](ISysEqnImpl& s) {
             const tagVectorInt list{{0, 8}};
             const tagMatrixDbl m{2, 2, {0, 1, 0, 0}};
             s.InsertIntoSysCoefMtxByEqnIndxs(&list, &m);
         },
         0},
        {"no such equation",
         [](ISysEqnImpl& s) {
             const tagVectorInt list{{9}};
             const tagVectorDbl v{{1}};
             s.AddToRHSVector(&list, &v);
         },
         9},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.what);
        Filled filled(Grid(2, 2, 1, 0), Kind::Definite);
        row.spoil(filled.system);
        for (int solve = 0; solve < 2; ++solve)
        {
            filled.system.SolveForUnknownVector_Direct_Sym();
            EXPECT_EQ(filled.system.LastSolve().outcome, SolveOutcome::Failed);
            EXPECT_EQ(filled.system.LastSolve().equation, row.equation);
        }
        EXPECT_LT((filled.A * filled.X() - filled.b).norm(), 1e-9);
        filled.system.ResetToZero();
        filled.system.SolveForUnknownVector_Iterative_Sym(1e-9);
        EXPECT_EQ(filled.system.LastSolve().outcome, SolveOutcome::Solved);
    }
}

TEST(ISysEqnImpl, AddsByEquationsWhatItAddsByElements)
{
    Filled filled(Grid(4, 3, 2, 9), Kind::NonSymmetric);
    const Eigen::MatrixXd A = filled.A;
    const tagVectorInt list{{filled.system.EquationCount() - 1, filled.system.EquationCount() - 1}};
    const tagMatrixDbl m{2, 2, {1, 2, 3, 4}}; // a repeated equation: 10 on the diagonal
    filled.system.InsertIntoSysCoefMtxByEqnIndxs(&list, &m);
    filled.A(list.values[0], list.values[0]) += 10;
    filled.system.SolveForUnknownVector_Direct_NonSym();
    EXPECT_LT((filled.A * filled.X() - filled.b).norm(), 1e-9);
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
    second.system.SolveForUnknownVector_Direct_Sym(); // leaves what the iteration told
    EXPECT_EQ(second.system.GetSolverIterTol(&iterations, &tolerance), 0);
    EXPECT_EQ(iterations, first.system.LastSolve().iterations);
    EXPECT_GT(iterations, 0);
    EXPECT_EQ(tolerance, first.system.LastSolve().tolerance);
    EXPECT_LE(tolerance, 1e-10);
}

TEST(ISysEqnImpl, IsHarmlessWithoutEquations)
{
    ISysEqnImpl system;
    const tagMultiVectorInt none, spoilt{{0, -4}, {2}};
    for (const tagMultiVectorInt* equations :
         {&none, static_cast<const tagMultiVectorInt*>(nullptr), &spoilt})
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
        {
            double norm = -1;
            system.GetResidualVecNorm(kind, &norm);
            EXPECT_EQ(norm, 0);
        }
        tagVectorDbl x{{1, 2}};
        system.GetUnknownVector(&x);
        EXPECT_TRUE(x.values.empty());
    }
}

TEST(ISysEqnImpl, HidesNoNaNInItsNorms)
{
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        for (const int at : {0, 4, 8})
        {
            Filled filled(Grid(2, 2, 1, 0), Kind::Definite);
            const tagVectorInt list{{at}};
            const tagVectorDbl load{{bad}};
            filled.system.AddToRHSVector(&list, &load);
            for (int kind = 0; kind < 3; ++kind)
            {
                double norm = 0;
                filled.system.GetResidualVecNorm(kind, &norm);
                EXPECT_EQ(std::isnan(norm), std::isnan(bad)) << kind;
                EXPECT_FALSE(std::isfinite(norm)) << kind;
            }
        }
    Filled large(Grid(1, 1, 1, 0), Kind::Definite); // squares that overflow are no infinity
    const tagVectorInt list{{0, 1}};
    const tagVectorDbl loads{{3e200, 4e200}};
    large.system.AddToRHSVector(&list, &loads);
    double norm = 0;
    large.system.GetResidualVecNorm(2, &norm);
    EXPECT_NEAR(norm, 5e200, 1e186);
}

} // namespace
