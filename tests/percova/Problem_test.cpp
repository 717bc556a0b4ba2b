#include "KVI.h"
#include "Scratch.h"
#include "analysis/Binding.h"

#include <gmock/gmock.h>

using namespace percova;
using ::testing::HasSubstr;

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

/// The problem with a part replaced; both are written with ' for ".
std::string Patched(std::string what, std::string instead, const std::string& text = kProblem)
{
    std::replace(what.begin(), what.end(), '\'', '"');
    std::replace(instead.begin(), instead.end(), '\'', '"');
    return With(text, what, instead);
}

TEST(Problem, ReadsEverythingTheFormatHas)
{
    Faults faults;
    const Problem problem = Read("\xef\xbb\xbf" + kProblem, faults); // with a byte-order mark
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

TEST(Problem, ReportsAFaultOnceWithKeyAndLine)
{
    const std::string legal =
        str::as_u8string(
            dataparamtype::IsRangeValid(dataparam::SaturatedConductivity, -1e-5).as_wstring())
            .bytes();
    ASSERT_NE(legal, "");
    const struct
    {
        const char *what, *instead;
        std::string report;
        std::size_t count = 1; ///< of faults
    } rows[] = {
        {"'id': 'box',", "'id': 3,", ":2: id: should be a text, not a number"},
        {"'gamma_w': 9.81", "'gamma_w': 0", ":2: gamma_w: "},
        {"'gamma_w': 9.81", "'gamma': 9.81", "gamma_w: is missing; it should be a number", 2},
        {"'k_sat': 1e-5", "'k_sat': -1e-5", ":6: materials[0].k_sat: "},
        {"'k_sat': 1e-5", "'k_sat': -1e-5", legal},
        {"'k_sat': 1e-5", "'k_sat': 1e-5, 'k_sat': 1", ":6: k_sat: occurs twice"},
        {"'theta_s': 0.4", "'theta_s': 1.4", ":7: materials[0].water_content.theta_s: "},
        {"'theta_s': 0.4", "'theta_s': 0", "theta_s: should not be zero"},
        {"'a': 10, ", "'points': [[0, 0.4], [10, 0.3], [20, 0.2]], ", "points: should have pre"},
        {"'m': 1,", "", "materials[0].water_content.m: is missing"},
        {", 's0': 0.1", "", "materials[0].kr.s0: is missing; it should be a number"},
        {"'integral'", "'integrated'", ":8: materials[0].kr.rule: should be saturated, exp"},
        {"'rule': 'integral'", "'rule': 'none'", "kr.rule: should be"},
        {"'material': 'sand'", "'material': 'clay'", "no material 'clay', only 'sand'"},
        {"[2, 1], [0, 1]]}", "[2], [0, 1]]}", ":4: regions[0].polygon[2]: should be two numbers"},
        {"'value': [2, 1.5]", "'value': [2, 1.5, 1]", "has 3 numbers for 2 points"},
        {"'value': [2, 1.5]", "'value': '2'", "should be a number or a list of numbers"},
        {"'seepage'", "'leak'", ":11: boundaries[1].type: should be head,"},
        {"'name': 'right'", "'name': 'left'", "'left' is the name of another one", 2},
        {"{'right': {'type'", "{'top': {'type'", ":14: steps[1].boundaries.top: there is"},
        {"'at': [1, 0.5]", "'at': [1, 0.5, 0]", "probes[0].at: should be two numbers"},
        {"'kind': 'iterative'", "'kind': 'magic'", "solver.kind: should be pardiso"},
        {"'max_iterations': 50", "'max_iterations': 1.5", "should be a whole number"},
        {kSquare, "[[0, 0], [0, 1], [2, 1], [2, 0]]", "", 0},
        {kSquare, "[[0, 0], [2, 0], [2, 1], [0, 1], [0, 0]]", "", 0},
        {kSquare, "[[0, 0], [1, 0], [2, 0], [2, 1], [0, 1]]", "", 0},
        {kSquare, "[[0, 0], [2, 1], [2, 0], [0, 1]]",
         ":4: regions[0].polygon: the polygon of 'soil' crosses itself: its edges (0, 0) - (2, 1) "
         "and (2, 0) - (0, 1) meet at (1, 0.5)"},
        {kSquare, "[[0, 0], [2, 0], [2, 1], [1, 0], [0, 1]]", "meet at (1, 0)"},
        {kSquare, "[[0, 0], [2, 0], [2, 1], [2, 0], [0, 1]]", "has the point (2, 0) twice"},
        {kSquare, "[[0, 0], [2, 0], [2, 1], [2, 2], [2, 1.5], [0, 1]]", "overlaps itself"},
        {kSquare, "[[0, 0], [2, 0], [1, 0]]", "overlaps itself"},
        {kSquare,
         "[[0, 0], [2, 0], [2, 1], [0, 1]]}, {'name': 'core', 'material': 'sand', "
         "'polygon': [[1, 0.5], [3, 0.5], [3, 2], [1, 2]]",
         ":4: regions[1].polygon: the polygon of 'core' crosses the polygon of 'soil' at ("},
        {"[[2, 1], [2, 0]]", "[[2, 1], [2, 0], [1, 0.5], [3, 0.5]]",
         ":11: boundaries[1].line: the line of 'right' crosses itself"},
        {"[[2, 1], [2, 0]]", "[[-1, 0.5], [2, 0.5]]",
         "the line of 'right' crosses the line of 'left' at (0, 0.5)"},
        {"[[2, 1], [2, 0]]", "[[2, 1], [2, 1]]", "the line of 'right' has no length"},
        {"'tolerance': 1e-8", "'tolerance': 1e999", "is no valid JSON: "},
        {"'wanted': [", "'wanted' [", ":19: is no valid JSON: "},
        {"'id': 'box',", "'id': 'box', 'id': 'box', 'title' 1,", "is no valid JSON: "},
        {"'id': 'box',", "'units': {'length': 'furlong'},", "'furlong' is not known"},
        {"'id': 'box',", "'units': {'time': 'day'},", "units.time: 'day' is not known"},
        {"'id': 'box',", "'time': {'end': 10},", ": initial: is missing", 3},
        {"'id': 'box',", "'time': {'end': 10, 'output': [5, 3]},", "3 follows 5", 4},
        {"'id': 'box',", "'time': {'end': 10, 'output': [0, 3]},", "should be after 0", 4},
        {"'id': 'box',", "'time': {'end': 10, 'output': [11]},", "beyond the end", 4},
    };
    for (const auto& [what, instead, report, count] : rows)
    {
        SCOPED_TRACE(instead);
        Faults faults;
        Read(Patched(what, instead), faults, count == 0);
        EXPECT_THAT(AllOf(faults), HasSubstr(report));
        EXPECT_EQ(faults.Errors() + faults.Warnings(), count) << AllOf(faults);
    }
}

TEST(Problem, ReportsAllFaultsAtOnceAndWarnsOfUnknownKeys)
{
    Faults faults;
    Read(Patched("'k_sat': 1e-5", "'k_sat': 'fast'",
                 Patched("'seepage'", "'leak'", Patched("'at': [1, 0.5]", "'where': 1"))),
         faults, false);
    EXPECT_EQ(faults.Errors(), 3u) << AllOf(faults);
    EXPECT_EQ(faults.Warnings(), 1u); // probes[0].where
}

TEST(Problem, HonoursItsUnits)
{
    Faults faults;
    const Problem problem =
        Read(Patched("'id': 'box',", "'units': {'length': 'ft', 'pressure': 'psf', 'head': 'ft'},"),
             faults);
    EXPECT_DOUBLE_EQ(problem.materials[0].kSat, 1e-5 * 0.3048);
    EXPECT_DOUBLE_EQ(problem.regions[0].polygon[1].x, 2 * 0.3048);
    EXPECT_NEAR(problem.materials[0].water->a, 0.47880258980336, 1e-12); // 10 lbf/ft2 in kPa
    EXPECT_DOUBLE_EQ(problem.materials[0].water->limit, 1e6);            // the default, in kPa
    EXPECT_DOUBLE_EQ(problem.steps[0].conditions[0].values[0], 2 * 0.3048);
}

TEST(Problem, SurvivesHostileText)
{
    const std::string deep(100000, '[');
    for (const std::string& text :
         {std::string(), std::string("[]"), std::string("\xff\xfe{\0"), deep,
          std::string("{\"id\": \"\xff\xfe\"}"), "{\"a\":" + deep, std::string("\xef\xbb\xbfnull")})
    {
        Faults faults;
        Read(text, faults, false);
        EXPECT_TRUE(faults.Any());
    }
}

TEST(Model, BindsByPolygonAndLineWhereTheMeshHasNoGroups)
{
    Faults faults;
    Model model;
    model.problem = Read(kProblem, faults);
    const std::string squares = MeshText("1 0 0 0\n2 1 0 0\n3 2 0 0\n4 0 1 0\n5 1 1 0\n6 2 1 0\n",
                                         "3 3 2 0 1 1 2 5 4\n4 3 2 0 1 2 3 6 5\n");
    ASSERT_TRUE(ReadMeshText(squares, "box.msh", model.mesh, faults)) << AllOf(faults);
    EXPECT_TRUE(Bind(model, faults)) << AllOf(faults);
    EXPECT_THAT(model.material, testing::ElementsAre(0, 0));
    ASSERT_EQ(model.boundaryEdges[1].size(), 1u);
    EXPECT_EQ(model.boundaryEdges[1][0].element, 1);
    EXPECT_EQ(model.boundaryEdges[1][0].side, 1);

    Model closed = model;
    for (percova::Step& step : closed.problem.steps)
        step.conditions[0].type = step.conditions[1].type = BoundaryType::NoFlow;
    EXPECT_FALSE(Bind(closed, faults));
    EXPECT_THAT(AllOf(faults), HasSubstr("steps[0]: step dry: no boundary gives a head or lets "
                                         "water out, so nothing sets the level of the heads\n"));

    model.problem.regions[0].polygon = {{0, 0}, {1, 0}, {1, 1}};
    model.problem.boundaries[0].line = {{0.5, 0}, {0.5, 1}};
    EXPECT_FALSE(Bind(model, faults));
    EXPECT_THAT(AllOf(faults), HasSubstr("1 elements without physical surface are in no region"));
    EXPECT_THAT(AllOf(faults), HasSubstr("no side of the mesh lies on its line"));
}

TEST(Model, ReportsNamesThatTheMeshDoesNotHave)
{
    Faults faults;
    Model model;
    ASSERT_TRUE(ReadProblem(Cases() / "U1-dam.problem.json", model.problem, faults));
    ASSERT_TRUE(ReadMesh(Cases() / "mesh" / "C1-series.q4.v22.msh", model.mesh, faults));
    EXPECT_FALSE(Bind(model, faults));
    EXPECT_THAT(AllOf(faults), HasSubstr("regions[0]: 'dam' is no physical surface of"));
    EXPECT_THAT(AllOf(faults), HasSubstr("which has 'layer1', 'layer2', 'layer3'"));
}

} // namespace
