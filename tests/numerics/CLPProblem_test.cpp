#include "numerics/CLPProblem.h"
#include "support/RecordingSink.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <lpsolve/lp_lib.h>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

struct Program
{
    std::string name;
    unsigned variables = 0;
    CLPObjFunc objective;
    std::vector<CLPConstraint> constraints;
    std::vector<unsigned> integers;
};

/// From each of the sources to each of the sinks at random cost; supplies and demands balance.
Program Transport(unsigned sources, unsigned sinks, int kind, double supply)
{
    std::mt19937 random(sources + 31 * sinks);
    Program p{"transport", sources * sinks, {}, {}, {}};
    for (unsigned v = 0; v < p.variables; ++v)
        p.objective.terms.push_back({double(1 + random() % 50), v});
    for (unsigned i = 0; i < sources; ++i)
    {
        CLPConstraint& row = p.constraints.emplace_back(CLPConstraint{{}, kind, supply * sinks});
        for (unsigned k = 0; k < sinks; ++k)
            row.terms.push_back({1, i * sinks + k});
    }
    for (unsigned k = 0; k < sinks; ++k)
    {
        CLPConstraint& row =
            p.constraints.emplace_back(CLPConstraint{{}, kind == 0 ? 1 : kind, supply * sources});
        for (unsigned i = sources; i-- > 0;) // not in the order of the columns
            row.terms.push_back({1, i * sinks + k});
    }
    return p;
}

std::vector<Program> Programs()
{
    return {
        Transport(6, 8, 0, 3),
        Transport(7, 7, 2, 1 / 7.0), // the second: an assignment
        {"knapsack",
         5,
         {true, {{12, 0}, {2, 1}, {1, 2}, {1, 3}, {4, 4}}},
         {{{{12, 0}, {2, 1}, {1, 2}, {1, 3}, {4, 4}}, 0, 17.5}, {{{1, 2}, {1, 3}}, 0, 2.5}},
         {0, 1, 2, 3, 4}},
        {"degenerate, circling with the textbook's pivots",
         4,
         {false, {{-0.75, 0}, {150, 1}, {-0.02, 2}, {6, 3}}},
         {{{{0.25, 0}, {-60, 1}, {-0.04, 2}, {9, 3}}, 0, 0},
          {{{0.5, 0}, {-90, 1}, {-0.02, 2}, {3, 3}}, 0, 0},
          {{{1, 2}}, 0, 1}},
         {}},
        {"infeasible", 1, {false, {{1, 0}}}, {{{{1, 0}}, 0, 1}, {{{1, 0}}, 1, 2}}, {}},
        {"infeasible for integers", 1, {}, {{{{2, 0}}, 2, 3}}, {0}},
        {"unbounded", 1, {true, {{1, 0}}}, {{{{1, 0}}, 1, 1}}, {}},
        {"impossible without terms", 2, {}, {{{{1, 0}}, 0, 1}, {{}, 1, 1}}, {}},
        {"no constraints", 2, {false, {{1, 0}}}, {}, {}},
        {"unbounded without constraints", 2, {true, {{1, 0}}}, {}, {}},
        {"unbounded beside constraints", 2, {true, {{1, 0}, {1, 1}}}, {{{{1, 1}}, 0, 3}}, {}},
    };
}

using Outcome = std::pair<int, std::vector<double>>; // status, and the variables if optimal

/// lp_solve called by itself, dense row by dense row.
Outcome SolvedDirectly(const Program& p)
{
    lprec* lp = make_lp(0, int(p.variables));
    set_verbose(lp, NEUTRAL);
    std::vector<double> row;
    const auto fill = [&](const std::vector<CLPTerm>& terms) {
        row.assign(p.variables + 1, 0);
        for (const CLPTerm& term : terms)
            row[term.variable + 1] = term.coefficient;
        return row.data();
    };
    set_obj_fn(lp, fill(p.objective.terms));
    set_sense(lp, p.objective.maximise);
    for (const CLPConstraint& c : p.constraints)
        add_constraint(lp, fill(c.terms), c.kind == 0 ? LE : c.kind == 1 ? GE : EQ, c.rhs);
    for (const unsigned i : p.integers)
        set_int(lp, int(i) + 1, TRUE);
    const int result = solve(lp);
    Outcome outcome{result == OPTIMAL ? 1 : result, {}};
    if (double* best = nullptr; result == OPTIMAL && get_ptr_variables(lp, &best))
        outcome.second.assign(best, best + p.variables);
    for (const double x : outcome.second)
        if (std::fabs(x) >= 1e30)
            return delete_lp(lp), Outcome{3, {}};
    delete_lp(lp);
    return outcome;
}

