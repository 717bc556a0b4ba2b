// Transient seepage: cases with exact references, and properties that hold in every case.
#include "Block.h"
#include "CaseRun.h"
#include "Commands.h"
#include "analysis/Binding.h"
#include "time/Transient.h"

#include <cmath>

namespace percova::testing
{
namespace
{

using nlohmann::json;

/// The results of a case in time on one of its meshes, or on the one that it has where @p mesh is
/// empty; the initial state comes first.
const std::vector<StepResult>& InTime(CaseRun& run, const std::string& mesh,
                                      SolverKind kind = SolverKind::Direct)
{
    if (!mesh.empty())
        run.Read(mesh);
    Faults faults;
    EXPECT_TRUE(Bind(run.model, faults));
    run.model.problem.solver.kind = kind;
    run.results = {};
    std::string reason;
    EXPECT_TRUE(AnalyseInTime(run.model, {}, run.results, reason)) << reason;
    EXPECT_EQ(run.results.stopped, "");
    return run.results.steps;
}

void ExpectReferences(const CaseRun& run, const json& demand)
{
    const std::vector<StepResult>& results = run.results.steps;
    const json& reference = run.reference;
    ASSERT_EQ(results.size(), reference["times"].size() + 1);
    // A row of values, one for each output.
    const auto expect = [&](const json& values, double allowed, const auto& actual) {
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_NEAR(actual(results[i + 1]), double(values[i]), allowed) << "output " << i;
    };
    const auto largest = [](const json& values) {
        double most = 0;
        for (const double value : values)
            most = std::max(most, std::abs(value));
        return most;
    };
    for (std::size_t k = 0; k < reference["probes"].size(); ++k)
    {
        const json& probe = reference["probes"][k];
        SCOPED_TRACE(probe["name"]);
        expect(probe["values"], demand["probes_abs"], [&](const StepResult& at) {
            return probe["quantity"] == "head" ? at.probes[k].head : at.probes[k].pressureHead;
        });
    }
    for (const json& each : reference["boundaries"])
    {
        const std::string name = each["name"], quantity = each["quantity"];
        SCOPED_TRACE(name + ' ' + quantity);
        const std::string own = quantity + '_' + name + "_rel", any = quantity + "_rel";
        const double allowed = demand[demand.contains(own) ? own : any];
        expect(each["values"], allowed * largest(each["values"]), [&](const StepResult& at) {
            double sum = 0;
            for (const BoundaryFlow& boundary : at.boundaries)
                if (name == "all" || name == boundary.name)
                    sum += quantity == "flow" ? boundary.flow * run.model.problem.units.seconds
                                              : boundary.cumulative;
            return sum;
        });
    }
    const json& stored = reference["stored_change"]["values"];
    SCOPED_TRACE("stored change");
    expect(stored, double(demand["stored_change_rel"]) * largest(stored),
           [](const StepResult& at) { return at.storedChange; });
    for (std::size_t i = 1; i < results.size(); ++i)
        EXPECT_LE(std::abs(results[i].massBalance), 1e-7) << i; // asked is 1e-5
}

TEST(SeepageInTime, MeetsItsReferencesOnEveryMesh)
{
    for (const char* name : {"T1-consolidation", "T2-front", "T3-box", "T4-tide", "T5-rain"})
        for (const std::string mesh : {"q4", "q8", "t3", "t6"})
        {
            if (!IsThorough() && mesh != "q4")
                continue;
            if (name[1] == '3' && mesh[0] == 't')
                continue; // its meshes are large
            SCOPED_TRACE(std::string(name) + ' ' + mesh);
            CaseRun run(name);
            InTime(run, mesh, KindInTurn());
            for (const json& demand : run.reference["demand"])
                for (const json& elements : demand["elements"])
                    if (elements == mesh)
                        ExpectReferences(run, demand);
        }
}

// Ten equal steps, twenty and forty: the differences fall by four.
TEST(SeepageInTime, IsOfSecondOrder)
{
    double head[3] = {};
    for (int k = 0; k < 3; ++k)
    {
        CaseRun run("T1-consolidation");
        TimeSettings& time = *run.model.problem.time;
        run.model.problem.steps[0].conditions[3].series = {{0, {12}}, {1e6, {10}}};
        time.outputs = {1e6};
        time.tolerance = 1e9;
        time.firstStep = time.largestStep = 1e5 / (1 << k);
        head[k] = InTime(run, "q4").back().probes[0].head;
    }
    EXPECT_NEAR((head[0] - head[1]) / (head[1] - head[2]), 4, 0.5);
}

TEST(SeepageInTime, ConservesWaterInStepsOfAnyLength)
{
    for (const double tolerance : {1e-3, 10.0})
    {
        CaseRun run("T5-rain");
        run.model.problem.time->tolerance = tolerance;
        run.model.problem.time->largestStep = 3600;
        const StepResult& end = InTime(run, "q4").back();
        EXPECT_LE(std::abs(end.massBalance), 1e-8) << tolerance;
        EXPECT_NEAR(end.boundaries[3].cumulative, 5.04e-3, 5.04e-9) << tolerance;
    }
}

// Rain of twice the saturated conductivity: the surface ponds and takes in less; behind the rain it
// evaporates until it is as dry as the air allows.
TEST(SeepageInTime, SwitchesAFluxThatTheSoilCannotTakeOrGive)
{
    CaseRun run("T5-rain");
    Condition& top = run.model.problem.steps[0].conditions[3];
    top.series = {{0, {4e-5}}, {7200, {4e-5}}, {7200, {-1e-6}}, {1e6, {-1e-6}}};
    top.ponding = 0;
    top.leastPressureHead = -3;
    run.model.problem.time->outputs = {7200, 400000};
    const std::vector<StepResult>& results = InTime(run, "q4");
    const BoundaryFlow &rain = results[1].boundaries[3], &dry = results[2].boundaries[3];
    EXPECT_NEAR(rain.ponded, 0.1, 1e-9);
    EXPECT_GT(rain.flow, 2e-5 * 0.1); // gravity alone gives as much, the dry soil below more
    EXPECT_LT(rain.flow, 3e-5 * 0.1);
    EXPECT_LT(rain.cumulative, 0.99 * 4e-5 * 0.1 * 7200);
    EXPECT_NEAR(dry.dried, 0.1, 1e-9);
    EXPECT_LT(std::abs(dry.flow), 1e-6 * 0.1);
    EXPECT_LE(std::abs(results[2].massBalance), 1e-8);
}

// Ponded water on dry soil: node after node saturates, stores nothing from then on, and has a head
// that jumps. The wetting front of Green and Ampt is sharp, this soil's is drawn out by 0.2 m.
TEST(SeepageInTime, FollowsGreenAndAmptUnderPondedWater)
{
    constexpr double kPonded = 0.5, kAlpha = 5, kDeficit = 0.4;
    CaseRun run("T2-front");
    run.model.mesh = MakeMesh(Rectangle(ElementType::Q4, 1, 400, 0, 0, 0.25, 5));
    Problem& problem = run.model.problem;
    problem.materials[0].kr.alpha = problem.materials[0].water->alpha = kAlpha;
    problem.steps[0].conditions[3].values = {kPonded};
    problem.time->outputs = {6 * 3600., 24 * 3600.};
    problem.time->tolerance = 1e-3;
    const std::vector<StepResult>& results = InTime(run, "");
    ASSERT_EQ(results.size(), 3u);
    for (const StepResult& result : results)
    {
        const double seeped = problem.materials[0].kSat * result.time;
        const double suction = (kPonded + 1 / kAlpha) * kDeficit;
        double depth = seeped; // of the water that has gone in
        for (int k = 0; k < 100; ++k)
            depth = seeped + suction * std::log1p(depth / suction);
        EXPECT_NEAR(result.cumulativeIn / 0.25, depth, 0.015 * depth);
    }
    EXPECT_LE(std::abs(results.back().massBalance), 1e-8);
}

// Heads a metre above the ground, which drains at once where it may.
TEST(SeepageInTime, TakesHeadsBeyondALimitAsAJump)
{
    for (const double compressibility : {0.0, 1e-5})
    {
        CaseRun run("T5-rain");
        run.model.problem.initial.type = InitialType::PressureHead;
        run.model.problem.initial.table = {{0, 1}};
        run.model.problem.materials[0].mV = compressibility;
        for (Condition& side : run.model.problem.steps[0].conditions)
            if (side.type == BoundaryType::NoFlow) // the base keeps the air's pressure
                side.type = BoundaryType::Seepage;
        const StepResult& end = InTime(run, "q4").back();
        EXPECT_LE(std::abs(end.massBalance), 1e-9);
        EXPECT_LT(end.cumulativeIn, 1.001 * 5.04e-3); // the rain alone
    }
}

// Water that follows within microseconds, far below the smallest step: the heads of the ground, or
// of a side, jump while others are beyond the limit of the rain.
TEST(SeepageInTime, PassesJumpsOnNearlyIncompressibleSoil)
{
    struct Row
    {
        double storage, level, rain, before;
    };
    for (const auto& [storage, level, rain, before] :
         {Row{1e-9, 6, 0, 6}, Row{1e-9, 6, 1e-6, 3}, Row{1e-9, 0, 1e-6, 6}, Row{1e-12, 6, 1e-4, 3}})
    {
        SCOPED_TRACE(::testing::Message() << storage << ' ' << level << ' ' << rain);
        json problem = Block();
        problem["materials"][0]["m_v"] = storage / 9.81;
        problem["boundaries"][0]["value"] = {{0, 3}, {1000, 3}, {1000, level}, {1e6, level}};
        problem["boundaries"].push_back({{"name", "top"},
                                         {"line", {{0, 5}, {6, 5}}},
                                         {"type", "flux"},
                                         {"value", rain},
                                         {"ponding", 0}});
        const auto solve = [&](CaseRun& run, const auto& analyse) {
            ASSERT_EQ(FaultsOf(problem, ElementType::Q4, run.model), "");
            run.model.problem.solver.kind = SolverKind::Direct;
            std::string reason;
            EXPECT_TRUE(analyse(run.model, {}, run.results, reason)) << reason;
            EXPECT_EQ(run.results.stopped, "");
        };
        CaseRun steady("S7-block"), run("S7-block");
        problem["initial"] = {{"type", "hydrostatic"}, {"water_table", before}};
        problem["time"] = {{"end", 2000}, {"output", {1000, 2000}}};
        solve(run, AnalyseInTime);
        problem["boundaries"][0]["value"] = level;
        problem.erase("initial");
        problem.erase("time");
        solve(steady, Analyse);
        ASSERT_EQ(run.results.steps.size(), 3u);
        EXPECT_NEAR(run.results.steps[2].flowIn, steady.Result().flowIn, 1e-6 * 1e-5);
        EXPECT_LE(std::abs(run.results.steps[2].massBalance), 1e-8);
    }
}

TEST(SeepageInTime, TakesALevelInTimeAsAHeadWhereItStandsAbove)
{
    CaseRun run("T4-tide");
    const double head = InTime(run, "q4").back().probes[0].head;
    run.model.problem.steps[0].conditions[1].type = BoundaryType::Seepage;
    EXPECT_EQ(InTime(run, "q4").back().probes[0].head, head);
}

TEST(SeepageInTime, GoesOnAfterItsLastOutputAndStartsFromAnEarlierRun)
{
    const std::filesystem::path place = ScratchFolder(), part = place / "part";
    json problem = JsonOf(Cases() / "T1-consolidation.problem.json");
    const auto run = [&](const std::string& mesh, const char* folder, Exit expected) {
        std::ofstream(place / "t1.problem.json") << problem.dump();
        const CommandRun ran =
            RunCommand({"run", TextOf(place / "t1.problem.json"), "--solver", "direct", "--mesh",
                        MeshFile("T1-consolidation." + mesh), "--out", TextOf(place / folder)});
        EXPECT_EQ(ran.exit, expected) << ran.err;
        return JsonOf(place / folder / "result.json");
    };
    const json whole = run("q4", "whole", Exit::Done);
    std::filesystem::create_directories(part / "t1.0002.vtu"); // in the way of the second output
    run("q4", "part", Exit::NotWritten);
    std::filesystem::remove(part / "t1.0002.vtu");
    std::ofstream(part / "t1.0001.svg") << "kept";
    const json resumed = run("q4", "part", Exit::Done);
    for (const char* key : {"initial", "times", "steps"})
        EXPECT_EQ(resumed[key], whole[key]) << key;
    for (const char* name : {"t1.history.csv", "t1.history.svg"})
        EXPECT_EQ(support::ReadAll(part / name), support::ReadAll(place / "whole" / name)) << name;
    EXPECT_EQ(support::ReadAll(part / "t1.0001.svg"), "kept"); // not computed again

    for (const std::string mesh : {"q4", "t6"})
        for (const bool first : {true, false})
        {
            problem["initial"] = {{"type", "result"}, {"file", "whole/result.json"}};
            if (first)
                problem["initial"]["time"] = problem["time"]["output"][0];
            const json start = run(mesh, "later", Exit::Done)["initial"];
            EXPECT_NEAR(start["probes"][1]["head"],
                        whole["times"][first ? 0 : 3]["probes"][1]["head"],
                        mesh == "q4" ? 1e-12 : 2e-4); // as another mesh interpolates
        }
    problem["initial"]["time"] = 123;
    run("q4", "later", Exit::WrongInput);
}

} // namespace
} // namespace percova::testing
