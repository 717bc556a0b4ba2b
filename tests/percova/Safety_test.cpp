// Exit gradients with their factors, uplift, freeboards, and the units of what is written.
#include "Block.h"
#include "CommandLine.h"
#include "analysis/Binding.h"
#include "analysis/results/Freeboard.h"
#include "analysis/results/Surface.h"
#include "mesh/CurveLine.h"
#include "mesh/LineCut.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <sstream>
#include <tuple>

namespace percova::testing
{
namespace
{

/// The block with the heads at its bottom and its top.
nlohmann::json Column(double bottom, double top)
{
    nlohmann::json problem = Block();
    problem["boundaries"] = nlohmann::json::parse(
        R"([{"name": "bottom", "line": [[0, 0], [6, 0]], "type": "head"}, {"name": "top"}])");
    problem["boundaries"][0]["value"] = bottom;
    problem["boundaries"][1]["type"] = "head";
    problem["boundaries"][1]["value"] = top;
    return problem;
}

TEST(ExitGradients, HaveTheFactorOfAColumn)
{
    const std::pair<const char*, double> soils[] = {
        {R"({"gamma_sat": 19.62})", 1},
        {R"({"void_ratio": 0.65, "specific_gravity": 2.65})", 1},
        {R"({"void_ratio": 1, "specific_gravity": 2.7})", 0.85},
        {"{}", kMissing},
    };
    for (const ElementType type : kTypes)
        for (const auto& [soil, critical] : soils)
            for (const bool up : {true, false})
            {
                SCOPED_TRACE(std::string(percova::Name(type)) + ' ' + soil);
                nlohmann::json problem = Column(up ? 9 : 5, up ? 5 : 9); // a gradient of 0.8
                problem["materials"][0].update(nlohmann::json::parse(soil));
                if (up) // at zero pressure it is the same
                    problem["boundaries"][1] = {{"name", "top"}, {"type", "seepage"}};
                CaseRun run("S7-block");
                const StepResult& step = SolveBlock(run, problem, type);
                ASSERT_EQ(step.exits.size(), 1u);
                const ExitFace& face = step.exits[0];
                EXPECT_EQ(face.name, up ? "top" : "bottom");
                ASSERT_EQ(face.sides.size(), 6u);
                const bool isJudged = up && !IsMissingValue(critical);
                for (const ExitGradient& side : face.sides)
                {
                    EXPECT_NEAR(side.outward, 0.8, 1e-9);
                    EXPECT_NEAR(side.upward, up ? 0.8 : -0.8, 1e-9);
                    EXPECT_NEAR(side.factor, isJudged ? critical / 0.8 : kMissing, 1e-8);
                }
                EXPECT_EQ(face.LeastSafe() != nullptr, isJudged);
                EXPECT_EQ(face.withoutFactor, isJudged ? ""
                                              : IsMissingValue(critical)
                                                  ? "material 'sand' has no gamma_sat, and no "
                                                    "void_ratio with specific_gravity"
                                                  : "water leaves sideways or downward");
            }
}

TEST(ExitGradients, AreNoneInWaterAtRestOrDrySoil)
{
    CaseRun rest("S7-block"), dry("S7-block");
    EXPECT_TRUE(SolveBlock(rest, Column(7, 7), ElementType::Q8).exits.empty());
    nlohmann::json problem = Column(-1, -0.5); // downwards in soil under suction
    EXPECT_TRUE(SolveBlock(dry, problem, ElementType::Q8).exits.empty());
}

// The pressure is gamma_w (6 - x / 2 - y).
TEST(Uplift, IsThatOfALinearPressure)
{
    struct Row
    {
        const char* line;
        double force, vertical, moment, suction; ///< the first three over gamma_w
    };
    const Row rows[] = {
        {"[[1, 1], [5, 1]]", 14, 14, 25 + 1 / 3.0, 0},
        {"[[5, 1], [1, 1]]", 14, 14, 4 * 14 - (25 + 1 / 3.0), 0},
        {"[[0, 0], [6, 0]]", 27, 27, 72, 0},
        {"[[0, 4.3], [6, 4.3]]", 2.89, 2.89, 2.89 * 3.4 / 3, 2.6},
        {"[[2.5, 0], [2.5, 5]]", 4.75 * 4.75 / 2, 0, 4.75 * 4.75 * 4.75 / 6, 0.25},
        {"[[0, 5], [0, 1], [2, 1]]", 21, 9, 74, 0}, // down, then along
        {"null", 1, 1, 2 / 3.0, 4},                 // the physical curve "top"
    };
    for (const ElementType type : kTypes)
        for (const Row& row : rows)
        {
            SCOPED_TRACE(std::string(percova::Name(type)) + ' ' + row.line);
            nlohmann::json problem = Block();
            problem["uplift"][0] = {{"name", "top"}, {"line", nlohmann::json::parse(row.line)}};
            if (problem["uplift"][0]["line"].is_null())
                problem["uplift"][0].erase("line");
            CaseRun run("S7-block");
            const Uplift& uplift = SolveBlock(run, problem, type).uplifts.at(0);
            EXPECT_NEAR(uplift.force / 9.81, row.force, 1e-8);
            EXPECT_NEAR(uplift.along, row.moment / row.force, 1e-8);
            EXPECT_NEAR(uplift.vertical / 9.81, row.vertical, 1e-8);
            EXPECT_NEAR(uplift.suction, row.suction, 1e-8);
            for (const UpliftPoint& point : uplift.points)
                EXPECT_NEAR(point.pressure / 9.81, 6 - point.at.x / 2 - point.at.y, 1e-8);
        }
}

/// A dam 60 m wide and 20 m high, 2 m at both ends, whose curves are its faces and its crest.
double GroundAt(double x) { return 20 - 0.72 * std::max({25 - x, x - 35, 0.0}); }

/// Its freeboards where the pressure head is @p line(x) - y and water stands up to @p level.
std::vector<Freeboard> FreeboardsOf(ElementType type, const std::function<double(double)>& line,
                                    double level)
{
    Grid grid{type, 240, 4, [](double u, double v) { return Point{60 * u, v * GroundAt(60 * u)}; }};
    grid.curve = [](Point at) {
        const bool isGround = at.y > GroundAt(at.x) - 1e-9 && at.x > 0 && at.x < 60;
        return !isGround ? "" : at.x < 25 ? "upstream" : at.x < 35 ? "crest" : "downstream";
    };
    nlohmann::json problem = Block();
    problem["regions"][0]["polygon"] = {{-1, -1}, {61, -1}, {61, 21}, {-1, 21}};
    problem["boundaries"] = {{{"name", "upstream"}, {"type", "seepage"}, {"value", level}}};
    Model model;
    Faults faults;
    model.mesh = MakeMesh(grid);
    EXPECT_TRUE(ReadProblemText(problem.dump(), model.problem, faults) && Bind(model, faults))
        << AllOf(faults);
    StepResult step;
    step.nodal = NodalTable(model.mesh.Nodes());
    const DataTable::Values psi = step.nodal.Column(dataparam::PressureHead);
    for (std::size_t n = 0; n < model.mesh.Nodes(); ++n)
        psi[n] = line(model.mesh.x[n]) - model.mesh.y[n];
    step.surface = ZeroPressureLines(model.mesh, psi, {});
    FindFreeboards(model, model.problem.steps[0], step);
    return step.freeboards;
}

TEST(Freeboards, AreThoseOfStraightAndParabolicLines)
{
    const struct
    {
        std::function<double(double)> line;
        double level;
        std::vector<std::tuple<const char*, double, double>> least; ///< name, distance, x
    } rows[] = {
        // The slope that the water stands against counts on its own, with nothing at the waterline.
        {[](double x) { return 11 - 0.2 * (x - 12.5); },
         11,
         {{"ground surface", 0.5, 60},
          {"upstream", 0, 12.5},
          {"crest", 11.5, 25},
          {"downstream", 0.5, 60}}},
        // Leaves over the downstream face.
        {[](double x) { return 10 - 0.1 * x; },
         9,
         {{"ground surface", 0, 35.2 / 0.62},
          {"upstream", 0, 8 / 0.82},
          {"crest", 12.5, 25},
          {"downstream", 0, 35.2 / 0.62}}},
        // Dupuit: h^2 = 100 - 4 (x - 25); parallel to the slope where h = 4 / 1.44.
        {[](double x) { return x < 50 ? std::sqrt(100 - 4 * std::max(x - 25, 0.0)) : -1; },
         10,
         {{"ground surface", 7.8111, 48.0710},
          {"upstream", 0, 8 / 0.72},
          {"crest", 10, 25},
          {"downstream", 7.8111, 48.0710}}},
        {[](double) { return 30.0; }, 30, {}}, // all of it is under water
        {[](double) { return -1.0; }, -1, {}},
    };
    for (const ElementType type : kTypes)
        for (const auto& [line, level, least] : rows)
        {
            SCOPED_TRACE(std::string(percova::Name(type)) + ' ' + std::to_string(level));
            const std::vector<Freeboard> found = FreeboardsOf(type, line, level);
            ASSERT_EQ(found.size(), least.size());
            for (std::size_t i = 0; i < least.size(); ++i)
            {
                const auto& [name, distance, x] = least[i];
                EXPECT_EQ(found[i].name, name);
                EXPECT_NEAR(found[i].distance, distance, 2e-3) << name;
                EXPECT_NEAR(found[i].at.x, x, 0.13) << name;
                EXPECT_NEAR(found[i].ground.y, GroundAt(found[i].at.x), 1e-9) << name;
                EXPECT_NEAR(found[i].ground.y - found[i].at.y, found[i].distance, 1e-6) << name;
            }
        }
}

TEST(Safety, ReportsWhatIsWrongWithItsInput)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"gamma_sat", "9.5", "should be greater than gamma_w"},
        {"void_ratio", "0.7", "gives a unit weight only with both"},
        {"specific_gravity", "0.9", "should be greater than 1"},
    };
    Model model;
    for (const auto& [key, value, text] : rows)
    {
        nlohmann::json problem = Block();
        problem["materials"][0][key] = nlohmann::json::parse(value);
        const std::string faults = FaultsOf(problem, ElementType::Q4, model);
        EXPECT_NE(faults.find(text), std::string::npos) << key << faults;
    }
    nlohmann::json problem = Block();
    problem["uplift"][0] = {{"name", "base"}, {"line", {{2, 1}, {2, -1}}}};
    EXPECT_NE(FaultsOf(problem, ElementType::Q4, model)
                  .find("the line of uplift 'base' lies outside grid with 50 % of its length, from "
                        "(2, 0) to (2, -1) at first"),
              std::string::npos);
    problem["uplift"][0].erase("line");
    EXPECT_NE(FaultsOf(problem, ElementType::Q4, model)
                  .find("'base' is no physical curve of grid, which has 'top', and has no"),
              std::string::npos);
}