/// With further solves before the constraints with the given numbers.
Outcome Solved(const Program& p, const std::set<std::size_t>& solveBefore = {})
{
    const CountedObjPtr<CLPProblem> problem = CLPProblem::create(p.variables);
    problem->objFunc(p.objective);
    for (std::size_t k = 0; k <= p.constraints.size(); ++k)
    {
        if (solveBefore.contains(k))
            problem->solve();
        if (k < p.constraints.size())
            problem->add(p.constraints[k]);
        else
            problem->objFunc(p.objective);
        EXPECT_EQ(problem->Status(), CLPStatus::NotSolved);
        for (const unsigned i : p.integers)
            problem->intVar(i, true);
    }
    problem->solve();
    EXPECT_EQ(problem->IsOptimal(), problem->Status() == CLPStatus::Optimal);
    EXPECT_EQ(problem->numCons(), p.constraints.size());
    Outcome outcome{int(problem->Status()), {}};
    for (unsigned i = 0; i < p.variables && problem->IsOptimal(); ++i)
        outcome.second.push_back(problem->var(i));
    return outcome;
}

TEST(CLPProblem, GivesWhatLpSolveGivesAndPrintsNothing)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const Program& p : Programs())
        EXPECT_EQ(Solved(p), SolvedDirectly(p)) << p.name;
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}

/// A bound beyond lp_solve's infinity, which it takes for a contradiction.
TEST(CLPProblem, HasNoBoundFromInfinityOn)
{
    for (const double rhs : {1e30, 1e31, 1e300})
        for (const bool isMaximised : {true, false})
        {
            const std::vector<CLPConstraint> rows = {{{{1, 0}}, 0, rhs}, {{{1, 0}}, 1, -rhs}};
            const Outcome outcome = Solved({"", 1, {isMaximised, {{1, 0}}}, rows, {}});
            EXPECT_EQ(outcome, isMaximised ? Outcome(3, {}) : Outcome(1, {0})) << rhs;
        }
}

/// lp_solve takes coefficients up to 1e-12 for zero.
TEST(CLPProblem, HasTheOptimumOfATinyObjective)
{
    for (const double unit : {1.0, 1e-8, 1e-13, 1e-200, 5e-324})
    {
        const CLPConstraint below{{{1, 0}, {1, 1}}, 0, 5}, above{{{1, 0}}, 1, 1};
        const CLPObjFunc most{true, {{unit, 0}, {-unit, 1}}};
        EXPECT_EQ(Solved({"", 2, most, {below}, {}}), Outcome(1, {5, 0})) << unit;
        EXPECT_EQ(Solved({"", 2, most, {above}, {}}), Outcome(3, {})) << unit;
    }
}

/// Small numbers: up to four variables, some integer, some without bounds.
Program RandomProgram(std::mt19937& random)
{
    const auto in = [&](int low, int high) {
        return low + int(random() % unsigned(high - low + 1));
    };
    Program p;
    p.variables = unsigned(in(1, 4));
    p.objective.maximise = in(0, 1) != 0;
    for (unsigned i = 0; i < p.variables; ++i)
    {
        p.objective.terms.push_back({double(in(-5, 5)), i});
        if (in(0, 1) != 0)
            p.integers.push_back(i);
    }
    for (int rows = in(1, 5); rows > 0; --rows)
    {
        const double rhs = in(0, 1) != 0 ? in(-10, 20) : in(-1000, 2000) / 100.0;
        p.constraints.push_back({{}, std::max(0, in(-6, 2)), rhs});
        for (unsigned i = 0; i < p.variables; ++i)
            if (in(0, 2) != 0)
                p.constraints.back().terms.push_back({double(in(-4, 6)), i});
    }
    return p;
}

TEST(CLPProblem, EverySolveEqualsThatOfAFreshProblem)
{
    std::mt19937 random(9);
    int optimal = 0;
    for (int round = 0; round < 400; ++round)
    {
        SCOPED_TRACE(round);
        const Program p = RandomProgram(random);
        const std::size_t rows = p.constraints.size();
        const Outcome fresh = Solved(p);
        EXPECT_EQ(Solved(p, {random() % (rows + 1), rows - 1}), fresh);
        EXPECT_EQ(fresh, SolvedDirectly(p));
        optimal += fresh.first == 1;
    }
    EXPECT_GT(optimal, 100);
}

