#include "CaseRun.h"
#include "Commands.h"
#include "analysis/Binding.h"
#include "output/Output.h"
#include "output/picture/Picture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <sstream>

using namespace percova;
using ::testing::AnyOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

namespace
{

/// A dam whose head falls evenly from the left to the right: no analysis is needed.
struct Dam
{
    Model model;
    StepResult step;

    Dam()
    {
        Faults faults;
        EXPECT_TRUE(ReadProblem(Cases() / "U1-dam.problem.json", model.problem, faults));
        EXPECT_TRUE(ReadMesh(Cases() / "mesh" / "U1-dam.q8.v41.msh", model.mesh, faults));
        EXPECT_TRUE(Bind(model, faults)) << AllOf(faults);
        step.name = "1";
        step.nodal = NodalTable(model.mesh.Nodes());
        for (std::size_t i = 0; i < model.mesh.Nodes(); ++i)
        {
            const GID row{unsigned(i) + 1};
            const double head = 24 - model.mesh.x[i];
            step.nodal.SetValue(row, dataparam::Head, head);
            step.nodal.SetValue(row, dataparam::PressureHead, head - model.mesh.y[i]);
        }
        step.surface = {{{0, 24}, {16, 8}}};
        step.seepageFaces = {{"face", 1e-6, {16, 8}}};
    }
};

/// The numbers of the array called @p name in a .vtu file.
std::vector<double> DecodedArray(const std::string& vtu, const std::string& name)
{
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::size_t at = vtu.find(">\n", vtu.find("Name=\"" + name + '"')) + 2;
    std::string bytes;
    unsigned bits = 0, count = 0;
    for (; vtu[at] != '\n' && vtu[at] != '='; ++at)
    {
        bits = bits << 6 | unsigned(digits.find(vtu[at]));
        if ((count += 6) >= 8)
            bytes += static_cast<char>(bits >> (count -= 8) & 255);
    }
    std::uint64_t size = 0;
    EXPECT_GE(bytes.size(), sizeof size);
    std::memcpy(&size, bytes.data(), sizeof size);
    EXPECT_EQ(size, bytes.size() - sizeof size);
    std::vector<double> numbers(std::size_t(size / sizeof(double)));
    std::memcpy(numbers.data(), bytes.data() + sizeof size, numbers.size() * sizeof(double));
    return numbers;
}

TEST(Output, IsNamedAfterTheProblemButNeverAfterAFolderAbove)
{
    const std::pair<const char*, const char*> rows[] = {
        {"dam.problem.json", "dam"}, {"a/dam.json", "dam"},          {"a.b/dam", "dam"},
        {"dam.v2.json", "dam.v2"},   {"...problem.json", "results"}, {".problem.json", "results"},
        {"..json", "results"}};
    for (const auto& [path, name] : rows)
    {
        Problem problem;
        problem.path = PathOf(path);
        EXPECT_EQ(BaseName(problem), name) << path;
    }
}

TEST(Output, WritesEveryNumberOfAGridExactly)
{
    const Dam dam;
    std::ostringstream out;
    WriteVtu(out, dam.model, dam.step);
    const DataTable::ConstValues head = dam.step.nodal.Column(dataparam::Head);
    EXPECT_EQ(DecodedArray(out.str(), "head"), std::vector<double>(head.begin(), head.end()));
    const std::vector<double> points = DecodedArray(out.str(), "Points");
    ASSERT_EQ(points.size(), 3 * dam.model.mesh.Nodes());
    EXPECT_EQ(points[3 * 77 + 1], dam.model.mesh.y[77]);
    EXPECT_EQ(out.str().find("water_content"), std::string::npos); // there is none
    EXPECT_NE(out.str().find("<InformationKey name=\"UNITS_LABEL\" location=\"vtkDataArray\">m<"),
              std::string::npos);
}

TEST(Output, WritesNullForWhatDoesNotExist)
{
    const Dam dam;
    Results results;
    results.steps = {dam.step};
    results.steps[0].probes = {{"\xff\"<p>", {1, 0.1}, 5.5}}; // a name that is no UTF-8
    results.steps[0].flowIn = 0.1;
    results.steps[0].residual = std::nan("");
    std::ostringstream out;
    WriteJson(out, ResultJson(ResultFiles(L"", dam.model.problem), dam.model, results, {}));
    const nlohmann::json json = nlohmann::json::parse(out.str()), &step = json["steps"][0];
    EXPECT_EQ(json["problem"], "U1-dam");
    EXPECT_EQ(json["mesh"]["nodes"], dam.model.mesh.Nodes());
    EXPECT_THAT(out.str(), HasSubstr("\"flow_in\": 0.1,")); // the shortest text
    EXPECT_TRUE(step["flow_out"].is_null());
    EXPECT_TRUE(step["residual"].is_null());
    EXPECT_EQ(step["probes"][0]["head"], 5.5);
    EXPECT_TRUE(step["probes"][0]["gradient"][1].is_null());
    EXPECT_EQ(step["seepage_faces"]["face"]["exit"], nlohmann::json({16.0, 8.0}));
    EXPECT_EQ(step["surface"][0][1], nlohmann::json({16.0, 8.0}));
}

TEST(Output, DrawsContoursWetZoneAndPhreaticLine)
{
    Dam dam;
    dam.model.problem.title = "<dam> & \"lake\"";
    std::ostringstream out;
    WritePicture(out, dam.model, dam.step);
    const std::string svg = out.str();
    // Heads 8 to 24 in steps of 1, without the two that hold along the faces.
    std::size_t contours = 0;
    for (std::size_t at = 0; (at = svg.find("class=\"contour\"/>", at)) != svg.npos; ++at)
        ++contours;
    EXPECT_EQ(contours, 15u);
    EXPECT_THAT(svg, HasSubstr(">&lt;dam&gt; &amp; &quot;lake&quot;<"));
    EXPECT_THAT(svg, HasSubstr("headwater: head 24 m"));
    EXPECT_THAT(svg, Not(HasSubstr("nan")));
    EXPECT_LT(svg.size(), 60000u);
}

TEST(Output, DrawsSourcesWhereTheyAre)
{
    Dam dam;
    dam.model.problem.sources = {{"well", {{5, 6}}, {}}, {"drain <1>", {{2, 1}, {8, 1}}, {}}};
    dam.step.sources = {{"well", -2e-6}, {"drain <1>", 1e-7}};
    std::ostringstream out;
    WritePicture(out, dam.model, dam.step);
    const picture::Frame frame = picture::FrameOf(dam.model.mesh, 96, 92);
    const Point well = frame.At({5, 6});
    for (const std::string& text :
         {"M" + picture::Coordinates({well.x - 5, well.y}) + "a5 5 ",
          '"' + picture::PathData({frame.At({2, 1}), frame.At({8, 1})}) + '"',
          std::string(">well<"), std::string(">drain &lt;1&gt;<"),
          std::string(">well: draws 2e-06 m3/s per m<"),
          std::string(">drain &lt;1&gt;: brings 1e-07 m3/s per m<")})
        EXPECT_THAT(out.str(), HasSubstr(text));
    dam.model.problem.units = {"ft", 0.3048, "Pa", 0.001};
    ConvertToFileUnits(dam.model);
    EXPECT_DOUBLE_EQ(dam.model.problem.sources[1].line[1].x, 8 / 0.3048);
}

/// The lines of a path "M x y L x y ...", its arrows' barbs left out.
std::vector<std::array<double, 4>> ArrowsOf(std::string data)
{
    std::replace_if(
        data.begin(), data.end(), [](char c) { return c == 'M' || c == 'L'; }, ' ');
    std::istringstream in(data);
    std::vector<std::array<double, 4>> arrows;
    for (std::array<double, 4> arrow; in >> arrow[0] >> arrow[1] >> arrow[2] >> arrow[3];)
    {
        arrows.push_back(arrow);
        for (double barb = 0, k = 0; k < 6; ++k)
            in >> barb;
    }
    return arrows;
}

// On a hill 60 m wide and 20 m high; 820 pixels are 60 m.
TEST(Output, HasNoContoursOfRounding)
{
    const struct
    {
        double least, greatest;
        std::vector<double> values;
    } rows[] = {{0, 4, {0, 1, 2, 3, 4}},
                {-30, 20, {-20, 0, 20}},
                {1e6, 1e6 + 0.01, {1e6, 1e6 + 0.005, 1e6 + 0.01}},
                {5.3, std::nextafter(5.3, 6), {}}, // did not end: a step is no number there
                {-5.3, 1e-15 - 5.3, {}},
                {2, 2, {}},
                {0, HUGE_VAL, {}},
                {NAN, 1, {}}};
    for (const auto& [least, greatest, values] : rows)
        EXPECT_THAT(picture::RoundLevels(least, greatest, 4).values,
                    ::testing::Pointwise(::testing::DoubleNear(1e-9), values))
            << least << ' ' << greatest;
}

TEST(Output, DrawsTheFluxInsideTheSoilAlone)
{
    using percova::testing::Grid, percova::testing::MakeMesh;
    const auto ground = [](double x) { return 2 + 18 * std::sin(x / 60 * 3.14159265358979); };
    const auto flux = [](double x) { return 2e-7 * (1 + x / 60); };
    for (const ElementType type : {ElementType::T3, ElementType::Q8})
        for (const double degrees : {0.0, 70.0, 200.0})
        {
            SCOPED_TRACE(degrees);
            Dam dam;
            dam.model.mesh = MakeMesh(Grid{type, 30, 5, [&](double u, double v) {
                                               return Point{60 * u, v * ground(60 * u)};
                                           }});
            dam.model.problem.vectors = true;
            dam.model.material.assign(dam.model.mesh.Elements(), 0);
            dam.model.boundaryEdges.clear();
            dam.step.surface.clear();
            dam.step.seepageFaces.clear();
            dam.step.nodal = NodalTable(dam.model.mesh.Nodes());
            const double c = std::cos(degrees / 57.29577951), s = std::sin(degrees / 57.29577951);
            for (std::size_t n = 0; n < dam.model.mesh.Nodes(); ++n)
            {
                const GID row{unsigned(n) + 1};
                dam.step.nodal.SetValue(row, dataparam::VelocityX, c * flux(dam.model.mesh.x[n]));
                dam.step.nodal.SetValue(row, dataparam::VelocityY, s * flux(dam.model.mesh.x[n]));
            }
            std::ostringstream out;
            WritePicture(out, dam.model, dam.step);
            const std::string svg = out.str(), begin = "<path d=\"";
            const std::size_t style = svg.find("class=\"flux\""),
                              legend = svg.find("class=\"flux\"", style + 1);
            ASSERT_NE(legend, svg.npos);
            const auto arrowsBefore = [&](std::size_t at) {
                const std::size_t from = svg.rfind(begin, at) + begin.size();
                return ArrowsOf(svg.substr(from, svg.find('"', from) - from));
            };
            const auto length = [](const std::array<double, 4>& arrow) {
                return std::hypot(arrow[2] - arrow[0], arrow[3] - arrow[1]);
            };
            ASSERT_THAT(svg.substr(legend), HasSubstr("Darcy flux, arrow of 2e-07 m/s<"));
            const double perFlux = length(arrowsBefore(legend).at(0)) / 2e-7;
            const std::vector<std::array<double, 4>> arrows = arrowsBefore(style);
            EXPECT_GT(arrows.size(), 150u);
            for (const std::array<double, 4>& arrow : arrows)
            {
                const auto& [x0, y0, x1, y1] = arrow;
                EXPECT_NEAR(length(arrow), flux(((x0 + x1) / 2 - 96) * 60 / 820) * perFlux,
                            0.03 * length(arrow) + 0.15);
                EXPECT_NEAR((x1 - x0) * c - (y1 - y0) * s, length(arrow), 0.02);
                for (const auto& [x, y] : {std::pair(x0, y0), std::pair(x1, y1)})
                {
                    const double up = (92 + 20 * 820 / 60.0 - y) * 60 / 820;
                    EXPECT_TRUE(x >= 96 && x <= 916 && up > -0.08) << x << ' ' << y;
                    EXPECT_LE(up, ground((x - 96) * 60 / 820) + 0.15);
                }
            }
        }
}

TEST(Output, TurnsEverythingIntoTheUnitsOfTheFile)
{
    Dam dam;
    dam.model.problem.units = {"ft", 0.3048, "Pa", 0.001};
    dam.step.flowIn = 1;
    dam.step.nodal.SetValue({1}, dataparam::Pressure, 1);
    const double x = dam.model.mesh.x[50];
    ConvertToFileUnits(dam.model);
    ConvertToFileUnits(dam.model.problem.units, dam.step);
    EXPECT_DOUBLE_EQ(dam.model.mesh.x[50], x / 0.3048);
    EXPECT_DOUBLE_EQ(dam.step.flowIn, 1 / (0.3048 * 0.3048));
    EXPECT_DOUBLE_EQ(dam.step.nodal.GetValue({1}, dataparam::Pressure), 1000);
    EXPECT_EQ(dam.step.nodal.GetValue({2}, dataparam::Pressure), kMissing);
    EXPECT_DOUBLE_EQ(dam.step.seepageFaces[0].exit.y, 8 / 0.3048);
    EXPECT_EQ(dam.step.flowOut, kMissing);
}

TEST(TextFile, KeepsTheOldFileWhenTheNewOneFails)
{
    const std::filesystem::path path = Scratch("d\xC3\xA4mme.txt", "");
    const std::wstring name = PathOf(TextOf(path));
    std::string reason;
    EXPECT_TRUE(WriteWhole(
        name, [](std::ostream& out) { out << "old"; }, reason))
        << reason;
    EXPECT_FALSE(WriteWhole(
        name, [](std::ostream& out) { out.setstate(std::ios::badbit); }, reason));
    EXPECT_THAT(reason, HasSubstr("d\xC3\xA4mme.txt cannot be written"));
    EXPECT_FALSE(WriteNew(
        name, [](std::ostream& out) { out << "new"; }, reason));
    EXPECT_THAT(reason, HasSubstr("d\xC3\xA4mme.txt cannot be written: "));
    EXPECT_THAT(reason, Not(AnyOf(HasSubstr("part"), EndsWith(": "))));
    EXPECT_EQ(support::ReadAll(path), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path.parent_path()), {}), 1);
}

