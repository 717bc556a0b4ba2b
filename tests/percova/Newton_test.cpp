// Problems harder than the cases: the iteration must converge, or report where it did not.
#include "CaseRun.h"
#include "analysis/Analysis.h"

#include <cmath>
#include <utility>

namespace percova::testing
{
namespace
{
constexpr ElementType kTypes[] = {ElementType::T3, ElementType::Q4, ElementType::T6,
                                  ElementType::Q8};

Condition Flux(double value)
{
    Condition condition;
    condition.type = BoundaryType::Flux;
    condition.values = {value};
    return condition;
}

TEST(Newton, ComesThroughSteepCurvesOnCoarseDams)
{
    for (const ElementType type : kTypes)
        for (const auto& [alpha, floor] :
             {std::pair{300.0, 1e-3}, std::pair{100.0, 0.0}, std::pair{1000.0, 1e-3}})
        {
            SCOPED_TRACE(std::string(Name(type)) + " alpha " + std::to_string(alpha));
            CaseRun run("U2-dam-dry");
            RelativeConductivity& kr = run.model.problem.materials.front().kr;
            kr.alpha = alpha;
            kr.floor = floor;
            const int n = IsQuadratic(type) ? 18 : 36;
            const StepResult& step = run.On(Rectangle(type, n, n, 0, 0, 1, 1), KindInTurn());
            EXPECT_LE(step.residual, 1e-10);
            EXPECT_LE(step.iterations, 200);
            EXPECT_NEAR(step.flowIn / run.Value("flow"), 1 + 1.2 / alpha, 0.002);
        }
}

// The mesh resolves none of these curves: an element is 50 to 500 times as high as what they need
// to fall e times. The flow is exact for a sharp free surface (Charny), and the fringe is thin.
TEST(Newton, FindsTheFlowOfDamsThatTheMeshIsMuchTooCoarseFor)
{
    for (const ElementType type : kTypes)
        for (const double alpha : {50.0, 200.0, 500.0})
        {
            SCOPED_TRACE(std::string(Name(type)) + " alpha " + std::to_string(alpha));
            CaseRun run("U1-dam");
            Problem& problem = run.model.problem;
            problem.materials.front().kr.alpha = alpha;
            problem.materials.front().kr.floor = 0;
            problem.boundaries[0].line = {{0, 0}, {0, 8}};
            problem.boundaries[1].line = {{10, 0}, {10, 3}};
            problem.boundaries[2].line = {{10, 3}, {10, 9}};
            problem.steps.front().conditions[0].values = {8};
            problem.steps.front().conditions[1].values = {3};
            const StepResult& step = run.On(Rectangle(type, 9, 9, 0, 0, 10, 9), SolverKind::Direct);
            const double exact = problem.materials.front().kSat * (8 * 8 - 3 * 3) / (2 * 10);
            EXPECT_WITHIN(step.flowIn, exact, 0.008);
            EXPECT_LE(std::abs(step.massBalance), 1e-7);
        }
}

// With q = K(psi) and unit gradient: psi far from the water table is ln(q / k) / alpha.
TEST(Newton, LetsRainIntoDryColumns)
{
    for (const ElementType type : kTypes)
        for (const double alpha : {1.5, 10.0, 100.0})
            for (const double rain : {1.0, 0.999, 0.5, 0.01, 1e-6})
                for (const int rows : {100, 10})
                {
                    SCOPED_TRACE(std::string(Name(type)) + " alpha " + std::to_string(alpha) +
                                 " rain " + std::to_string(rain) + " rows " + std::to_string(rows));
                    CaseRun run("S1-infiltration");
                    run.model.problem.materials.front().kr.alpha = alpha;
                    run.model.problem.steps.front().conditions[1].values = {rain * 1e-6};
                    run.AddProbe("top", 0.5, 5);
                    const StepResult& step =
                        run.On(Rectangle(type, 1, rows, 0, 0, 1, 5), SolverKind::Direct);
                    EXPECT_LE(step.iterations, 60);
                    EXPECT_WITHIN(-run.Flow("water_table"), rain * 1e-6, 1e-7);
                    if (rows == 100 && alpha == 10 && rain <= 0.5)
                    {
                        EXPECT_NEAR(run.Probed("top").pressureHead, std::log(rain) / alpha, 2e-3);
                    }
                }
}

TEST(Newton, ReportsRainThatTheGroundCannotTake)
{
    for (const double rain : {0.9, 2.0})
    {
        CaseRun run("S1-infiltration");
        run.model.problem.steps.front().conditions[1].values = {rain * 1e-6};
        const StepResult& step = run.On("t3.v41", SolverKind::Direct);
        ASSERT_EQ(step.warnings.size(), rain > 1 ? 1u : 0u);
        if (rain > 1) // at twice the conductivity the head rises by 1 in 1
            EXPECT_NE(step.warnings[0].find("on 1 m of it the pressure head is above 0, most at ("),
                      std::string::npos)
                << step.warnings[0];
    }
}

TEST(Newton, KeepsStillWaterStill)
{
    CaseRun run("U1-dam");
    for (Condition& condition : run.model.problem.steps.front().conditions)
        condition.values = {4};
    run.AddProbe("above", 8, 20);
    const StepResult& step =
        run.On(Rectangle(ElementType::Q8, 8, 12, 0, 0, 16, 24), SolverKind::Pardiso);
    EXPECT_LE(step.flowIn, 1e-16);
    EXPECT_NEAR(run.Probed("above").head, 4, 1e-9);
    EXPECT_NEAR(run.SurfaceAt(8), 4, 1e-9);
    EXPECT_EQ(step.seepageFaces.front().exit.y, kMissing);
}

// Rain on the crest of a dam goes out through its seepage faces, whichever way they switch.
TEST(Newton, DrainsRainThroughSeepageFacesAlone)
{
    for (const ElementType type : kTypes)
    {
        SCOPED_TRACE(Name(type));
        CaseRun run("U4-earthdam");
        Problem& problem = run.model.problem;
        problem.boundaries[0] = {"crest", {{25, 10}, {29, 10}}, {}};
        problem.steps.front().conditions[0] = Flux(2e-7);
        const Grid dam{type, 40, 12, [](double u, double v) {
                           return Point{25 * v + u * (49 - 45 * v), 10 * v};
                       }};
        const StepResult& step = run.On(dam, KindInTurn());
        EXPECT_WITHIN(step.flowIn, 8e-7, 1e-9);
        EXPECT_LE(std::abs(step.massBalance), 1e-9);
        for (const SeepageFace& face : step.seepageFaces)
            EXPECT_LE(face.flow, 1e-15) << face.name;
    }
}

TEST(Newton, TellsWhereItDidNotConverge)
{
    CaseRun run("S2-evaporation");
    Model& model = run.model;
    model.mesh = MakeMesh(Rectangle(ElementType::Q8, 1, 20, 0, 0, 1, 2));
    Faults faults;
    ASSERT_TRUE(Bind(model, faults));
    model.problem.solver.maxIterations = 4;
    std::string reason;
    ASSERT_TRUE(Analyse(model, {}, run.results, reason));
    EXPECT_FALSE(run.results.Converged());
    EXPECT_NE(run.results.steps.front().trouble.find("node"), std::string::npos);
    EXPECT_NE(run.results.steps.front().trouble.find(" at ("), std::string::npos);

    // Twice the evaporation that the soil can supply from the water table: no number of iterations
    // helps.
    model.problem.solver.maxIterations = 0;
    model.problem.steps.front().conditions[1].values = {-1.1e-7};
    run.results = {};
    ASSERT_TRUE(Analyse(model, {}, run.results, reason));
    EXPECT_FALSE(run.results.Converged());
    EXPECT_FALSE(run.results.steps.front().trouble.empty());
}

// The gradient is (0.3, 0.2) everywhere; the conductivity is 1 at 30 degrees and 0.1 across that.
TEST(Newton, TurnsTheAxesOfConductivity)
{
    for (const ElementType type : kTypes)
    {
        SCOPED_TRACE(Name(type));
        CaseRun run("S7-block");
        Problem& problem = run.model.problem;
        problem.materials[0].kr.rule = KrRule::Saturated;
        problem.materials[0].kSat = 1;
        problem.materials[0].anisotropy = 0.1;
        problem.materials[0].angle = 30;
        const Polyline ring{{0, 0}, {6, 0}, {6, 5}, {0, 5}, {0, 0}};
        problem.boundaries.clear();
        problem.steps[0].conditions.clear();
        for (std::size_t i = 0; i < 4; ++i)
        {
            Condition condition;
            condition.type = BoundaryType::Head;
            for (const Point at : {ring[i], ring[i + 1]})
                condition.values.push_back(10 + 0.3 * at.x + 0.2 * at.y);
            problem.boundaries.push_back({std::to_string(i), {ring[i], ring[i + 1]}, {}});
            problem.steps[0].conditions.push_back(condition);
        }
        run.AddProbe("p", 2.3, 2.2);
        run.On(Rectangle(type, 6, 5, 0, 0, 6, 5), KindInTurn());
        const double c = std::sqrt(0.75), s = 0.5;
        const double along = 0.3 * c + 0.2 * s, across = 0.1 * (0.2 * c - 0.3 * s);
        const Point flux = run.Probed("p").flux;
        EXPECT_NEAR(flux.x, -(c * along - s * across), 1e-9);
        EXPECT_NEAR(flux.y, -(s * along + c * across), 1e-9);
    }
}

TEST(Newton, GivesTheSameBitsOnAnyNumberOfThreads)
{
    std::vector<double> heads[2];
    for (const int threads : {1, 2})
    {
        CaseRun run("U2-dam-dry");
        run.model.problem.solver.threads = threads;
        const DataTable& nodal = run.On("q8.v41", SolverKind::Direct).nodal;
        const DataTable::ConstValues head = nodal.Column(dataparam::Head);
        heads[threads - 1].assign(head.begin(), head.end());
    }
    EXPECT_EQ(heads[0], heads[1]);
}
} // namespace
} // namespace percova::testing
