#include "Meshes.h"
#include "numerics/numerics_Krylov.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

using namespace math;
using namespace math::impl;

TEST(Krylov, BothSolveAFlowProblem)
{
    const meshes::System system = meshes::Flow(40, [](int, int) { return 1.0; });
    for (const auto solve : {&SolveKrylovSymmetric, &SolveKrylovNonSymmetric})
    {
        std::vector<double> x(system.b.size());
        KrylovCache cache;
        const SolveRecord record =
            solve(system.View(), system.b.data(), x.data(), 1e-10, 500, cache);
        EXPECT_EQ(record.outcome, SolveOutcome::Solved) << record.iterations;
        EXPECT_LE(record.residual, 1e-10);
    }
}

} // namespace
