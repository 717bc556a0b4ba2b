#include "numerics/FilledSystem.h"
#include "numerics/direct/SparseDirect.h"
#include "numerics/order/MinimumDegree.h"
#include "numerics/order/NestedDissection.h"
#include "support/Numbers.h"

#include <gmock/gmock.h>

namespace
{

using namespace filled_system;
using namespace math;
using namespace numerics;

using Rows = std::vector<std::map<int, double>>;

/// Flow with springs between some neighbours.
Model Links(int side, double stiffness)
{
    Model model = Flow(side);
    for (int i = 0; i + 1 < model.Size(); i += 7)
        if (i % (side + 1) != side) // else the next node begins another row
            model.Add({i, i + 1}, {stiffness, -stiffness, -stiffness, stiffness});
    return model;
}

/// @p full rows and columns that are full, beside a diagonal.
Rows Arrow(int n, int full)
{
    Rows rows(n);
    for (int i = 0; i < n; ++i)
    {
        rows[i][i] = 4 + i % 3;
        for (int k = 0; k < full; ++k)
            if (const int f = k * (n / full); f != i)
                rows[i][f] = rows[f][i] = 1.0 / (1 + (i + k) % 5) / n;
    }
    return rows;
}

/// Twice the system side by side, with an equation without coefficients between.
Model Apart(const Model& one)
{
    Model two = one;
    two.Append(one, one.Size() + 1);
    return two;
}

/// Pressures with zeros on the diagonal: the incompressible limit without any permeability, on
/// squares in which they cannot be checkerboards, two unknowns beside each.
Model ZeroDiagonals(int n)
{
    Model model;
    model.b.resize(3 * n);
    for (int i = 0; i < 3 * n; i += 3)
    {
        model.Add({i, i + 2}, {4, 2, 2, 0});
        model.Add({i + 1}, {4});
        for (const int u : {i, i + 1})
            if (i > 0)
                model.Add({u - 3, u}, {0, -1, -1, 0});
    }
    return model;
}

/// Rows of a dominant matrix out of place, with values whose sizes differ by up to 10^@p decades.
Rows RowsExchanged(int n, double decades)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<> number(-1, 1);
    Rows rows(n);
    for (int i = 0; i < n; ++i)
    {
        const double scale = std::pow(10, decades * number(random));
        rows[i][(i + n / 3) % n] = 5 * scale;
        for (int k = 0; k < 3; ++k)
            rows[i][(i + int(random() % 30)) % n] += number(random) * scale;
    }
    return rows;
}

Model SoftlyHeld()
{
    Model model = Solid(10, {1}, 0);
    for (int i = 0; i < model.Size(); ++i)
        model.Add({i}, {1e-10});
    return model;
}

double Jump(int x, int y) { return (x / 3 + y / 5) % 2 ? 1.0 : 1e8; }

/// Sets b = A x for the made solution x and returns it.
Numbers Make(System& system)
{
    Numbers x(system.b.size());
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = 1 + 0.125 * double(i * 37 % 11);
    LoadFor(system, x);
    return x;
}

double Largest(const Eigen::VectorXd& v) { return v.cwiseAbs().maxCoeff(); }

