// The cases with references: confined flow (C), unsaturated soil (S) and dams (U). What is compared
// and how closely is in data/checks.json; problems made from the cases are in data/problems.json.
#include "CaseRun.h"
#include "Scratch.h"

#include <cmath>
#include <numbers>
#include <regex>

namespace percova::testing
{
namespace
{
using nlohmann::json;
using Names = std::vector<std::string>;

bool Matches(const std::string& text, const json& pattern)
{
    return std::regex_match(text, std::regex(std::string(pattern)));
}

json Data(const std::string& name)
{
    return json::parse(support::ReadAll(KVI_SOURCE_DIR "/tests/percova/data/" + name));
}

/// The checks of a case on a mesh: a supplied one, or the stated one of a type of elements. Their
/// probes are added.
std::vector<json> ChecksOf(const std::string& name, const std::string& mesh, CaseRun& run)
{
    static const json kChecks = Data("checks.json");
    std::vector<json> checks;
    for (const json& check : kChecks)
    {
        if (!check.contains(mesh.size() == 2 ? "stated" : "supplied") ||
            !Matches(name + ' ' + mesh, check["runs"]))
            continue;
        checks.push_back(check);
        if (check.contains("at"))
            run.AddProbe(check[check.contains("values") ? "values" : "quantity"], check["at"][0],
                         check["at"][1]);
    }
    return checks;
}

Point Outlet(const CaseRun& run) { return run.Result().seepageFaces.front().exit; }

/// A quantity of a run by its name, or by the name of a reference, whose tail may say where.
double Actual(const CaseRun& run, const std::string& name)
{
    using R = const CaseRun&;
    using S = const std::string&;
    static const std::pair<std::string, double (*)(R, S, S tail)> kQuantities[] = {
        {"psi", [](R r, S probe, S) { return r.Probed(probe).pressureHead; }},
        {"theta", [](R r, S probe, S) { return r.Probed(probe).waterContent; }},
        {"head", [](R r, S probe, S) { return r.Probed(probe).head; }},
        {"uplift", [](R r, S probe, S) { return r.Probed(probe).pressure; }},
        {"exit_gradient", [](R r, S probe, S) { return -r.Probed(probe).gradient.y; }},
        {"flux_x", [](R r, S probe, S) { return r.Probed(probe).flux.x; }},
        {"flux_y", [](R r, S probe, S) { return r.Probed(probe).flux.y; }},
        {"flow_layer", [](R r, S probe, S) { return r.Probed(probe).flux.x; }},
        {"surface_y_at_", [](R r, S, S x) { return r.SurfaceAt(std::stod(x)); }},
        {"basic_parabola_y_at_x_", [](R r, S, S x) { return r.SurfaceAt(std::stod(x)); }},
        {"flow_through_tailwater_face", [](R r, S, S) { return -r.Flow("tailwater"); }},
        {"flow_through_seepage_face", [](R r, S, S) { return -r.Flow("face"); }},
        {"flow_out_", [](R r, S, S boundary) { return -r.Flow(boundary); }},
        {"flow_in_", [](R r, S, S boundary) { return r.Flow(boundary); }},
        {"flow_in", [](R r, S, S) { return r.Result().flowIn; }},
        {"flow", [](R r, S, S) { return r.Result().boundaries.front().flow; }},
        {"share_of_reference", [](R r, S, S) { return r.Result().flowIn / r.Value("flow"); }},
        {"share_of_drain", [](R r, S, S) { return -r.Flow("drain") / Actual(r, "flow"); }},
        {"integrated_in",
         [](R r, S, S) { return r.Result().flowInIntegrated / r.Result().flowIn; }},
        {"integrated_out",
         [](R r, S, S) { return r.Result().flowOutIntegrated / r.Result().flowIn; }},
        {"balance", [](R r, S, S) { return r.Result().massBalance; }},
        {"residual", [](R r, S, S) { return r.Result().residual; }},
        {"iterations", [](R r, S, S) { return double(r.Result().iterations); }},
        {"stored", [](R r, S, S) { return r.Result().storedWater; }},
        {"exit_height", [](R r, S, S) { return Outlet(r).y; }},
        {"drain_outlet_x", [](R r, S, S) { return Outlet(r).x; }},
        {"outlet_beyond_half_y0",
         [](R r, S, S) { return Outlet(r).x - 35 - Actual(r, "flow") / 1e-6 / 2; }},
        {"end_beyond_outlet_x",
         [](R r, S, S) { return r.Result().surface.front().back().x - Outlet(r).x; }},
        {"end_beyond_outlet_y",
         [](R r, S, S) { return r.Result().surface.front().back().y - Outlet(r).y; }},
        {"dry_faces",
         [](R r, S, S) { return double(r.Result().seepageFaces.back().exit.y == kMissing); }},
        {"inflow_of_faces",
         [](R r, S, S) {
             double most = 0;
             for (const SeepageFace& face : r.Result().seepageFaces)
                 most = std::max(most, face.flow);
             return most;
         }},
        {"surfaces", [](R r, S, S) { return double(r.Result().surface.size()); }},
        {"warnings", [](R r, S, S) { return double(r.Result().warnings.size()); }},
    };
    for (const auto& [start, of] : kQuantities)
        if (name.starts_with(start))
            return of(run, name, name.substr(start.size()));
    return kMissing;
}

/// Lower left and upper right corner of all regions.
std::pair<Point, Point> BoxOf(const Problem& problem)
{
    Point low{1e9, 1e9}, high{-1e9, -1e9};
    for (const Region& region : problem.regions)
        for (const Point at : region.polygon)
        {
            low = {std::min(low.x, at.x), std::min(low.y, at.y)};
            high = {std::max(high.x, at.x), std::max(high.y, at.y)};
        }
    return {low, high};
}

/// What the allowed error of a column is multiplied by.
double ColumnFactor(const CaseRun& run, const std::string& mesh, bool isQuadratic)
{
    if (mesh.size() == 2)
        return mesh[0] == 'T' ? 2.5 : 1; // triangles 100 times as wide as high
    // Sides are 1.5 to 13 times as long as in the stated columns of one element's width.
    const double height = BoxOf(run.model.problem).second.y;
    const double longer =
        std::sqrt(height / double(run.model.mesh.Elements()) * (mesh[0] == 't' ? 2 : 1)) /
        (height / (isQuadratic ? 200 : 400));
    return 1.5 * std::pow(longer, isQuadratic ? 3 : 2);
}

/// The number that a check expects, or the reference that it names.
double Expected(const CaseRun& run, const json& is)
{
    if (is.is_number())
        return is;
    return is == "own_flow" ? double(run.reference["own_fe"]["flow"]) : run.Value(is);
}

void ExpectOne(const CaseRun& run, const json& check, const std::string& mesh,
               const std::string& name)
{
    const double expected = Expected(run, check.contains("is") ? check["is"] : json(name));
    const bool isQuadratic = mesh[1] == '8' || mesh[1] == '6';
    const json& allowed = check[mesh.size() == 2 ? "stated" : "supplied"];
    const std::string of = check.value("of", "one");
    const double factor = of == "value"    ? std::abs(expected)
                          : of == "flow"   ? run.Value("flow")
                          : of == "column" ? ColumnFactor(run, mesh, isQuadratic)
                                           : 1;
    const double actual = Actual(run, name) * check.value("times", 1.0);
    EXPECT_NEAR(actual, expected,
                factor * double(allowed.is_array() ? allowed[isQuadratic] : allowed))
        << name;
    EXPECT_TRUE(actual >= expected || !check.contains("above")) << name << ' ' << actual;
}

void Expect(const CaseRun& run, const std::vector<json>& checks, const std::string& mesh)
{
    for (const json& check : checks)
    {
        Names names;
        for (const json& value : run.reference["values"])
            if (check.contains("values") && Matches(value["name"], check["values"]))
                names.push_back(value["name"]);
        if (check.contains("quantity"))
            names.push_back(check["quantity"]);
        EXPECT_FALSE(names.empty()) << check;
        for (const std::string& name : names)
            ExpectOne(run, check, mesh, name);
    }
}

/// A mesh of the shape of a case. A region that @p problem leaves to the mesh gets its polygon.
Grid Shaped(Problem& problem, ElementType type, int columns, int rows)
{
    const auto is = [&](const char* id) { return problem.id.starts_with(id); };
    const auto [low, high] = BoxOf(problem);
    Grid grid = Rectangle(type, columns, rows, low.x, low.y, high.x, high.y);
    if (is("U4")) // upon its drain
        grid.place = [drain = problem.boundaries[1].line](double u, double v) {
            double base = 0;
            for (std::size_t k = 1; k < drain.size(); ++k)
                if (const Point a = drain[k - 1], b = drain[k]; a.x <= 49 * u && 49 * u <= b.x)
                    base = a.y + (49 * u - a.x) / (b.x - a.x) * (b.y - a.y);
            return Point{25 * v + u * (49 - 45 * v), base * (1 - v) + 10 * v};
        };
    if (is("U3")) // between confocal parabolas, H = 10, y0 = 3, extended by half
    {
        grid.place = [](double u, double v) {
            return Point{(100 * u * u - 20.25 * v * v) / 6, 15 * u * v};
        };
        grid.curve = [](Point at) {
            const double face = (100 - 0.09 * at.y * at.y) / 6;
            return std::abs(at.x - face) < 1e-3 && at.y < 10 ? "upstream" : "";
        };
    }
    if (is("C3"))
    {
        grid.place = [](double u, double v) {
            const double r = 2 * std::pow(5, u), angle = v * std::numbers::pi / 2;
            return Point{r * std::cos(angle), r * std::sin(angle)};
        };
        grid.curve = [](Point at) {
            const double r = std::hypot(at.x, at.y);
            return r < 2.001 ? "inner" : r > 9.99 ? "outer" : "";
        };
        problem.regions[0].polygon = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
    }
    return grid;
}

/// The mesh for which the demands of a case are stated; @p part of its steps each way.
Grid Stated(Problem& problem, ElementType type, double part = 1)
{
    constexpr struct
    {
        const char* id;
        int columns, rows; ///< of quadratic elements; linear ones are half as large
    } kGrids[] = {{"C4", 120, 40}, {"C5", 240, 40}, {"S4", 80, 60}, {"S7", 80, 60},
                  {"S", 1, 200},   {"U1", 56, 84},  {"U2", 69, 69}, {"U3", 80, 60},
                  {"U4", 126, 40}, {"C3", 40, 40}};
    const auto* size = kGrids;
    while (!problem.id.starts_with(size->id))
        ++size;
    const double fine = IsQuadratic(type) || problem.id == "C3-annulus" ? part : 2 * part;
    return Shaped(problem, type, size->columns == 1 ? 1 : int(size->columns * fine),
                  int(size->rows * fine));
}

/// Runs a case on a supplied mesh, or on the stated one of a type of elements, and checks it.
CaseRun Compared(const std::string& name, const std::string& mesh)
{
    SCOPED_TRACE(name + ' ' + mesh);
    CaseRun run(name);
    run.AddProbesOfReferences();
    const std::vector<json> checks = ChecksOf(name, mesh, run);
    for (const ElementType type : kElementTypes)
        if (mesh == Name(type))
            run.On(Stated(run.model.problem, type), KindInTurn());
    if (mesh.size() > 2)
        run.On(mesh, KindInTurn());
    Expect(run, checks, mesh);
    return run;
}

void Compare(const Names& cases, const Names& meshes)
{
    for (const std::string& name : cases)
        for (const std::string& mesh : meshes)
            Compared(name, mesh);
}

const Names kStated = {"T3", "Q4", "T6", "Q8"},
            kSupplied = {"q4.v22", "q8.v41", "t3.v41", "t6.v22"};

TEST(Cases, AgreeWithTheirReferences)
{
    const Names columns = {"S1-infiltration", "S2-evaporation", "S3-two-soils", "S5-curve-power",
                           "S6-curve-integral"};
    Compare(columns, kStated);
    Compare(columns, kSupplied);
    Compare({"S4-box"}, IsThorough() ? Names{"Q4", "T6", "Q8"} : Names{"Q8"});
    Compare({"S7-block"}, IsThorough() ? Names{"Q4", "Q8"} : Names{});
    Compare({"S7-block"}, kSupplied);
    Compare({"S7-block"}, {"q4fine.v22", "q8fine.v41"});
    Compare({"C1-series"}, kSupplied);
    Compare({"C2-parallel"}, {"q4.v22", "q8.v22", "q8.v41", "t3.v22", "t3.v41", "t6.v22"});
    Compare({"C3-annulus"}, kStated);
    Compare({"C3-annulus"}, kSupplied);
}

TEST(Cases, ErrorUnderPileAndWeirHalvesWithTheElements)
{
    const Names names = {"C4-pile", "C5-weir"};
    for (const std::string& type : IsThorough() ? Names{"Q4", "Q8"} : Names{})
    {
        std::vector<double> coarse;
        for (const std::string& name : names)
        {
            CaseRun run(name);
            const ElementType of = type == "Q4" ? ElementType::Q4 : ElementType::Q8;
            coarse.push_back(run.On(Stated(run.model.problem, of, 0.5), KindInTurn()).flowIn);
            EXPECT_NEAR(run.Result().massBalance, 0, 1e-9);
        }
        for (const std::size_t i : {0u, 1u})
        {
            const CaseRun run = Compared(names[i], type);
            EXPECT_WITHIN(2 * run.Result().flowIn - coarse[i], run.Value("flow_in"), 3e-4);
        }
    }
    for (const char* mesh : {"q4.v22", "q8.v41", "t6.v22", "t3.v41", "q4fine.v22", "q8fine.v41"})
        Compare(names, {mesh});
}

TEST(Cases, FlowOfDamsIsBetweenItsBoundsAndHasItsSharpLimit)
{
    const Names dams = {"U1-dam", "U2-dam-dry", "U3-kozeny"};
    for (const std::string& dam : IsThorough() ? dams : Names{})
        for (const std::string type : {"Q4", "Q8", "T6"})
        {
            if (type == "T6" && dam[1] != '2')
                continue;
            SCOPED_TRACE(dam + type);
            const CaseRun run = Compared(dam, type);
            const double flow = Actual(run, "flow");
            const json& interval = run.reference["demand"][1]["interval"];
            EXPECT_TRUE(flow >= interval[0] && flow <= interval[1]) << flow;
            if (type != "Q8")
                continue;
            const double factor = dam[1] == '3' ? 0.5 : 2; // of alpha; extrapolated in its inverse
            CaseRun other(dam);
            other.model.problem.materials.front().kr.alpha *= factor;
            other.On(Stated(other.model.problem, ElementType::Q8), SolverKind::Direct);
            EXPECT_WITHIN((factor * Actual(other, "flow") - flow) / (factor - 1), run.Value("flow"),
                          factor > 1 ? 0.002 : 0.01);
        }
    Compare(dams, kSupplied);
    Compare({"U4-earthdam"}, kSupplied);
    Compare({"U4-earthdam"}, IsThorough() ? Names{"Q4", "Q8"} : Names{});
}

TEST(Cases, HaveHarderAndSimplerOnesMadeFromThem)
{
    for (const json& own : Data("problems.json"))
        for (const ElementType type : kElementTypes)
        {
            const std::string name = own["name"];
            if (own.contains("only") && own["only"] != Name(type))
                continue;
            SCOPED_TRACE(name + ' ' + Name(type));
            CaseRun run(own["case"], own["set"]);
            const std::vector<json> checks = ChecksOf(name, Name(type), run);
            const json& steps = own[IsQuadratic(type) ? "quadratic" : "linear"];
            SolverKind kind{};
            if (!SolverKindOf(own.value("solver", ""), kind))
                kind = KindInTurn();
            run.On(Shaped(run.model.problem, type, steps[0], steps[1]), kind);
            Expect(run, checks, Name(type));
        }
}

} // namespace
} // namespace percova::testing
