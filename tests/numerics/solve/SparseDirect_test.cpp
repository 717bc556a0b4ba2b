#include "numerics/SolverSystems.h"
#include "numerics/solve/MinimumDegree.h"
#include "numerics/solve/NestedDissection.h"
#include "numerics/solve/SparseDirect.h"
#include "parallel/ThreadCount.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>

namespace
{

using namespace numerics;
using systems::Flow;
using systems::System;

using Rows = std::vector<std::map<int, double>>;

System FromRows(const Rows& rows)
{
    System system;
    for (const auto& row : rows)
        system.AddRow(row, 1.0);
    return system;
}

/// Four-node squares of a plane-strain solid with pore pressure: displacements and, when the
/// permeability is not negative, a pressure at each node. The bottom is held where asked for.
System Solid(int side, double E, double poisson, double permeability = -1, bool isHeld = true)
{
    const int per = permeability < 0 ? 2 : 3, width = side + 1;
    const double lame = E * poisson / ((1 + poisson) * (1 - 2 * poisson));
    const double shear = E / (2 * (1 + poisson)), root = std::sqrt(3.0) / 6;
    Rows rows(std::size_t(width * width * per));
    for (int element = 0; element < side * side; ++element)
        for (int point = 0; point < 4; ++point)
        {
            const double x = 0.5 + (point & 1 ? root : -root), y = 0.5 + (point & 2 ? root : -root);
            const double N[4] = {(1 - x) * (1 - y), x * (1 - y), (1 - x) * y, x * y};
            const double d[2][4] = {{y - 1, 1 - y, -y, y}, {x - 1, -x, 1 - x, x}};
            for (int a = 0; a < 4; ++a)
                for (int c = 0; c < 4; ++c)
                {
                    const auto node = [&](int k) {
                        return (element / side + (k >> 1)) * width + element % side + (k & 1);
                    };
                    const auto add = [&](int i, int j, double value) {
                        rows[std::size_t(node(a) * per + i)][node(c) * per + j] += value / 4;
                    };
                    const double gradients = d[0][a] * d[0][c] + d[1][a] * d[1][c];
                    for (int i = 0; i < 2; ++i)
                        for (int j = 0; j < 2; ++j)
                            add(i, j,
                                lame * d[i][a] * d[j][c] + shear * d[j][a] * d[i][c] +
                                    (i == j ? shear * gradients : 0));
                    for (int i = 0; i < 2 && per == 3; ++i)
                    {
                        add(i, 2, -d[i][a] * N[c]);
                        add(2, i, -N[a] * d[i][c]);
                    }
                    if (per == 3)
                        add(2, 2, -permeability * gradients);
                }
        }
    for (int i = 0; isHeld && i < width * per; ++i)
        rows[std::size_t(i)][i] += 1e3 * (i % per == 2 ? -std::max(permeability, 1e-3) : E);
    return FromRows(rows);
}

System Convection(int side, double peclet)
{
    return Flow(
        side, [](int, int) { return 1.0; }, 1, 2 * peclet);
}

System Links(int side, double stiffness)
{
    System system = Flow(side, [](int, int) { return 1.0; });
    for (int i = 0; i + 1 < system.Size(); i += 7)
    {
        if (i % (side + 1) == side)
            continue; // the next node begins another row
        system.At(i, i) += stiffness;
        system.At(i + 1, i + 1) += stiffness;
        system.At(i, i + 1) -= stiffness;
        system.At(i + 1, i) -= stiffness;
    }
    return system;
}

/// @p full rows and columns that are full, beside a diagonal.
System Arrow(int n, int full)
{
    Rows rows(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
    {
        rows[std::size_t(i)][i] = 4 + i % 3;
        for (int k = 0; k < full; ++k)
            if (const int f = k * (n / full); f != i)
                rows[std::size_t(i)][f] = rows[std::size_t(f)][i] = 1.0 / (1 + (i + k) % 5) / n;
    }
    return FromRows(rows);
}

System Brick(int side)
{
    Rows rows(std::size_t(side * side * side));
    const auto number = [side](int x, int y, int z) { return (z * side + y) * side + x; };
    for (int z = 0; z < side; ++z)
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x)
                for (int k = 0; k < 27; ++k)
                {
                    const int u = x + k % 3 - 1, v = y + k / 3 % 3 - 1, w = z + k / 9 - 1;
                    if (std::min({u, v, w}) >= 0 && std::max({u, v, w}) < side)
                        rows[std::size_t(number(x, y, z))][number(u, v, w)] = k == 13 ? 26.5 : -1;
                }
    return FromRows(rows);
}

/// Twice the system side by side, with an equation without coefficients between.
System Apart(const System& one)
{
    System two = one;
    two.AddRow({}, 0);
    const int n = two.Size();
    for (int i = 0; i < one.Size(); ++i)
    {
        std::map<int, double> row;
        for (int k = one.rowStart[std::size_t(i)]; k < one.rowStart[std::size_t(i) + 1]; ++k)
            row[n + one.columns[std::size_t(k)]] = one.values[std::size_t(k)];
        two.AddRow(row, 1);
    }
    return two;
}

/// Pressures with zeros on the diagonal: the incompressible limit without any permeability, on
/// squares in which they cannot be checkerboards, two unknowns beside each.
System ZeroDiagonals(int n)
{
    Rows rows(std::size_t(3 * n));
    for (int i = 0; i < n; ++i)
    {
        for (int j : {i - 1, i, i + 1})
            if (j >= 0 && j < n)
                rows[std::size_t(3 * i)][3 * j] = rows[std::size_t(3 * i + 1)][3 * j + 1] =
                    i == j ? 4 : -1;
        rows[std::size_t(3 * i)][3 * i + 2] = rows[std::size_t(3 * i + 2)][3 * i] = 2;
        rows[std::size_t(3 * i + 2)][3 * i + 2] = 0;
    }
    return FromRows(rows);
}

System Shuffled(const System& system)
{
    std::vector<int> place(system.b.size());
    for (std::size_t i = 0; i < place.size(); ++i)
        place[i] = int(i);
    std::shuffle(place.begin(), place.end(), std::mt19937(3));
    Rows rows(place.size());
    for (int i = 0; i < system.Size(); ++i)
        for (int k = system.rowStart[std::size_t(i)]; k < system.rowStart[std::size_t(i) + 1]; ++k)
            rows[std::size_t(place[std::size_t(i)])]
                [place[std::size_t(system.columns[std::size_t(k)])]] =
                    system.values[std::size_t(k)];
    return FromRows(rows);
}

/// Rows of a dominant matrix out of place, with values whose sizes differ by up to 10^@p decades.
System RowsExchanged(int n, double decades)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<> number(-1, 1);
    Rows rows(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
    {
        const double scale = std::pow(10, decades * number(random));
        rows[std::size_t(i)][(i + n / 3) % n] = 5 * scale;
        for (int k = 0; k < 3; ++k)
            rows[std::size_t(i)][(i + int(random() % 30)) % n] += number(random) * scale;
    }
    return FromRows(rows);
}

double One(int, int) { return 1; }
double Jump(int x, int y) { return (x / 3 + y / 5) % 2 ? 1.0 : 1e8; }

/// b = A x for the made solution x.
std::vector<double> Make(System& system)
{
    std::vector<double> x(system.b.size());
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = 1 + 0.125 * double(i * 37 % 11);
    for (int i = 0; i < system.Size(); ++i)
    {
        long double sum = 0;
        for (int k = system.rowStart[std::size_t(i)]; k < system.rowStart[std::size_t(i) + 1]; ++k)
            sum += (long double)(system.values[std::size_t(k)]) *
                   x[std::size_t(system.columns[std::size_t(k)])];
        system.b[std::size_t(i)] = double(sum);
    }
    return x;
}

TEST(SparseDirect, SolvesTheZooToItsRounding)
{
    struct Row
    {
        const char* name;
        System system;
        double error; ///< allowed in x, relative to its largest
    };
    const double inf = std::numeric_limits<double>::infinity(); // the condition allows anything
    Row rows[] = {
        {"Laplace", Flow(60, One), 1e-11},
        {"shuffled", Shuffled(Flow(60, One)), 1e-11},
        {"jumps 1e8", Flow(60, Jump), 1e-12},
        {"anisotropy 1e4", Flow(60, One, 100), 1e-9},
        {"elasticity 0.3", Solid(30, 1e4, 0.3), 1e-10},
        {"elasticity 0.4999", Solid(30, 1e4, 0.4999), 1e-9},
        {"consolidation", Solid(30, 1e4, 0.3, 1e-3), 1e-8},
        {"consolidation, stiff and tight", Solid(40, 1e7, 0.3, 1e-9), 1e-5},
        {"consolidation, stiffer", Solid(40, 1e9, 0.3, 1e-9), 1e-4},
        {"zeros on the diagonal", ZeroDiagonals(400), 1e-12},
        {"Peclet 0.1", Convection(50, 0.1), 1e-11},
        {"Peclet 10", Convection(50, 10), 1e-10},
        {"Peclet 1000", Convection(50, 1000), 1e-5}, // nearly singular: oscillations
        {"links of 1e12", Links(50, 1e12), 1e-2},
        {"Places of rows exchanged", RowsExchanged(3000, 0), 1e-12},
        {"Places of rows exchanged, wide scales", RowsExchanged(3000, 100), 1e-12},
        {"arrow", Arrow(3000, 1), 1e-12},
        {"dense rows", Arrow(3000, 30), 1e-12},
        {"apart, one empty", Apart(Flow(30, One)), 1e-11},
        {"brick", Brick(12), 1e-12},
        {"soft springs 1e-10", Solid(10, 1, 0.3, -1, false), inf},
    };
    System& soft = std::end(rows)[-1].system;
    for (int i = 0; i < soft.Size(); ++i)
        soft.At(i, i) += 1e-10;
    for (Row& row : rows)
    {
        SCOPED_TRACE(row.name);
        std::vector<double> made = Make(row.system), x(made.size());
        for (std::size_t i = 0; i < made.size();
             ++i) // the unknown of an empty equation is undetermined
            if (row.system.rowStart[i] == row.system.rowStart[i + 1])
                made[i] = 0;
        SparseDirect solver;
        const SolveRecord record = solver.Solve(row.system.View(), row.system.b.data(), x.data());
        double error = 0;
        for (std::size_t i = 0; i < x.size(); ++i)
            error = std::max(error, std::abs(x[i] - made[i]) / System::Largest(made));
        EXPECT_EQ(record.outcome, SolveOutcome::Solved);
        EXPECT_LE(record.rowWiseError, 1e-13);
        EXPECT_LE(error, row.error);
        EXPECT_EQ(solver.LastCost().isSymmetric, row.name[0] != 'P');
    }
}

TEST(SparseDirect, ReportsWhatIsSingular)
{
    struct Row
    {
        const char* name;
        System system;
        int modes; ///< at least
    };
    System floating = Flow(20, One), loaded = floating;
    for (int i = 0; i < floating.Size(); ++i)
    {
        double sum = 0;
        for (int k = floating.rowStart[std::size_t(i)]; k < floating.rowStart[std::size_t(i) + 1];
             ++k)
            sum += floating.values[std::size_t(k)];
        floating.At(i, i) -= sum;
    }
    loaded.AddRow({}, 5);
    const Row rows[] = {
        {"unheld plate", Solid(4, 1e4, 0.3, -1, false), 3},
        {"larger unheld plate", Solid(30, 1e4, 0.3, -1, false), 1},
        {"nothing prescribed", floating, 1},
        {"0 x = 5", loaded, 1},
        {"equal rows", FromRows({{{0, 1}, {1, 2}}, {{0, 2}, {1, 4}}}), 1},
        {"three equations for two unknowns",
         FromRows({{{0, 1}, {1, 2}}, {{0, 3}, {1, 1}}, {{0, 2}, {1, 4}, {2, 0}}}), 1},
        {"zeros", FromRows({{{0, 0}, {1, 0}}, {{0, 0}, {1, 0}}}), 1},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.name);
        std::vector<double> x(row.system.b.size());
        const SolveRecord record =
            SparseDirect().Solve(row.system.View(), row.system.b.data(), x.data());
        EXPECT_EQ(record.outcome, SolveOutcome::Singular);
        EXPECT_GE(record.equation, 0);
        EXPECT_GE(record.looseModes, row.modes);
    }
    System infected = Flow(3, One);
    infected.At(2, 2) = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> x(infected.b.size());
    const SolveRecord record = SparseDirect().Solve(infected.View(), infected.b.data(), x.data());
    EXPECT_EQ(record.outcome, SolveOutcome::NotFinite);
    EXPECT_EQ(record.equation, 2);
    EXPECT_TRUE(std::isnan(x[0]));
}

