#include "KVI.h"
#include "Scratch.h"
#include "analysis/Model.h"
#include "problem/Problem.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using namespace percova;

namespace
{

const std::string kProblem = R"({
 "id": "box", "title": "a box", "gamma_w": 9.81,
 "mesh": {"file": "box.msh", "stated": "anything"},
 "regions": [{"name": "soil", "material": "sand", "polygon": [[0, 0], [2, 0], [2, 1], [0, 1]]}],
 "materials": [
  {"name": "sand", "k_sat": 1e-5, "anisotropy": 0.5,
   "water_content": {"a": 10, "n": 2, "m": 1, "theta_s": 0.4},
   "kr": {"rule": "integral", "s0": 0.1}}],
 "boundaries": [
  {"name": "left", "line": [[0, 0], [0, 1]], "type": "head", "value": [2, 1.5], "note": "linear"},
  {"name": "right", "line": [[2, 1], [2, 0]], "type": "seepage"}],
 "steps": [
  {"name": "dry"},
  {"name": "wet", "boundaries": {"right": {"type": "head", "value": 3}}},
  {"name": "later", "boundaries": {"left": {"type": "noflow"}}}],
 "probes": [{"name": "p", "at": [1, 0.5]}],
 "sections": [{"name": "s", "line": [[1, 0], [1, 1]]}],
 "solver": {"kind": "iterative", "tolerance": 1e-8, "max_iterations": 50},
 "wanted": ["flow"], "x_axis": "right"
})";

const char* const kSquare = "[[0, 0], [2, 0], [2, 1], [0, 1]]";

Problem Read(const std::string& text, Faults& faults, bool expected = true)
{
    Problem problem;
    EXPECT_EQ(ReadProblem(Scratch("box.problem.json", text), problem, faults), expected)
        << AllOf(faults);
    return problem;
}

TEST(Problem, ReadsEverythingTheFormatHas)
{
    Faults faults;
    const Problem problem = Read(kProblem, faults);
    EXPECT_EQ(AllOf(faults), "");
    EXPECT_EQ(problem.mesh, FolderOf(problem.path) + L"box.msh");
    ASSERT_EQ(problem.materials.size(), 1u);
    EXPECT_EQ(problem.materials[0].kr.rule, KrRule::Integral);
    EXPECT_EQ(problem.materials[0].water->limit, 1e6);
    EXPECT_EQ(problem.boundaries[1].place.line, 11);
    EXPECT_EQ(problem.boundaries[1].place.key, "boundaries[1]");
    const Boundary& left = problem.boundaries[0];
    EXPECT_DOUBLE_EQ(ValueAt(left, problem.steps[0].conditions[0], {0.1, 0.25}), 1.875);
    ASSERT_EQ(problem.steps.size(), 3u); // a change lasts
    EXPECT_EQ(problem.steps[0].conditions[1].type, BoundaryType::Seepage);
    EXPECT_EQ(problem.steps[2].conditions[1].type, BoundaryType::Head);
    EXPECT_EQ(problem.steps[2].conditions[0].type, BoundaryType::NoFlow);
    EXPECT_EQ(problem.solver.kind, SolverKind::Iterative);
    EXPECT_EQ(problem.sections[0].line.size(), 2u);
}