TEST(CLPProblem, APointThatViolatesTheProgramIsNotOptimal)
{
    // lp_solve treats the small coefficient as zero and returns 1e6.
    Program p;
    p.variables = 1;
    p.objective = {true, {{1, 0}}};
    p.constraints = {{{{1e-13, 0}}, 0, 1e-12}, {{{1, 0}}, 0, 1e6}};
    ASSERT_EQ(SolvedDirectly(p), Outcome(1, {1e6}));
    support::RecordingSink log;
    EXPECT_EQ(Solved(p), Outcome(0, {}));
    EXPECT_EQ(log.Take().size(), 1u);
}

TEST(CLPProblem, GrowsAndChangesBetweenSolves)
{
    support::RecordingSink log;
    const CountedObjPtr<CLPProblem> problem = CLPProblem::create(3);
    const auto expect = [&](double x, double y) {
        problem->solve();
        EXPECT_TRUE(problem->IsOptimal());
        EXPECT_NEAR(problem->var(0), x, 1e-12);
        EXPECT_NEAR(problem->var(1), y, 1e-12);
    };
    // A variable named again: the last coefficient counts, wherever its first one stood.
    problem->objFunc({false, {{5, 1}, {9, 0}, {1, 1}, {2, 0}}});
    problem->add({{{7, 0}, {1, 1}, {1, 0}}, 1, 2});
    expect(0, 2);
    problem->add({{{1, 1}}, 0, 0.5}); // after a solve
    expect(1.5, 0.5);
    problem->intVar(0, true);
    expect(2, 0);
    problem->intVar(0, false);
    problem->objFunc({true, {{-1, 0}, {-3, 1}}}); // the old terms are gone, the direction turned
    expect(2, 0);
    EXPECT_EQ(log.Take().size(), 0u);
}

TEST(CLPProblem, RefusesWhatCannotBelongToIt)
{
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = HUGE_VAL;
    support::RecordingSink log;
    const CountedObjPtr<CLPProblem> problem = CLPProblem::create(2);
    problem->objFunc({false, {{1, 0}, {1, 1}}});
    problem->add({{{1, 0}, {1, 1}}, 1, 2});
    for (const std::vector<CLPTerm>& terms :
         {std::vector<CLPTerm>{{1, 0}, {nan, 1}}, {{inf, 0}}, {{1, 2}}, {{1, ~0u}, {2, 0}}})
    {
        problem->objFunc({true, terms});
        problem->add({terms, 0, 1});
        EXPECT_EQ(log.Take().size(), 2u);
    }
    problem->add(std::vector<CLPConstraint>{
        {{{1, 0}}, 0, nan}, {{{1, 0}}, 0, -inf}, {{{1, 0}}, 3, 1}, {{{1, 0}}, -1, 1}});
    EXPECT_EQ(log.Take().size(), 4u);
    problem->intVar(2, true);
    EXPECT_EQ(log.Take().size(), 1u);
    EXPECT_EQ(problem->numCons(), 1u);
    problem->solve();
    EXPECT_TRUE(problem->IsOptimal());
    EXPECT_EQ(problem->var(0) + problem->var(1), 2);
    EXPECT_EQ(log.Take().size(), 0u);
    EXPECT_TRUE(std::isnan(problem->var(2)));
    EXPECT_EQ(log.Take().size(), 1u);
}

TEST(CLPProblem, IsNotSolvedWithoutTheOneModel)
{
    support::RecordingSink log;
    const auto make = [](double least) {
        CountedObjPtr<CLPProblem> problem = CLPProblem::create(1);
        problem->objFunc({false, {{1, 0}}});
        problem->add({{{1, 0}}, 1, least});
        problem->solve();
        return problem;
    };
    const auto expectLost = [&](CLPProblem& problem) {
        EXPECT_EQ(problem.Status(), CLPStatus::NotSolved);
        problem.objFunc({});
        problem.add(CLPConstraint{});
        problem.intVar(0, true);
        problem.solve();
        EXPECT_FALSE(problem.IsOptimal());
        EXPECT_TRUE(std::isnan(problem.var(0)));
        EXPECT_EQ(log.Take().size(), 5u);
    };
    CountedObjPtr<CLPProblem> first = make(3);
    EXPECT_EQ(first->var(0), 3);
    const CountedObjPtr<CLPProblem> second = make(5);
    expectLost(*first);
    EXPECT_EQ(second->var(0), 5);
    EXPECT_EQ(log.Take().size(), 0u);
    first.reset(); // ends the model, whose ever it is
    expectLost(*second);
    EXPECT_EQ(make(7)->var(0), 7);

    const CountedObjPtr<CLPProblem> huge = CLPProblem::create(~0u);
    EXPECT_EQ(log.Take().size(), 1u);
    expectLost(*huge);
}

} // namespace
