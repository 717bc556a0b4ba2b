// The stream function of uniform flow in any direction, and where there is none.
#include "Block.h"

#include <gmock/gmock.h>

#include <cmath>

namespace percova::testing
{
namespace
{

// With heads 6 - x / 2 + y / 4 on all sides the flow is uniform, across the gradient too.
TEST(FlowNet, FollowsUniformFlow)
{
    nlohmann::json problem = Block();
    problem["flow_net"] = true;
    problem["materials"][0].update(nlohmann::json{{"anisotropy", 0.2}, {"angle", 30}});
    problem["boundaries"] = nlohmann::json::parse(R"([
        {"name": "left", "line": [[0, 0], [0, 5]], "type": "head", "value": [6, 7.25]},
        {"name": "right", "line": [[6, 0], [6, 5]], "type": "head", "value": [3, 4.25]},
        {"name": "low", "line": [[0, 0], [6, 0]], "type": "head", "value": [6, 3]},
        {"name": "high", "line": [[0, 5], [6, 5]], "type": "head", "value": [7.25, 4.25]}])");
    const double c = std::sqrt(0.75), s = 0.5, along = 1e-5 * (-0.5 * c + 0.25 * s),
                 across = 0.2e-5 * (0.5 * s + 0.25 * c);
    const double qx = -(along * c - across * s), qy = -(along * s + across * c);
    for (const ElementType type : kTypes)
    {
        SCOPED_TRACE(percova::Name(type));
        CaseRun run("S7-block");
        const StepResult& step = SolveBlock(run, problem, type);
        const Mesh& mesh = run.model.mesh;
        ASSERT_EQ(step.stream.size(), mesh.Nodes());
        const double least = std::min({0.0, 5 * qx, -6 * qy, 5 * qx - 6 * qy});
        for (std::size_t n = 0; n < mesh.Nodes(); ++n)
            EXPECT_NEAR(step.stream[n], mesh.y[n] * qx - mesh.x[n] * qy - least, 1e-13)
                << mesh.x[n] << ' ' << mesh.y[n];
    }
}

// Heads that differ by rounding: what that moves does not balance when it is judged by itself.
TEST(FlowNet, IsFlatInWaterAtRest)
{
    for (const double level : {5.3, 1234.567})
        for (const ElementType type : kTypes)
        {
            SCOPED_TRACE(percova::Name(type));
            nlohmann::json problem = Block();
            problem["flow_net"] = true;
            problem["boundaries"][0]["value"] = level;
            problem["boundaries"][1]["type"] = "pressure_head";
            problem["boundaries"][1]["value"] = {level, level - 5};
            CaseRun run("S7-block");
            EXPECT_EQ(FaultsOf(problem, type, run.model), "");
            const StepResult& step =
                run.On(Rectangle(type, 39, 33, 0, 0, 6, 5), SolverKind::Direct);
            EXPECT_THAT(step.warnings, ::testing::IsEmpty());
            ASSERT_EQ(step.stream.size(), run.model.mesh.Nodes());
            for (const double value : step.stream)
                EXPECT_LT(std::abs(value), 1e-12 * 1e-5 * level);
        }
}

TEST(FlowNet, SaysWhereThereIsNone)
{
    nlohmann::json problem = Block();
    problem["flow_net"] = true;
    problem["sources"][0] = {{"name", "well"}, {"at", {3, 2.5}}, {"rate", -1e-6}};
    CaseRun run("S7-block");
    const StepResult& step = SolveBlock(run, problem, ElementType::T6);
    EXPECT_TRUE(step.stream.empty());
    ASSERT_EQ(step.warnings.size(), 1u);
    EXPECT_EQ(step.warnings[0],
              "there is no flow net: sources bring or draw water inside the mesh");
}

} // namespace
} // namespace percova::testing
