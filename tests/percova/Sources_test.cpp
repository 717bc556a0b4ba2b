// Wells and drains: what they bring reaches the boundaries and the balance; and regions' balances.
#include "Block.h"
#include "analysis/Analysis.h"
#include "analysis/Binding.h"
#include "time/Transient.h"

#include <cmath>

namespace percova::testing
{
namespace
{

// With the test function 1 - x / 6, which every element has, the flow through the left side follows
// from the mean x of the source alone, on any mesh.
TEST(Sources, ReachTheBoundariesByTheirMoment)
{
    const std::pair<const char*, double> rows[] = {
        {R"({"name": "in an element", "at": [2.3, 1.7]})", 2.3},
        {R"({"name": "at a node", "at": [3, 2]})", 3},
        {R"({"name": "on the rim", "at": [0.5, 5]})", 0.5},
        {R"({"name": "at a given head", "at": [0, 2.5]})", 0},
        {R"({"name": "oblique", "line": [[1.1, 0.4], [4.7, 4.6]]})", 2.9},
        {R"({"name": "bent", "line": [[1, 1], [1, 3], [4, 3]]})", 1.9},
        {R"({"name": "top"})", 3}, // a curve of the mesh
    };
    for (const ElementType type : kTypes)
        for (const auto& [text, x] : rows)
            for (const double rate : {-7e-6, 3e-6})
            {
                SCOPED_TRACE(std::string(percova::Name(type)) + ' ' + text);
                nlohmann::json problem = Block();
                problem["sources"][0] = nlohmann::json::parse(text);
                problem["sources"][0]["rate"] = rate;
                CaseRun run("S7-block");
                const StepResult& step = SolveBlock(run, problem, type);
                const double through = 2.5e-5, left = through - rate * (1 - x / 6);
                EXPECT_NEAR(run.Flow("left"), left, 1e-10 * through);
                EXPECT_NEAR(run.Flow("right"), -left - rate, 1e-10 * through);
                EXPECT_EQ(step.sources.at(0).flow, rate);
                if (rate < 0) // else some nodes of the left side may let water out
                    EXPECT_NEAR(step.flowIn, left, 1e-10 * through);
                EXPECT_LE(std::abs(step.massBalance), 1e-10);
                EXPECT_LE(std::abs(step.regions.at(0).balance), 1e-10);
            }
}

// The well of Thiem: its rate spread along the inner circle gives the heads that its head gave.
TEST(Sources, GiveTheHeadsOfAWell)
{
    for (const char* mesh : {"q8.v41", "t6.v22"})
    {
        CaseRun run("C3-annulus");
        run.AddProbesOfReferences();
        Problem& problem = run.model.problem;
        problem.sources = {{"inner", {}, {}}};
        Condition& rate = problem.steps.front().sources.emplace_back();
        rate.type = BoundaryType::Flux;
        rate.values = {run.Value("flow_in_inner")};
        problem.steps.front().conditions[0].type = BoundaryType::NoFlow;
        const StepResult& step = run.On(mesh, SolverKind::Direct);
        for (const char* name : {"head_r_3", "head_r_5", "head_r_8"})
            EXPECT_WITHIN(run.Probed(name).head, run.Value(name), 2e-6) << mesh << name;
        EXPECT_LE(std::abs(step.massBalance), 1e-10);
    }
}

TEST(Sources, ChangeFromStepToStep)
{
    nlohmann::json problem = Block();
    problem["sources"][0] = {{"name", "well"}, {"at", {3, 2.5}}, {"rate", -1e-6}};
    problem["steps"] = nlohmann::json::parse(
        R"([{"name": "pumping"}, {"name": "rest", "sources": {"well": {"rate": 0}}}])");
    CaseRun run("S7-block");
    SolveBlock(run, problem, ElementType::Q4);
    EXPECT_NEAR(run.Flow("left"), 2.5e-5 + 0.5e-6, 1e-14);
    EXPECT_NEAR(run.results.steps.at(1).boundaries[0].flow, 2.5e-5, 1e-14);
}

/// The column of T1, closed at all sides, in two regions, with a well whose rate rises and falls.
void RunWell(CaseRun& run, const char* mesh, double peak)
{
    run.Read(mesh);
    Problem& problem = run.model.problem;
    for (Condition& condition : problem.steps.front().conditions)
        condition.type = BoundaryType::NoFlow;
    problem.regions = {{"lower", 0, {{0, 0}, {0.5, 0}, {0.5, 1}, {0, 1}}, {}},
                       {"upper", 0, {{0, 1}, {0.5, 1}, {0.5, 2}, {0, 2}}, {}}};
    problem.sources = {{"well", {{0.2, 1.3}}, {}}};
    Condition& rate = problem.steps.front().sources.emplace_back();
    rate.type = BoundaryType::Flux;
    rate.series = {{0, {0}}, {7e5, {peak}}, {2e6, {0}}};
    run.model.mesh.surfaces.clear();
    run.model.mesh.group.assign(run.model.mesh.Elements(), -1);
    Faults faults;
    ASSERT_TRUE(Bind(run.model, faults)) << AllOf(faults);
    std::string reason;
    ASSERT_TRUE(AnalyseInTime(run.model, {}, run.results, reason)) << reason;
    ASSERT_EQ(run.results.stopped, "");
}

TEST(Sources, FillTheSoilInTime)
{
    constexpr double kPeak = 1e-9; // [m2/s]
    for (const char* mesh : {"q4", "q8", "t3", "t6"})
    {
        SCOPED_TRACE(mesh);
        CaseRun run("T1-consolidation");
        RunWell(run, mesh, kPeak);
        const double filled[] = {kPeak * 1e10 / 1.4e6, kPeak * 1.6e11 / 1.4e6,
                                 kPeak * (3.5e5 + 3e5 - 9e10 / 2.6e6), kPeak * 1e6};
        for (std::size_t i = 0; i < 4; ++i)
        {
            const StepResult& output = run.results.steps.at(i + 1);
            EXPECT_WITHIN(output.sources[0].cumulative, filled[i], 1e-12);
            EXPECT_WITHIN(output.storedChange, filled[i], 1e-7);
            EXPECT_LE(std::abs(output.massBalance), 1e-7);
            const RegionFlow &lower = output.regions.at(0), &upper = output.regions.at(1);
            EXPECT_WITHIN(lower.storedChange + upper.storedChange, output.storedChange, 1e-9);
            EXPECT_WITHIN(upper.cumulativeSources, filled[i], 1e-12);
            EXPECT_WITHIN(lower.cumulativeIn - lower.cumulativeOut, lower.storedChange, 1e-6);
            EXPECT_GT(lower.storedChange, 0.2 * filled[i] * double(i) / 4);
            for (const RegionFlow& region : {lower, upper})
                EXPECT_LE(std::abs(region.balance), 1e-7);
        }
    }
}

// Layers across the flow carry all of it, layers along it their share.
TEST(Regions, BalanceInASteadyState)
{
    CaseRun series("C1-series"), parallel("C2-parallel"), dry("S3-two-soils");
    for (const RegionFlow& layer : series.On("t3.v41", SolverKind::Direct).regions)
        for (const double flow : {layer.in, layer.out})
            EXPECT_WITHIN(flow, series.results.steps[0].flowIn, 1e-8) << layer.name;
    double sum = 0;
    for (const RegionFlow& layer : parallel.On("t6.v22", SolverKind::Direct).regions)
        sum += layer.in;
    EXPECT_WITHIN(sum, parallel.results.steps[0].flowIn, 1e-6);
    for (const RegionFlow& soil : dry.On("q8.v41", SolverKind::Direct).regions)
        EXPECT_LE(std::abs(soil.balance), 1e-8) << soil.name;
}

TEST(Sources, ReportWhatIsWrongWithThem)
{
    const std::pair<const char*, const char*> rows[] = {
        {R"({"name": "w", "at": [7, 1], "rate": 1})",
         "the source 'w' at (7, 1) lies in no element of grid"},
        {R"({"name": "w", "line": [[5, 1], [7, 1]], "rate": 1})",
         "the source 'w' lies outside grid with 50 % of its length, from (6, 1) to (7, 1)"},
        {R"({"name": "w", "line": [[5, 1], [5, 1]], "rate": 1})", "the source 'w' has no length"},
        {R"({"name": "w", "rate": 1})", "'w' is no physical curve of grid, which has 'top', and"},
        {R"({"name": "w", "at": [1, 1], "line": [[1, 1], [2, 1]], "rate": 1})",
         "sources[0].at: should not be there beside a line"},
        {R"({"name": "w", "at": [1, 1], "rate": [1, 2]})", "has 2 numbers for 0 points"},
        {R"({"name": "w", "at": [1, 1], "rate": [[0, 1], [5, 2]]})",
         "has a value that changes in time, but the problem has no time"},
        {R"({"name": "w", "at": [1, 1]})", "sources[0].rate: is missing"},
    };
    for (const auto& [source, text] : rows)
    {
        nlohmann::json problem = Block();
        problem["sources"][0] = nlohmann::json::parse(source);
        Model model;
        const std::string faults = FaultsOf(problem, ElementType::Q4, model);
        EXPECT_NE(faults.find(text), std::string::npos) << source << '\n' << faults;
    }
}

} // namespace
} // namespace percova::testing