TEST(LineOfCurve, IsOneOpenLineFromTheLeft)
{
    const std::pair<std::function<bool(Point)>, double> rows[] = {
        {[](Point at) { return at.y > 4.99; }, 6},
        {[](Point at) { return at.x > 5.99 || at.y < 0.01; }, 11},
        {[](Point at) { return at.y > 4.99 || at.y < 0.01; }, 0}, // two
        {[](Point) { return true; }, 0},                          // a ring
    };
    for (const ElementType type : kTypes)
        for (const auto& [isOnIt, length] : rows)
        {
            Grid grid = BlockGrid(type);
            grid.curve = [&, &is = isOnIt](Point at) { return is(at) ? "curve" : ""; };
            const Polyline line = LineOfCurve(MakeMesh(grid), 0);
            EXPECT_NEAR(LengthOf(line), length, 1e-9);
            EXPECT_TRUE(line.empty() || line.front().x == 0);
        }
}

/// Runs the block with everything in it. @returns its only step; prints to @p summary
nlohmann::json RunIn(const nlohmann::json& units, std::string& summary)
{
    nlohmann::json problem = Block();
    problem["units"] = units;
    problem["sources"][0] = {{"name", "drain"}, {"line", {{1, 2}, {4, 2}}}, {"rate", -2e-6}};
    problem["uplift"][0] = {{"name", "base"}, {"line", {{1, 1}, {5, 1}}}};
    problem["mesh"]["file"] = "box.msh";
    const std::filesystem::path folder = Scratch("box.msh", R"($MeshFormat
2.2 0 8
$EndMeshFormat
$Nodes
4
1 0 0 0
2 6 0 0
3 6 5 0
4 0 5 0
$EndNodes
$Elements
1
1 3 2 0 1 1 2 3 4
$EndElements
)")
                                             .parent_path();
    std::ofstream(folder / "box.problem.json") << problem.dump();
    std::ostringstream out, err;
    EXPECT_EQ(RunCommandLine({"run", TextOf(folder / "box.problem.json"), "--solver", "direct",
                              "--out", TextOf(folder / "box")},
                             out, err),
              Exit::Done)
        << err.str();
    summary = out.str();
    std::string text, reason;
    EXPECT_TRUE(ReadWhole(folder / "box" / "result.json", text, reason)) << reason;
    return nlohmann::json::parse(text)["steps"][0];
}