TEST(CommandLine, EndsWithTheStatusOfWhatHappened)
{
    const std::filesystem::path folder = ScratchFolder();
    const std::string problem = CaseFile("C2-parallel"), mesh = MeshFile("C2-parallel.q4.v22"),
                      dam = CaseFile("U1-dam"), damMesh = MeshFile("U1-dam.t3.v41"),
                      results = TextOf(folder / FilePath("\xCE\xB5\xCE\xBE")), // of no code page
        blocked = TextOf(folder / "file");
    std::ofstream(folder / "file") << "in the way";
    const struct
    {
        std::vector<std::string> arguments;
        Exit exit;
        const char* printed; ///< on one of the two streams
    } rows[] = {
        {{"run", problem, "--mesh", mesh, "--out", results, "--probe", "1,0.5"},
         Exit::Done,
         "1,0.5"},
        {{"run", problem, "--mesh", mesh, "--out", results, "--quiet"}, Exit::Done, ""},
        {{"check", problem, "--mesh", mesh}, Exit::Done, "nothing is wrong"},
        {{"info", mesh}, Exit::Done, "physical surface"},
        {{"run", "--help"}, Exit::Done, "--max-iterations"},
        {{"--version"}, Exit::Done, "percova on KVI 0."},
        {{}, Exit::WrongInput, "subcommand"},
        {{"run", problem, "--solver", "magic"}, Exit::WrongInput, "magic"},
        {{"run", problem}, Exit::WrongInput, "names no mesh file"},
        {{"run", problem, "--mesh", mesh, "--probe", "1;2"}, Exit::WrongInput, "--probe"},
        {{"check", problem, "--mesh", damMesh}, Exit::WrongInput, "no physical surface"},
        {{"check", mesh, "--mesh", problem}, Exit::WrongInput, "no Gmsh mesh"},
        {{"info", "nothing.msh"}, Exit::WrongInput, "cannot be opened"},
        {{"check", problem, "--mesh", TextOf(folder)}, Exit::WrongInput, "--mesh: "},
        {{"run", dam, "--mesh", damMesh, "--out", results, "--max-iterations", "2"},
         Exit::NotConverged,
         "did not converge"},
        {{"run", problem, "--mesh", mesh, "--out", blocked}, Exit::NotWritten, "cannot be"},
    };
    for (const auto& [arguments, exit, printed] : rows)
    {
        const CommandRun run = RunCommand(arguments);
        SCOPED_TRACE(::testing::PrintToString(arguments));
        EXPECT_EQ(run.exit, exit);
        EXPECT_THAT(run.out + run.err, HasSubstr(printed));
        EXPECT_TRUE(run.out.empty() || printed[0] != '\0') << run.out;
    }
    std::ostringstream closed, err;
    closed.setstate(std::ios::badbit);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"check", problem, "--mesh", mesh}, {"run", "--help"}})
        EXPECT_EQ(RunCommandLine(arguments, closed, err), Exit::NotWritten) << arguments[0];
    for (const char* name :
         {"result.json", "C2-parallel.vtu", "C2-parallel.pvd", "C2-parallel.svg"})
        EXPECT_TRUE(std::filesystem::exists(FilePath(results) / name)) << name;
}

