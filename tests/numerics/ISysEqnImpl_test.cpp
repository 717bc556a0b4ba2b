#include "numerics/ISysEqnImpl.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

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
    const double expected[] = {4, 7, 5, -1};
    for (int kind = 0; kind < 4; ++kind)
    {
        double norm = -1;
        EXPECT_EQ(system.GetResidualVecNorm(kind, &norm), 0);
        EXPECT_EQ(norm, expected[kind]) << kind;
    }
}

} // namespace