// With the same numbers in the file only pressures differ, as the unit weight of water is in kN/m3.
TEST(Safety, WritesTheUnitsOfTheFile)
{
    std::string summary;
    const nlohmann::json feet =
        RunIn({{"length", "ft"}, {"pressure", "psf"}, {"time", "d"}}, summary);
    const nlohmann::json metres = RunIn({{"length", "m"}}, summary);
    constexpr double kPsf = 0.3048 / 0.0478802589803358;
    const std::pair<const char*, double> rows[] = {
        {"/sources/drain/flow", 1},
        {"/regions/block/flow_in", 1},
        {"/exit_gradients/right/gradient", 1},
        {"/exit_gradients/right/at/0", 1},
        {"/uplift/base/force", kPsf},
        {"/uplift/base/along", 1},
        {"/uplift/base/points/0/pressure", kPsf},
        {"/uplift/base/at/0", 1},
        {"/uplift/base/points/1/along", 1},
    };
    for (const auto& [path, factor] : rows)
    {
        const nlohmann::json::json_pointer at(path);
        ASSERT_TRUE(metres.contains(at) && metres[at].is_number()) << path << metres;
        EXPECT_WITHIN(double(feet[at]), double(metres[at]) * factor, 1e-9) << path;
    }
    for (const char* text : {"by source drain", "exit gradient", "kN/m", "no factor of right: "})
        EXPECT_NE(summary.find(text), std::string::npos) << text << summary;
}

} // namespace
} // namespace percova::testing