TEST(CommandLine, FitsMeasuredPointsAndComputesWithThem)
{
    nlohmann::json problem = JsonOf(Cases() / "S5-curve-power.problem.json"), points;
    const math::fn::flow::FredXing curve(10, 2, 1, 0.4, 1e6);
    for (double pressure = -0.5; pressure > -1e4; pressure *= 1.5)
        points.push_back({pressure, std::round(1e4 * curve(pressure)) / 1e4}); // as measured
    problem["materials"][0]["water_content"] = {{"theta_s", 0.4}, {"points", points}};
    const std::filesystem::path path = Scratch("points.problem.json", problem.dump());
    const CommandRun run =
        RunCommand({"run", TextOf(path), "--mesh", MeshFile("S5-curve-power.q8.v41"), "--probe",
                    "0.5,1", "--probe", "0.5,4"});
    ASSERT_EQ(run.exit, Exit::Done) << run.err;
    const nlohmann::json step = JsonOf(path.parent_path() / "points" / "result.json")["steps"][0];
    const percova::testing::CaseRun reference("S5-curve-power");
    for (const auto& [probe, height] : {std::pair{0, "1"}, std::pair{1, "4"}})
    {
        const nlohmann::json& actual = step["probes"][probe];
        EXPECT_NEAR(actual["pressure_head"], reference.Value(std::string("psi_at_z_") + height),
                    0.01);
        EXPECT_NEAR(actual["water_content"], reference.Value(std::string("theta_at_z_") + height),
                    0.002);
    }
    EXPECT_WITHIN(double(step["stored_water"]), reference.Value("stored_water_per_width"), 0.003);
}

} // namespace
