// The iteration: the slopes it needs, problems on which it must converge, what it reports.
#include "CaseRun.h"
#include "Scratch.h"
#include "analysis/Analysis.h"
#include "analysis/Binding.h"
#include "analysis/flow/Assembly.h"
#include "analysis/model/Conductivity.h"

#include <gmock/gmock.h>

#include <cmath>
#include <random>

namespace percova::testing
{
namespace
{
using ::testing::HasSubstr;

Conductivity Made(const RelativeConductivity& rule, const WaterContent& water)
{
    WaterCurve curve;
    Conductivity kr;
    std::string reason;
    EXPECT_TRUE(curve.Set(water, 9.81, reason) && kr.Set(rule, curve, 9.81, reason)) << reason;
    return kr;
}

TEST(Conductivity, OfTheIntegralRuleMatchesItsTable)
{
    const CaseRun run("S6-curve-integral");
    const Material& soil = run.model.problem.materials.front();
    const Conductivity kr = Made(soil.kr, *soil.water);
    for (const auto& row : run.reference["kr_table"])
    {
        const double suction = row["suction"], expected = std::stod(std::string(row["kr"]));
        EXPECT_WITHIN(kr.At(-suction / 9.81), expected, 4e-12) << suction;
    }
}

TEST(Conductivity, HasTheSlopeOfItsValues)
{
    const WaterContent water{.a = 5, .n = 3, .m = 0.8, .thetaS = 0.4, .measured = {}, .place = {}};
    for (const RelativeConductivity& rule :
         {RelativeConductivity{KrRule::Exponential, 4, 1e-4, 0, 0, {}},
          RelativeConductivity{KrRule::Power, 0, 0, 6, 0, {}},
          RelativeConductivity{KrRule::Integral, 0, 0, 0, 0.05, {}}})
        for (double psi = -0.01; psi > -2; psi *= 1.7)
        {
            const Conductivity kr = Made(rule, water);
            const double h = 1e-5 * psi, difference = (kr.At(psi + h) - kr.At(psi - h)) / (2 * h);
            double value = 0, slope = 0;
            kr.Evaluate(&psi, 1, &value, &slope);
            EXPECT_NEAR(slope, difference, 1e-6 * std::abs(difference) + 1e-8) << psi;
        }
}

// The sums over the elements skip wet elements, evaluate the curves in batches, keep what they have
// for the heads before, and take triangles in closed form: none of it shows in the flows.
TEST(Assembly, AgreesWithTheIntegralsOverItsElements)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> pressureHead(-1.5, 1);
    for (const ElementType type : kElementTypes)
    {
        SCOPED_TRACE(Name(type));
        CaseRun run("S5-curve-power");
        Model& model = run.model;
        model.mesh = MakeMesh(Rectangle(type, 9, 9, 0, 0, 1, 5));
        model.material.assign(model.mesh.Elements(), 0);
        std::vector<Soil> soils;
        std::string reason;
        ASSERT_TRUE(MakeSoils(model.problem, soils, reason)) << reason;
        Assembly assembly(model, soils);
        std::vector<double> heads[2], inflow;
        for (std::size_t n = 0; n < model.mesh.Nodes(); ++n)
            for (std::vector<double>& head : heads)
                head.push_back(model.mesh.y[n] +
                               (model.mesh.x[n] < 0.4 ? 1 : pressureHead(random)));
        for (const int which : {0, 1, 1, 0})
        {
            std::vector<double> sum(model.mesh.Nodes());
            double most = 0;
            for (std::size_t e = 0; e < model.mesh.Elements(); ++e)
            {
                ElementState element;
                double own[8];
                element.Load(model.mesh, e, heads[which].data());
                ComputeInflow(element, soils[0], own);
                for (int k = 0; k < NodeCount(type); ++k)
                    sum[model.mesh.ElementNodes(e)[k]] += own[k];
                if (type != ElementType::T3)
                    continue;
                const ElementRule& rule = RuleOf(type, true);
                double saturated[9], psi[6], kr[6], slope[6], closed[9], flow[3];
                for (int p = 0; p < rule.points; ++p)
                    psi[p] = fVxV2C(rule.N[p], element.psi, 8);
                soils[0].kr.Evaluate(psi, rule.points, kr, slope);
                SaturatedMatrix(element, soils[0], saturated);
                ElementResult result;
                Compute(element, soils[0], saturated, {kr, slope}, Tangent::Newton, 0.3, result);
                ComputeTriangle(saturated, MeanOf({kr, slope}), element.head, Tangent::Newton, 0.3,
                                flow, closed);
                const double size = std::abs(*std::max_element(result.matrix, result.matrix + 9));
                for (int k = 0; k < 9; ++k)
                    EXPECT_NEAR(closed[k], result.matrix[k], 1e-14 * size);
            }
            assembly.Inflow(heads[which], {}, inflow);
            for (const double flow : sum)
                most = std::max(most, std::abs(flow));
            for (std::size_t n = 0; n < sum.size(); ++n)
                EXPECT_NEAR(inflow[n], sum[n], 1e-14 * most) << n;
        }
    }
}

// With q = K(psi) and unit gradient: psi far from the water table is ln(q / k) / alpha.
TEST(Newton, LetsRainIntoDryColumns)
{
    for (const ElementType type : kElementTypes)
        for (const double alpha : {1.5, 10.0, 100.0})
            for (const double rain : {1.0, 0.999, 0.5, 0.01, 1e-6})
                for (const int rows : {100, 10})
                {
                    CaseRun run("S1-infiltration", {{"/materials/0/kr/alpha", alpha},
                                                    {"/boundaries/1/value", rain * 1e-6}});
                    SCOPED_TRACE(::testing::Message() << Name(type) << " alpha " << alpha
                                                      << " rain " << rain << " rows " << rows);
                    run.AddProbe("top", 0.5, 5);
                    const StepResult& step =
                        run.On(Rectangle(type, 1, rows, 0, 0, 1, 5), SolverKind::Direct);
                    EXPECT_LE(step.iterations, 60);
                    EXPECT_WITHIN(-run.Flow("water_table"), rain * 1e-6, 1e-7);
                    if (rows == 100 && alpha == 10 && rain <= 0.5)
                        EXPECT_NEAR(run.Probed("top").pressureHead, std::log(rain) / alpha, 2e-3);
                }
}

// Where a dry node loses water through the obtuse angles of stretched elements, Newton's method
// lowers its head without end, unless that is kept within those of the boundaries.
TEST(Newton, KeepsHeadsOfDrySlopesWithinThoseOfTheBoundaries)
{
    const double row = std::pow(0.4, 0.8);
    const auto top = [](double x) { return x < 30 ? 25.0 : x < 55 ? 25 - 0.6 * (x - 30) : 10.0; };
    const auto line = [&](std::initializer_list<double> xs, double share) {
        nlohmann::json points;
        for (const double x : xs)
            points.push_back({x, share * top(x)});
        return points;
    };
    nlohmann::json low = line({80, 55, 30, 0}, row), up = line({0, 30, 55, 80}, row);
    for (const double x : {0.0, 80.0})
        low.push_back({x, 0.0});
    for (const auto& point : line({80, 55, 30, 0}, 1))
        up.push_back(point);
    const nlohmann::json problem = {
        {"gamma_w", 9.81},
        {"mesh", {{"file", "none.msh"}}},
        {"regions",
         {{{"name", "low"}, {"material", "silt"}, {"polygon", low}},
          {{"name", "up"}, {"material", "sand"}, {"polygon", up}}}},
        {"materials",
         {{{"name", "silt"},
           {"k_sat", 1e-6},
           {"anisotropy", 0.3},
           {"water_content", {{"a", 20}, {"n", 2}, {"m", 1}, {"theta_s", 0.4}}},
           {"kr", {{"rule", "power"}, {"power", 4}}}},
          {{"name", "sand"},
           {"k_sat", 1e-5},
           {"water_content", {{"a", 5}, {"n", 4}, {"m", 1}, {"theta_s", 0.35}}},
           {"kr", {{"rule", "integral"}, {"s0", 0.1}}}}}},
        {"boundaries",
         {{{"name", "left"}, {"line", {{0, 0}, {0, 25}}}, {"type", "head"}, {"value", 8}},
          {{"name", "right"}, {"line", {{80, 0}, {80, 10}}}, {"type", "head"}, {"value", 5}},
          {{"name", "ground"},
           {"line", line({0, 30}, 1)},
           {"type", "flux"},
           {"value", 3e-8},
           {"ponding", 0}},
          {{"name", "face"}, {"line", line({30, 55, 80}, 1)}, {"type", "seepage"}}}}};
    for (const ElementType type : {ElementType::T3, ElementType::Q4})
    {
        const Grid grid{type, 80, 30, [&](double u, double v) {
                            return Point{80 * u, top(80 * u) * std::pow(v, 0.8)};
                        }};
        CaseRun run("S1-infiltration");
        Faults faults;
        run.model = {};
        run.model.problem.path = L"slope.problem.json";
        run.model.mesh = MakeMesh(grid);
        ASSERT_TRUE(ReadProblemText(problem.dump(), run.model.problem, faults)) << AllOf(faults);
        const StepResult& step = run.On(grid, SolverKind::Direct);
        EXPECT_TRUE(step.converged);
        EXPECT_LE(step.iterations, 60);
        const auto heads = std::as_const(step.nodal).Column(dataparam::Head);
        EXPECT_GT(*std::min_element(heads.begin(), heads.end()), 5 - 3);
        EXPECT_LT(*std::max_element(heads.begin(), heads.end()), 25 + 3);
    }
}

TEST(Newton, ReportsRainThatTheGroundCannotTake)
{
    CaseRun run("S1-infiltration");
    std::vector<double>& rain = run.model.problem.steps.front().conditions[1].values;
    rain = {0.9e-6};
    EXPECT_TRUE(run.On("t3.v41", SolverKind::Direct).warnings.empty());
    rain = {2e-6}; // at twice the conductivity the head rises by 1 in 1
    EXPECT_THAT(
        run.On("t3.v41", SolverKind::Direct).warnings,
        ::testing::ElementsAre(HasSubstr("on 1 m of it the pressure head is above 0, most at (")));
}

TEST(Newton, ReportsWhereItDidNotConverge)
{
    CaseRun run("S2-evaporation");
    Model& model = run.model;
    model.mesh = MakeMesh(Rectangle(ElementType::Q8, 1, 20, 0, 0, 1, 2));
    Faults faults;
    ASSERT_TRUE(Bind(model, faults));
    // The second is twice the evaporation that the soil can supply from the water table: no number
    // of iterations helps.
    for (const auto& [flux, iterations] : {std::pair{-3e-8, 4}, std::pair{-1.1e-7, 0}})
    {
        model.problem.steps.front().conditions[1].values = {flux};
        model.problem.solver.maxIterations = iterations;
        run.results = {};
        std::string reason;
        ASSERT_TRUE(Analyse(model, {}, run.results, reason));
        EXPECT_FALSE(run.results.Converged());
        EXPECT_THAT(run.Result().trouble, ::testing::AllOf(HasSubstr("node"), HasSubstr(" at (")));
    }
}

// At the ends of the weir's base the gradient grows like r^-1/2: what the integral of the flux
// misses there falls with the root of the sides' length, and a boundary that misses much is named.
TEST(Newton, FluxAlongTheBoundaryComesNearItsNodalFlow)
{
    for (const ElementType type : kElementTypes)
    {
        SCOPED_TRACE(Name(type));
        double missed[2] = {};
        for (const int fine : {1, 4})
        {
            CaseRun run("C5-weir");
            const StepResult& step =
                run.On(Rectangle(type, 24 * fine, 4 * fine, -36, -12, 36, 0), KindInTurn());
            missed[fine / 4] = 1 - step.flowInIntegrated / step.flowIn;
            EXPECT_WITHIN(step.boundaries[0].integrated, step.flowInIntegrated, 1e-9);
            ASSERT_EQ(step.warnings.size(), 2u);
            EXPECT_THAT(step.warnings[0], HasSubstr("'upstream'"));
        }
        EXPECT_NEAR(missed[0] / missed[1], 2, 0.15);
    }
}

TEST(Newton, GivesTheSameBitsOnAnyNumberOfThreads)
{
    for (const char* mesh : {"q8.v41", "t3.v41"})
    {
        std::vector<double> heads[2];
        for (const int threads : {1, 2})
        {
            CaseRun run("U2-dam-dry");
            run.model.problem.solver.threads = threads;
            const DataTable& nodal = run.On(mesh, SolverKind::Direct).nodal;
            const DataTable::ConstValues head = nodal.Column(dataparam::Head);
            heads[threads - 1].assign(head.begin(), head.end());
        }
        EXPECT_EQ(heads[0], heads[1]) << mesh;
    }
}
} // namespace
} // namespace percova::testing