TEST(Problem, TellsEveryFaultWithKeyAndLine)
{
    const struct
    {
        const char* what;
        const char* instead;
        const char* told;
    } rows[] = {
        {"\"id\": \"box\",", "\"id\": 3,", ":2: id: should be a text, not a number"},
        {"\"gamma_w\": 9.81", "\"gamma_w\": 0", ":2: gamma_w: "},
        {"\"gamma_w\": 9.81", "\"gamma\": 9.81", "gamma_w: is missing; it should be a number"},
        {"\"k_sat\": 1e-5", "\"k_sat\": -1e-5", ":6: materials[0].k_sat: "},
        {"\"k_sat\": 1e-5", "\"k_sat\": 1e-5, \"k_sat\": 1", ":6: k_sat: occurs twice"},
        {"\"theta_s\": 0.4", "\"theta_s\": 1.4", ":7: materials[0].water_content.theta_s: "},
        {"\"theta_s\": 0.4", "\"theta_s\": 0", "theta_s: should not be zero"},
        {"\"a\": 10, ", "\"points\": [[0, 0.4], [10, 0.3], [20, 0.2]], ",
         "points: should have pre"},
        {"\"m\": 1,", "", "materials[0].water_content.m: is missing"},
        {"\"integral\"", "\"integrated\"", ":8: materials[0].kr.rule: should be saturated, exp"},
        {"\"material\": \"sand\"", "\"material\": \"clay\"", "no material 'clay', only 'sand'"},
        {"[2, 1], [0, 1]]}", "[2], [0, 1]]}", ":4: regions[0].polygon[2]: should be two numbers"},
        {"\"value\": [2, 1.5]", "\"value\": [2, 1.5, 1]", "has 3 numbers for 2 points"},
        {"\"value\": [2, 1.5]", "\"value\": \"2\"", "should be a number or a list of numbers"},
        {"\"seepage\"", "\"leak\"", ":11: boundaries[1].type: should be head,"},
        {"\"name\": \"right\"", "\"name\": \"left\"", "'left' is the name of another one"},
        {"{\"right\": {\"type\"", "{\"top\": {\"type\"", ":14: steps[1].boundaries.top: there is"},
        {"\"at\": [1, 0.5]", "\"at\": [1, 0.5, 0]", "probes[0].at: should be two numbers"},
        {"\"kind\": \"iterative\"", "\"kind\": \"magic\"", "solver.kind: should be pardiso"},
        {"\"max_iterations\": 50", "\"max_iterations\": 1.5", "should be a whole number"},
        {kSquare, "[[0, 0], [2, 1], [2, 0], [0, 1]]",
         ":4: regions[0].polygon: the polygon of 'soil' crosses itself: its edges (0, 0) - (2, 1) "
         "and (2, 0) - (0, 1) meet at (1, 0.5)"},
        {kSquare, "[[0, 0], [2, 0], [2, 1], [1, 0], [0, 1]]", "meet at (1, 0)"},
        {kSquare, "[[0, 0], [2, 0], [2, 1], [2, 0], [0, 1]]", "has the point (2, 0) twice"},
        {kSquare, "[[0, 0], [2, 0], [2, 1], [2, 2], [2, 1.5], [0, 1]]", "overlaps itself"},
        {kSquare, "[[0, 0], [2, 0], [1, 0]]", "overlaps itself"},
        {kSquare,
         "[[0, 0], [2, 0], [2, 1], [0, 1]]}, {\"name\": \"core\", \"material\": \"sand\", "
         "\"polygon\": [[1, 0.5], [3, 0.5], [3, 2], [1, 2]]",
         ":4: regions[1].polygon: the polygon of 'core' crosses the polygon of 'soil' at ("},
        {"[[2, 1], [2, 0]]", "[[2, 1], [2, 0], [1, 0.5], [3, 0.5]]",
         ":11: boundaries[1].line: the line of 'right' crosses itself"},
        {"[[2, 1], [2, 0]]", "[[-1, 0.5], [2, 0.5]]",
         "the line of 'right' crosses the line of 'left' at (0, 0.5)"},
        {"[[2, 1], [2, 0]]", "[[2, 1], [2, 1]]", "the line of 'right' has no length"},
        {"\"tolerance\": 1e-8", "\"tolerance\": 1e999", "is no valid JSON: "},
        {"\"wanted\": [", "\"wanted\" [", ":19: is no valid JSON: "},
        {"\"id\": \"box\",", "\"units\": {\"length\": \"furlong\"},", "'furlong' is not known"},
        {"\"id\": \"box\",", "\"units\": {\"time\": \"day\"},", "units.time: 'day' is not known"},
        {"\"id\": \"box\",", "\"time\": {\"end\": 10},", ": initial: is missing"},
        {"\"id\": \"box\",", "\"time\": {\"end\": 10, \"output\": [5, 3]},", "3 follows 5"},
        {"\"id\": \"box\",", "\"time\": {\"end\": 10, \"output\": [0, 3]},", "should be after 0"},
        {"\"id\": \"box\",", "\"time\": {\"end\": 10, \"output\": [11]},", "beyond the end"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.instead);
        Faults faults;
        Read(With(kProblem, row.what, row.instead), faults, false);
        EXPECT_NE(AllOf(faults).find(row.told), std::string::npos) << AllOf(faults);
    }
}

TEST(Problem, ReportsAFaultOnceAndAsWhatItIs)
{
    const std::pair<const char*, const char*> rows[] = {
        {"\"k_sat\": 1e-5", "\"k_sat\": 1e-5, \"k_sat\": 1"},
        {"\"rule\": \"integral\"", "\"rule\": \"none\""},
        {"\"id\": \"box\",", "\"id\": \"box\", \"id\": \"box\", \"title\" 1,"}};
    for (const auto& [what, instead] : rows)
    {
        Faults faults;
        Read(With(kProblem, what, instead), faults, false);
        EXPECT_EQ(faults.Errors() + faults.Warnings(), 1u) << AllOf(faults);
    }
}

TEST(Problem, TakesRingsInEitherDirectionOpenOrClosed)
{
    for (const char* ring :
         {"[[0, 0], [0, 1], [2, 1], [2, 0]]", "[[0, 0], [2, 0], [2, 1], [0, 1], [0, 0]]",
          "[[0, 0], [1, 0], [2, 0], [2, 1], [0, 1]]"})
    {
        Faults faults;
        Read(With(kProblem, kSquare, ring), faults);
        EXPECT_EQ(AllOf(faults), "") << ring;
    }
}