TEST(SparseDirect, SolvesTheZooToItsRounding)
{
    struct Row
    {
        const char* name;
        System system;
        double error; ///< allowed in x, relative to its largest
    };
    Row rows[] = {
        {"Laplace", Flow(60), 1e-11},
        {"shuffled", Flow(60).Renumbered(Shuffled(60 * 61, 3)), 1e-11},
        {"jumps 1e8", Flow(60, Jump), 1e-12},
        {"anisotropy 1e4", Flow(60, Uniform, 100), 1e-9},
        {"elasticity 0.3", Solid(30, {1e4}, 1e7), 1e-10},
        {"elasticity 0.4999", Solid(30, {1e4, 0.4999}, 1e7), 1e-9},
        {"consolidation", Solid(30, {1e4, 0.3, 1e-3}, 1e7), 1e-8},
        {"consolidation, stiff and tight", Solid(40, {1e7, 0.3, 1e-9}, 1e10), 1e-5},
        {"consolidation, stiffer", Solid(40, {1e9, 0.3, 1e-9}, 1e12), 1e-4},
        {"zeros on the diagonal", ZeroDiagonals(400), 1e-12},
        {"Peclet 0.1", Convection(50, 0.1), 1e-11},
        {"Peclet 10", Convection(50, 10), 1e-10},
        {"Peclet 1000", Convection(50, 1000), 1e-5}, // nearly singular: oscillations
        {"links of 1e12", Links(50, 1e12), 1e-2},
        {"Places of rows exchanged", RowsExchanged(3000, 0), 1e-12},
        {"Places of rows exchanged, wide scales", RowsExchanged(3000, 100), 1e-12},
        {"arrow", Arrow(3000, 1), 1e-12},
        {"dense rows", Arrow(3000, 30), 1e-12},
        {"apart, one empty", Apart(Flow(30)), 1e-11},
        {"brick", Brick(12), 1e-12},
        {"soft springs 1e-10", SoftlyHeld(), support::kInfinity}, // the condition allows anything
    };
    for (Row& row : rows)
    {
        SCOPED_TRACE(row.name);
        Numbers made = Make(row.system), x(made.size());
        for (std::size_t i = 0; i < made.size(); ++i)
            if (row.system.rowStart[i] == row.system.rowStart[i + 1])
                made[i] = 0; // the unknown of an empty equation is undetermined
        SparseDirect solver;
        const SolveRecord record = solver.Solve(row.system.View(), row.system.b.data(), x.data());
        const double error = Largest(Vector(x) - Vector(made)) / Largest(Vector(made));
        EXPECT_EQ(record.outcome, SolveOutcome::Solved);
        EXPECT_LE(record.rowWiseError, 1e-13);
        EXPECT_LE(error, row.error);
        EXPECT_EQ(solver.LastCost().isSymmetric, row.name[0] != 'P');
    }
}

TEST(SparseDirect, KeepsTheAnalysisWhileThePatternStaysAndTheFactorWhileTheValuesDo)
{
    System system = Flow(20), wider = Flow(21);
    SparseDirect solver;
    std::vector<double> x(wider.b.size());
    const auto solve = [&](const System& which) {
        EXPECT_EQ(solver.Solve(which.View(), which.b.data(), x.data()).outcome,
                  SolveOutcome::Solved);
        return std::pair(solver.LastCost().hasAnalysed, solver.LastCost().hasFactorised);
    };
    using Pair = std::pair<bool, bool>;
    EXPECT_EQ(solve(system), Pair(true, true));
    system.b[3] += 1;
    EXPECT_EQ(solve(system), Pair(false, false)) << "another right-hand side";
    system.At(5, 5) += 1e-9;
    EXPECT_EQ(solve(system), Pair(false, true)) << "another value";
    system.At(4, 5) *= 3;
    EXPECT_EQ(solve(system), Pair(false, true)) << "no longer symmetric";
    EXPECT_FALSE(solver.LastCost().isSymmetric);
    EXPECT_EQ(solve(wider), Pair(true, true)) << "another pattern";
    solver.Clear();
    EXPECT_EQ(solve(wider), Pair(true, true));
}

TEST(SparseDirect, TakesAPatternThatIsNotSymmetric)
{
    Rows rows(200);
    for (int i = 0; i < 200; ++i)
        rows[i] = {{i, 3.0}, {(i + 1) % 200, -1.0}, {(i * 7 + 3) % 200, 0.5}};
    System system = rows;
    const Numbers made = Make(system);
    Numbers x(made.size());
    EXPECT_EQ(SparseDirect().Solve(system.View(), system.b.data(), x.data()).outcome,
              SolveOutcome::Solved);
    EXPECT_THAT(x, testing::Pointwise(testing::DoubleNear(1e-12), made));
}

TEST(NestedDissection, SavesWorkInSolids)
{
    const System brick = Brick(16), grid = Flow(60);
    for (const System* system : {&brick, &grid})
    {
        const AdjacencyGraph graph = Compress(system->View(), true).graph;
        const std::vector<int> order = NestedDissectionOrder(graph);
        std::vector<int> sorted = order, all(order.size());
        std::sort(sorted.begin(), sorted.end());
        std::iota(all.begin(), all.end(), 0);
        ASSERT_EQ(sorted, all);
        const double saved =
            PredictCost(graph, order).flops / PredictCost(graph, MinimumDegreeOrder(graph)).flops;
        EXPECT_LT(saved, system == &brick ? 0.5 : 1.3);
    }
}

} // namespace