TEST(SparseDirect, KeepsTheAnalysisWhileThePatternStaysAndTheFactorWhileTheValuesDo)
{
    System system = Flow(20, One), wider = Flow(21, One);
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
        rows[std::size_t(i)] = {{i, 3.0}, {(i + 1) % 200, -1.0}, {(i * 7 + 3) % 200, 0.5}};
    System system = FromRows(rows);
    const std::vector<double> made = Make(system);
    std::vector<double> x(made.size());
    EXPECT_EQ(SparseDirect().Solve(system.View(), system.b.data(), x.data()).outcome,
              SolveOutcome::Solved);
    for (std::size_t i = 0; i < x.size(); ++i)
        EXPECT_NEAR(x[i], made[i], 1e-12);
}

TEST(SparseDirect, GivesTheSameBitsOnAnyNumberOfThreads)
{
    System solid = Solid(70, 1e4, 0.3), brick = Brick(15), wind = Convection(90, 1);
    for (System* system : {&solid, &brick, &wind})
    {
        std::vector<double> x[3];
        for (const unsigned threads : {1u, 2u, 5u})
        {
            std::vector<double>& own = x[threads / 2];
            own.resize(system->b.size());
            parallel::SetFixedThreads(threads);
            EXPECT_EQ(SparseDirect().Solve(system->View(), system->b.data(), own.data()).outcome,
                      SolveOutcome::Solved);
        }
        parallel::SetFixedThreads(parallel::kDynamicThreads);
        EXPECT_EQ(x[0], x[1]);
        EXPECT_EQ(x[0], x[2]);
    }
}

TEST(NestedDissection, SavesWorkInSolids)
{
    const System brick = Brick(16), grid = Flow(60, One);
    for (const System* system : {&brick, &grid})
    {
        const AdjacencyGraph graph = Compress(system->View(), true).graph;
        const std::vector<int> order = NestedDissectionOrder(graph);
        std::vector<int> sorted = order, all(order.size());
        std::sort(sorted.begin(), sorted.end());
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = int(i);
        ASSERT_EQ(sorted, all);
        const double saved =
            PredictFlops(graph, order) / PredictFlops(graph, MinimumDegreeOrder(graph));
        EXPECT_LT(saved, system == &brick ? 0.9 : 2.0);
    }
}

} // namespace
