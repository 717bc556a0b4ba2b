#include "numerics/FilledSystem.h"
#include "numerics/numerics_Profile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using math::SolveMethod;
using math::SolveOutcome;
using filled_system::Filled;
using filled_system::Grid;
using filled_system::Kind;

namespace
{

void Solve(ISysEqnImpl& system, bool symmetric)
{
    if (symmetric)
        EXPECT_EQ(system.SolveForUnknownVector_Direct_Sym(), 0);
    else
        EXPECT_EQ(system.SolveForUnknownVector_Direct_NonSym(), 0);
}

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
                SCOPED_TRACE(testing::Message()
                             << g.nx << "x" << g.ny << "x" << g.perNode << " kind " << int(kind)
                             << (symmetric ? " sym" : " nonsym"));
                Filled filled(Grid(g.nx, g.ny, g.perNode, g.shuffle), kind);
                Solve(filled.system, symmetric);
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

} // namespace
