// Cases S1 to S7: unsaturated columns, the box, and the block between hydrostatic sides.
#include "CaseRun.h"
#include "analysis/Conductivity.h"

#include <cmath>

namespace percova::testing
{
namespace
{
constexpr ElementType kTypes[] = {ElementType::T3, ElementType::Q4, ElementType::T6,
                                  ElementType::Q8};

struct Column
{
    const char* name;
    double height;
    double quadratic, linear; ///< allowed error of the pressure head on 200 Q8, on 400 Q4 [m]
};
constexpr Column kColumns[] = {
    {"S1-infiltration", 5, 1e-6, 5e-5},     {"S2-evaporation", 2, 1e-6, 5e-5},
    {"S3-two-soils", 4, 1e-6, 5e-5},        {"S5-curve-power", 4, 1e-6, 1e-4},
    {"S6-curve-integral", 1.5, 1e-5, 2e-4},
};

void ExpectProfile(const CaseRun& run, double allowed)
{
    for (const auto& value : run.reference["values"])
        if (value.contains("z"))
        {
            const std::string name = value["name"];
            SCOPED_TRACE(name);
            const double expected = value["value"];
            if (name.starts_with("psi"))
            {
                EXPECT_NEAR(run.Probed(name).pressureHead, expected, allowed);
            }
            else // the curve falls by less than 0.2 a metre here
            {
                EXPECT_NEAR(run.Probed(name).waterContent, expected, 0.2 * allowed);
            }
        }
    const double top = run.Value("flow_in_top");
    EXPECT_WITHIN(run.Flow("top"), top, 1e-12);
    EXPECT_WITHIN(run.Flow("water_table"), -top, 1e-6);
    const StepResult& step = run.results.steps.front();
    if (run.reference["values"].back()["name"] == "stored_water_per_width")
    {
        EXPECT_NEAR(step.storedWater, run.Value("stored_water_per_width"), 0.2 * 4 * allowed);
    }
}

TEST(UnsaturatedColumns, FollowTheirProfilesOnTheStatedMeshes)
{
    for (const Column& column : kColumns)
        for (const ElementType type : kTypes)
        {
            SCOPED_TRACE(std::string(column.name) + " " + percova::Name(type));
            CaseRun run(column.name);
            run.AddProbesOfReferences();
            run.On(Rectangle(type, 1, IsQuadratic(type) ? 200 : 400, 0, 0, 1, column.height),
                   KindInTurn());
            // required of quadrilaterals; triangles 100 times as wide as high are less accurate
            ExpectProfile(run, (IsQuadratic(type) ? column.quadratic : column.linear) *
                                   (Corners(type) == 3 ? 2.5 : 1));
        }
}

TEST(UnsaturatedColumns, KeepTheirOrderOnTheSuppliedMeshes)
{
    for (const Column& column : kColumns)
        for (const char* mesh : {"q4.v22", "q8.v41", "t3.v41", "t6.v22"})
        {
            SCOPED_TRACE(std::string(column.name) + " " + mesh);
            CaseRun run(column.name);
            run.AddProbesOfReferences();
            run.On(mesh, KindInTurn());
            // Sides are 1.5 to 13 times as long as in the stated columns of one element's width.
            const bool quadratic = mesh[1] == '8' || mesh[1] == '6';
            const double longer = std::sqrt(column.height / double(run.model.mesh.Elements()) *
                                            (mesh[0] == 't' ? 2 : 1)) /
                                  (column.height / (quadratic ? 200 : 400));
            ExpectProfile(run, quadratic ? column.quadratic * std::pow(longer, 3) * 1.5
                                         : column.linear * std::pow(longer, 2) * 1.5);
        }
}

TEST(UnsaturatedBox, HasTheExactPressuresAndFlows)
{
    for (const ElementType type : kTypes)
    {
        if (type == ElementType::T3 || (!IsThorough() && type != ElementType::Q8))
            continue;
        SCOPED_TRACE(Name(type));
        const bool quadratic = IsQuadratic(type);
        CaseRun run("S4-box");
        run.AddProbesOfReferences();
        const int fine = quadratic ? 1 : 2;
        const StepResult& step =
            run.On(Rectangle(type, 80 * fine, 60 * fine, 0, 0, 4, 3), KindInTurn());
        for (const auto& value : run.reference["values"])
            if (value.contains("at"))
            {
                EXPECT_NEAR(run.Probed(value["name"]).pressureHead, double(value["value"]),
                            quadratic ? 5e-6 : 1e-4)
                    << value["name"];
            }
        EXPECT_WITHIN(-run.Flow("bottom"), run.Value("flow_out_bottom"), quadratic ? 1e-4 : 1e-3);
        EXPECT_WITHIN(run.Flow("top"), run.Value("flow_in_top"), 0.02);
        for (const char* side : {"left", "right"})
            EXPECT_WITHIN(-run.Flow(side), run.Value("flow_out_each_side"), 0.02);
        EXPECT_LE(std::abs(step.massBalance), 1e-6);
    }
}

// The identity also holds for the discrete solution, so it detects any quadrature error.
TEST(BlockBetweenHydrostaticSides, CarriesTheFlowOfItsIdentity)
{
    const auto expect = [](CaseRun& run, const StepResult& step) {
        EXPECT_WITHIN(run.Flow("left"), run.Value("flow"), 1e-5);
        EXPECT_WITHIN(run.Flow("right"), -run.Value("flow"), 1e-5);
        EXPECT_LE(std::abs(step.massBalance), 1e-7);
    };
    for (const ElementType type : kTypes)
    {
        if (!IsThorough() || Corners(type) == 3)
            continue;
        SCOPED_TRACE(Name(type));
        const int fine = IsQuadratic(type) ? 1 : 2;
        CaseRun run("S7-block");
        expect(run, run.On(Rectangle(type, 80 * fine, 60 * fine, 0, 0, 6, 5), KindInTurn()));
    }
    for (const char* mesh : {"q4.v22", "q8.v41", "t3.v41", "t6.v22", "q4fine.v22", "q8fine.v41"})
    {
        SCOPED_TRACE(mesh);
        CaseRun run("S7-block");
        expect(run, run.On(mesh, KindInTurn()));
    }
}

TEST(Conductivity, OfTheIntegralRuleMatchesItsTable)
{
    const CaseRun run("S6-curve-integral");
    const Material& soil = run.model.problem.materials.front();
    WaterCurve curve;
    Conductivity kr;
    std::string reason;
    ASSERT_TRUE(curve.Set(*soil.water, 9.81, reason)) << reason;
    ASSERT_TRUE(kr.Set(soil.kr, curve, run.model.problem.gammaW, reason)) << reason;
    for (const auto& row : run.reference["kr_table"])
    {
        const double suction = row["suction"], expected = std::stod(std::string(row["kr"]));
        EXPECT_WITHIN(kr.At(-suction / run.model.problem.gammaW), expected, 4e-12) << suction;
    }
}

TEST(Conductivity, HasTheSlopeOfItsValues)
{
    WaterContent water;
    water.a = 5;
    water.n = 3;
    water.m = 0.8;
    water.thetaS = 0.4;
    WaterCurve curve;
    std::string reason;
    ASSERT_TRUE(curve.Set(water, 9.81, reason)) << reason;
    const RelativeConductivity rules[] = {{KrRule::Exponential, 4, 1e-4, 0, 0, {}},
                                          {KrRule::Power, 0, 0, 6, 0, {}},
                                          {KrRule::Integral, 0, 0, 0, 0.05, {}}};
    for (const RelativeConductivity& rule : rules)
    {
        Conductivity kr;
        ASSERT_TRUE(kr.Set(rule, curve, 9.81, reason)) << reason;
        for (double psi = -0.01; psi > -2; psi *= 1.7)
        {
            const double h = 1e-5 * psi;
            double value = 0, slope = 0;
            kr.Evaluate(&psi, 1, &value, &slope);
            const double difference = (kr.At(psi + h) - kr.At(psi - h)) / (2 * h);
            EXPECT_NEAR(slope, difference, 1e-6 * std::abs(difference) + 1e-8) << psi;
        }
    }
}
} // namespace
} // namespace percova::testing
