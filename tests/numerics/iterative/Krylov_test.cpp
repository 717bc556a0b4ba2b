#include "numerics/FilledSystem.h"
#include "numerics/iterative/GaussSeidel.h"
#include "numerics/iterative/Krylov.h"
#include "numerics/iterative/NodeBlocks.h"
#include "support/Numbers.h"
#include "support/RecordingSink.h"

#include <set>

namespace
{

using namespace filled_system;
using namespace math;
using namespace numerics;
using support::kNaN;

struct Solution
{
    SolveRecord record;
    std::vector<double> x;
};

using Solver = decltype(&SolveKrylovSymmetric);
constexpr Solver kBoth[] = {&SolveKrylovSymmetric, &SolveKrylovNonSymmetric}, kSymmetric = kBoth[0];

Solution Solve(Solver solver, const System& system, double tol = 1e-9, int maxIter = 500,
               double start = 0)
{
    Numbers x(system.b.size(), start);
    KrylovCache cache;
    const SolveRecord record =
        solver(system.View(), system.b.data(), x.data(), tol, maxIter, cache);
    return {record, x};
}

/// ||b - A x|| over ||b||, or over ||b| + |A||x|| as the bound set by rounding.
double RelativeResidual(const System& system, const std::vector<double>& x, bool ofRounding = false)
{
    Eigen::VectorXd r = Vector(system.b), sum = r.cwiseAbs();
    system.ForEntries([&](int i, int j, double a) {
        r[i] -= a * x[j];
        sum[i] += ofRounding ? std::abs(a * x[j]) : 0.0;
    });
    return std::sqrt(r.squaredNorm() / sum.squaredNorm());
}

/// Solved to @p tol, or Stagnated at the level of rounding.
void ExpectSolved(const System& system, const Solution& solution, double tol)
{
    const bool isSolved = solution.record.residual <= tol;
    EXPECT_EQ(solution.record.outcome, isSolved ? SolveOutcome::Solved : SolveOutcome::Stagnated)
        << solution.record.iterations << " " << solution.record.residual;
    const double reached = RelativeResidual(system, solution.x);
    const double ofRounding = RelativeResidual(system, solution.x, true);
    EXPECT_TRUE(isSolved || ofRounding <= 32 * 2.3e-16);
    // Two sums of the same residual differ by what rounding leaves in them.
    const double rounding = ofRounding > 0 ? 2.3e-16 * reached / ofRounding : 0.0;
    EXPECT_NEAR(solution.record.residual, reached, 1e-3 * reached + 8 * rounding);
}

double Layered(int, int y) { return y % 5 == 0 ? 1e-6 : 1; }

double Islands(int x, int y) { return x % 10 < 4 && y % 10 < 4 ? 1e6 : 1; }

TEST(Krylov, IterationsGrowSlowlyWithTheSizeWhateverTheConductivities)
{
    // The conductivities, the elements' aspect ratio, the most iterations at every size.
    const std::tuple<const char*, double (*)(int, int), double, int> rows[] = {
        {"uniform", Uniform, 1, 16},          {"speckled", Speckled, 1, 30},
        {"layered", Layered, 1, 20},          {"islands", Islands, 1, 25},
        {"flat elements", Uniform, 5, 20},    {"tall elements", Uniform, 0.05, 20},
        {"653 to 1", Uniform, 1 / 653.0, 20}, {"1 to 30", Uniform, 30, 20},
    };
    for (const auto& [name, k, aspect, most] : rows)
    {
        int before = 1000;
        for (const int side : {32, 64, 128})
        {
            SCOPED_TRACE(testing::Message() << name << " " << side);
            const System system = Flow(side, k, aspect);
            const Solution solution = Solve(kSymmetric, system, 1e-8);
            ExpectSolved(system, solution, 1e-8);
            EXPECT_LE(solution.record.iterations, most);
            EXPECT_LE(solution.record.iterations, 1.35 * before + 2);
            before = solution.record.iterations;
        }
    }
}

TEST(Krylov, SolvesSystemsThatAreNotSymmetric)
{
    const std::pair<double (*)(int, int), double> rows[] = {
        {Uniform, 0.0}, {Uniform, 0.5}, {Uniform, 1.0}, {Speckled, 0.2}, {Islands, 0.1}};
    for (const auto& [k, wind] : rows)
    {
        SCOPED_TRACE(wind);
        const System system = Flow(60, k, 1, wind);
        const Solution solution = Solve(kBoth[1], system);
        ExpectSolved(system, solution, 1e-9);
        EXPECT_LE(solution.record.iterations, 100);
    }
}

TEST(Krylov, ChoosesThePreconditionerByTheAdvection)
{
    const std::wstring multigrid = L"BiCGSTAB with multigrid";
    const std::wstring incomplete = L"IDR(4) with incomplete factors";
    const std::wstring complete = L"IDR(4) with nearly complete factors";
    // The element Peclet number, the most iterations, the solver that ends it.
    const std::tuple<double, int, std::wstring> rows[] = {
        {0.1, 10, multigrid}, {1, 12, incomplete}, {10, 90, incomplete}, {100, 250, complete}};
    for (const auto& [peclet, most, solver] : rows)
        for (const double unit : {1.0, 1e-150, 1e150, -1.0}) // the last one shuffled
        {
            SCOPED_TRACE(testing::Message() << peclet << ' ' << unit);
            Model model = Convection(60, peclet);
            if (unit < 0)
                model = model.Renumbered(Shuffled(model.Size(), 4));
            System system = model;
            for (double& value : system.values)
                value *= unit;
            for (double& load : system.b)
                load *= unit;
            const Solution solution = Solve(kBoth[1], system, 1e-8); // 3e-9 is rounding at 100
            EXPECT_EQ(solution.record.outcome, SolveOutcome::Solved);
            EXPECT_LE(RelativeResidual(system, solution.x), 1.1e-8);
            EXPECT_LE(solution.record.rowWiseError, 1e-9);
            EXPECT_LE(solution.record.iterations, most);
            EXPECT_TRUE(solution.record.solver == solver || unit < 0);
        }
}

TEST(Krylov, StartsFromTheGivenUnknowns)
{
    const System system = Flow(30);
    const Solution cold = Solve(kSymmetric, system, 1e-10);
    for (const Solver solver : kBoth)
    {
        Numbers x = cold.x;
        KrylovCache cache;
        SolveRecord record = solver(system.View(), system.b.data(), x.data(), 1e-9, 500, cache);
        EXPECT_EQ(record.iterations, 0);
        EXPECT_EQ(x, cold.x);
        x[7] = kNaN; // counts as 0
        record = solver(system.View(), system.b.data(), x.data(), 1e-9, 500, cache);
        EXPECT_EQ(record.outcome, SolveOutcome::Solved);
        EXPECT_LE(RelativeResidual(system, x), 1.001e-9);
    }
}

TEST(Krylov, ReportsThatTheIterationsWereUsedUp)
{
    const System system = Flow(40, Speckled);
    for (const Solver solver : kBoth)
        for (const int allowed : {-1, 0, 3})
        {
            const Solution solution = Solve(solver, system, 1e-9, allowed);
            EXPECT_EQ(solution.record.outcome, SolveOutcome::NotConverged);
            EXPECT_EQ(solution.record.iterations, std::max(allowed, 0));
            EXPECT_NEAR(solution.record.residual / RelativeResidual(system, solution.x), 1, 1e-6);
            EXPECT_EQ(solution.record.tolerance, solution.record.residual);
        }
}

TEST(Krylov, EndsWhereNoMoreDigitsAreToBeHad)
{
    const System system = Flow(40);
    for (const Solver solver : kBoth)
        for (const double tol : {0.0, -1.0, kNaN, 1e-30})
        {
            const Solution solution = Solve(solver, system, tol, 100000);
            ExpectSolved(system, solution, 0);
            EXPECT_LT(solution.record.residual, 1e-12);
            EXPECT_LT(solution.record.iterations, 200);
        }
}

TEST(Krylov, LeavesUnknownsWithoutEquationAlone)
{
    for (const Solver solver : kBoth)
    {
        System system = Flow(10);
        const std::size_t empty = system.b.size();
        system.AddRow({}, 0.0);
        system.AddRow({{int(empty) + 1, 0.0}}, 0.0); // stored, but zero
        Solution solution = Solve(solver, system, 1e-9, 500, 4.5);
        EXPECT_EQ(solution.record.outcome, SolveOutcome::Solved);
        EXPECT_EQ(solution.x[empty], 4.5);
        EXPECT_EQ(solution.x[empty + 1], 4.5);

        system.b[empty + 1] = 2; // 0 x = 2
        solution = Solve(solver, system, 1e-9, 500, 4.5);
        EXPECT_EQ(solution.record.outcome, SolveOutcome::Singular);
        EXPECT_EQ(solution.record.equation, int(empty) + 1);
        EXPECT_GT(solution.record.residual, 1e-3) << "hides nothing";
        system.b[empty + 1] = 0;
        EXPECT_LE(RelativeResidual(system, solution.x), 1e-6) << "the rest is solved";
    }
}

TEST(Krylov, SolvesSmallAndOddSystems)
{
    System one, diagonal, chains, negative = Flow(20), huge = negative, tiny = negative;
    one.AddRow({{0, 4.0}}, 2.0);
    for (int i = 0; i < 300; ++i)
        diagonal.AddRow({{i, i % 2 ? 1e-9 : 1e9}}, 1.0);
    for (double& value : negative.values)
        value = -value;
    for (int i = 0; i < 900; ++i) // three uncoupled blocks of 300 unknowns
    {
        std::map<int, double> row{{i, 2.0}};
        if (i % 300 > 0)
            row[i - 1] = -1;
        if (i % 300 < 299)
            row[i + 1] = -1;
        chains.AddRow(row, 1.0);
    }
    for (std::size_t i = 0; i < huge.b.size(); ++i)
    {
        huge.b[i] *= 1e200;
        tiny.b[i] *= 1e-200;
    }
    for (const Solver solver : kBoth)
        for (const System& system : {System(), one, diagonal, negative, chains, huge, tiny})
        {
            SCOPED_TRACE(system.Size());
            const Solution solution = Solve(solver, system);
            EXPECT_EQ(solution.record.outcome, SolveOutcome::Solved);
            EXPECT_LE(solution.record.residual, 1e-9);
            EXPECT_LE(solution.record.iterations, 40);
        }
}

TEST(Krylov, SolvesIndefiniteMatricesAndEndsOnSingularOnes)
{
    System saddle = Flow(20), pairs; // pairs: no diagonals
    for (int i = 0; i < saddle.Size(); ++i)
        saddle.At(i, i) -= 0.9;
    for (int i = 0; i < 400; ++i)
        pairs.AddRow({{i ^ 1, 2.0}}, i % 2 ? 4.0 : 6.0);
    for (const System* system : {&saddle, &pairs})
    {
        const Solution indefinite = Solve(kSymmetric, *system, 1e-9, 5000);
        ExpectSolved(*system, indefinite, 1e-9);
        EXPECT_EQ(indefinite.record.solver, L"MINRES with the diagonal");
    }
    Solution solution;
    System floating; // a ring of springs, pulled away: no solution exists
    for (int i = 0; i < 400; ++i)
        floating.AddRow({{i, 2.0}, {(i + 1) % 400, -1.0}, {(i + 399) % 400, -1.0}}, 1.0);
    for (const Solver solver : kBoth)
    {
        solution = Solve(solver, floating, 1e-9, 1000000);
        EXPECT_NE(solution.record.outcome, SolveOutcome::Solved);
        EXPECT_GE(solution.record.residual, 0.9);
    }
    for (std::size_t i = 0; i < floating.b.size(); ++i) // balanced loads have one
        floating.b[i] = i % 2 ? 1 : -1;
    solution = Solve(kSymmetric, floating);
    EXPECT_EQ(solution.record.outcome, SolveOutcome::Solved);
}

/// The log of what runs while all records pass that are not verbose.
template <class F>
std::wstring LogOf(F f)
{
    const int level = kvi::diag::LogFilter::MinLevel(), mask = kvi::diag::LogFilter::CategoryMask();
    kvi::diag::LogFilter::Set(kvi::diag::information, -1);
    support::RecordingSink sink;
    f();
    kvi::diag::LogFilter::Set(level, mask);
    return sink.TakeText();
}

TEST(DirectAdvice, IsGivenOnceAndEarlyWhereADirectSolverCostsLess)
{
    Model plate = Solid(40, {1, 0.4999}, 1);
    plate.b[plate.b.size() - 1] = -1;
    const System locked = plate;
    // The system, the iterations allowed, what the log's only record says.
    const std::tuple<System, int, std::wstring> rows[] = {
        {Flow(60), 500, L""},
        {locked, 3, L""},
        {locked, 70, L"multigrid: not solved by 70 iterations for 3362 equations;"},
        {locked, 130, L"multigrid: after 60 iterations for 3362 equations "},
        {locked, 5000, L"multigrid: after 60 iterations for 3362 equations "},
    };
    for (const auto& [system, allowed, said] : rows)
    {
        SCOPED_TRACE(allowed);
        KrylovCache cache;
        const std::wstring log = LogOf([&, &system = system, allowed = allowed] {
            for (int repeat = 0; repeat < 2; ++repeat)
            {
                Numbers x(system.b.size());
                SolveKrylovSymmetric(system.View(), system.b.data(), x.data(), 1e-8, allowed,
                                     cache);
            }
        });
        EXPECT_NE(log.find(said), std::wstring::npos);
        EXPECT_EQ(std::count(log.begin(), log.end(), L'\n'), said.empty() ? 0 : 1);
    }
}

TEST(DirectAdvice, ComparesTheRemainingStepsWithAFactorisation)
{
    const System system = Brick(12);
    const double entries = 5.0 * double(system.values.size());
    const struct
    {
        IterationProgress progress;
        double remaining;
        bool isGiven;
    } rows[] = {
        {{60, 1000, 1, 0.1, 1e-8, entries}, 210, true},
        {{60, 1000, 1, 0.1, 1e-8, 0.01 * entries}, 210, false}, // of cheap steps
        {{30, 1000, 1, 0.1, 1e-8, entries}, 210, false},        // too soon
        {{60, 1000, 1, 1e-6, 1e-8, entries}, 10, false},
        {{90, 140, 1, 0.1, 1e-8, entries}, 50, false}, // no more are allowed
        {{60, 1000, 1, 2, 1e-8, entries}, 940, true},
        {{60, 1000, 1, 0.1, 0, entries}, 940, true},
    };
    for (const auto& [progress, remaining, isGiven] : rows)
    {
        SCOPED_TRACE(&progress - &rows[0].progress);
        EXPECT_NEAR(RemainingSteps(progress), remaining, 1e-9);
        DirectAdvice advice;
        const std::wstring log = LogOf(
            [&, &progress = progress] { advice.Look(system.View(), L"iteration", progress); });
        EXPECT_EQ(!log.empty(), isGiven);
    }
}

TEST(GaussSeidel, SweepsBlocksOfAnyBandAndKnowsTheResidual)
{
    const Model plate = Flow(60, Speckled);
    Model tied = plate; // rows far apart, the second coupled in one direction only
    tied.Add({5, 3000}, {1, -0.5, -0.5, 1});
    tied.Add({2900, 40}, {0, -0.5, 0, 0});
    const struct
    {
        System system;
        int fewest, most; // blocks
        bool isSymmetric;
    } rows[] = {{plate, 6, 8, true},
                {plate.Renumbered(Shuffled(plate.Size(), 3)), 1, 2, true},
                {tied, 1, 5, false},
                {Flow(20), 1, 1, true}};
    for (const auto& [system, fewest, most, isSymmetric] : rows)
    {
        SCOPED_TRACE(&system - &rows[0].system);
        GaussSeidel sweeps;
        sweeps.Prepare(system.View());
        EXPECT_GE(sweeps.Blocks(), fewest);
        EXPECT_LE(sweeps.Blocks(), most);
        Numbers x[2], b[2];
        for (int k = 0; k < 2; ++k)
        {
            Numbers residual(system.b.size());
            x[k] = b[k] = residual;
            for (std::size_t i = 0; i < b[k].size(); ++i)
                b[k][i] = std::sin(double(i * (k + 2)));
            sweeps.ForwardFromZero(b[k].data(), x[k].data(), residual.data());
            Eigen::VectorXd missing = Vector(b[k]) - Vector(residual);
            system.ForEntries([&](int i, int j, double a) { missing[i] -= a * x[k][j]; });
            EXPECT_LT(missing.norm(), 1e-12 * Vector(b[k]).norm());
            sweeps.Backward(b[k].data(), x[k].data());
        }
        const double there = Vector(b[0]).dot(Vector(x[1]));
        if (isSymmetric)
            EXPECT_NEAR(there, Vector(b[1]).dot(Vector(x[0])), 1e-12 * std::abs(there));
    }
}

TEST(NodeBlocks, BringsNeighboursTogetherWhereTheMatrixHasNoBand)
{
    const Model plate = Flow(150);
    System shuffled = plate.Renumbered(Shuffled(plate.Size(), 3));
    NodeBlocks blocks;
    blocks.Build(shuffled.View());
    ASSERT_TRUE(blocks.IsReordered());
    const MatrixView A = blocks.matrix.View();
    EXPECT_GT(BandBlocks(A).size(), 16);
    EXPECT_EQ(A.rowStart[A.n], int(shuffled.values.size()));
    EXPECT_EQ(std::set<int>(blocks.from.begin(), blocks.from.end()).size(), shuffled.b.size());
    for (int i = 0; i < A.n; ++i)
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        {
            ASSERT_EQ(A.values[k], shuffled.At(blocks.from[i], blocks.from[A.columns[k]]));
            ASSERT_TRUE(k == A.rowStart[i] || A.columns[k - 1] < A.columns[k]);
        }
    blocks.Build(System(plate).View()); // has a band
    EXPECT_FALSE(blocks.IsReordered());
}

} // namespace