TEST(Problem, TellsRangesInTheCataloguesWords)
{
    Faults faults;
    Read(With(kProblem, "\"k_sat\": 1e-5", "\"k_sat\": -1e-5"), faults, false);
    const std::wstring words =
        dataparamtype::IsRangeValid(dataparam::SaturatedConductivity, -1e-5).as_wstring();
    ASSERT_FALSE(words.empty());
    EXPECT_NE(AllOf(faults).find(str::as_u8string(words).bytes()), std::string::npos);
}

TEST(Problem, TellsAllFaultsAtOnceAndWarnsOfUnknownKeys)
{
    Faults faults;
    std::string text = With(kProblem, "\"k_sat\": 1e-5", "\"k_sat\": \"fast\"");
    text = With(text, "\"seepage\"", "\"leak\"");
    text = With(text, "\"at\": [1, 0.5]", "\"where\": 1");
    Read(text, faults, false);
    EXPECT_EQ(faults.Errors(), 3u) << AllOf(faults);
    EXPECT_EQ(faults.Warnings(), 1u); // probes[0].where
}

TEST(Problem, HonoursItsUnits)
{
    Faults faults;
    const Problem problem =
        Read(With(kProblem, "\"id\": \"box\",",
                  "\"units\": {\"length\": \"ft\", \"pressure\": \"psf\", \"head\": \"ft\"},"),
             faults);
    EXPECT_DOUBLE_EQ(problem.materials[0].kSat, 1e-5 * 0.3048);
    EXPECT_DOUBLE_EQ(problem.regions[0].polygon[1].x, 2 * 0.3048);
    EXPECT_NEAR(problem.materials[0].water->a, 0.47880258980336, 1e-12); // 10 lbf/ft2 in kPa
    EXPECT_DOUBLE_EQ(problem.materials[0].water->limit, 1e6);            // the default, in kPa
    EXPECT_DOUBLE_EQ(problem.steps[0].conditions[0].values[0], 2 * 0.3048);
}

TEST(Problem, SurvivesHostileText)
{
    const std::string deep(100000, '['), bytes = "{\"id\": \"\xff\xfe\"}";
    for (const std::string& text : {std::string(), std::string("[]"), std::string("\xff\xfe{\0"),
                                    deep, bytes, "{\"a\":" + deep, std::string("\xef\xbb\xbfnull")})
    {
        Faults faults;
        Read(text, faults, false);
        EXPECT_TRUE(faults.Any());
    }
    Faults faults;
    Read("\xef\xbb\xbf" + kProblem, faults); // a byte-order mark is no fault
}

TEST(Model, BindsByPolygonAndLineWhereTheMeshHasNoGroups)
{
    const std::string square = R"($MeshFormat
2.2 0 8
$EndMeshFormat
$Nodes
6
1 0 0 0
2 1 0 0
3 2 0 0
4 0 1 0
5 1 1 0
6 2 1 0
$EndNodes
$Elements
2
3 3 2 0 1 1 2 5 4
4 3 2 0 1 2 3 6 5
$EndElements
)";
    Faults faults;
    Model model;
    model.problem = Read(kProblem, faults);
    ASSERT_TRUE(ReadMesh(Scratch("box.msh", square), model.mesh, faults)) << AllOf(faults);
    EXPECT_TRUE(Bind(model, faults)) << AllOf(faults);
    EXPECT_EQ(model.material, (std::vector<int>{0, 0}));
    ASSERT_EQ(model.boundaryEdges[1].size(), 1u);
    EXPECT_EQ(model.boundaryEdges[1][0].element, 1);
    EXPECT_EQ(model.boundaryEdges[1][0].side, 1);

    Model closed = model;
    for (percova::Step& step : closed.problem.steps)
        step.conditions[0].type = step.conditions[1].type = BoundaryType::NoFlow;
    EXPECT_FALSE(Bind(closed, faults));
    EXPECT_NE(AllOf(faults).find("steps[0]: step dry: no boundary gives a head or lets water out, "
                                 "so nothing sets the level of the heads\n"),
              std::string::npos)
        << AllOf(faults);

    model.problem.regions[0].polygon = {{0, 0}, {1, 0}, {1, 1}};
    model.problem.boundaries[0].line = {{0.5, 0}, {0.5, 1}};
    EXPECT_FALSE(Bind(model, faults));
    EXPECT_NE(AllOf(faults).find("1 elements without physical surface are in no region"),
              std::string::npos);
    EXPECT_NE(AllOf(faults).find("no side of the mesh lies on its line"), std::string::npos);
}

TEST(Model, TellsNamesThatTheMeshDoesNotHave)
{
    Faults faults;
    Model model;
    ASSERT_TRUE(ReadProblem(Cases() / "U1-dam.problem.json", model.problem, faults));
    ASSERT_TRUE(ReadMesh(Cases() / "mesh" / "C1-series.q4.v22.msh", model.mesh, faults));
    EXPECT_FALSE(Bind(model, faults));
    EXPECT_NE(AllOf(faults).find("regions[0]: 'dam' is no physical surface of"), std::string::npos);
    EXPECT_NE(AllOf(faults).find("which has 'layer1', 'layer2', 'layer3'"), std::string::npos);
}

} // namespace
