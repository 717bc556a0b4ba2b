// Several steps, and runs that were interrupted between them.
#include "CommandLine.h"
#include "Scratch.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>

using namespace percova;

namespace
{

std::string Text(const std::filesystem::path& path)
{
    std::string text, reason;
    EXPECT_TRUE(ReadWhole(path, text, reason)) << reason;
    return text;
}

/// A dam whose reservoir stands high, low and high again.
class Reservoir : public testing::Test
{
protected:
    void SetUp() override
    {
        problem_ = nlohmann::json::parse(Text(Cases() / "U1-dam.problem.json"));
        const auto level = [](const char* name, double head) {
            return nlohmann::json{
                {"name", name},
                {"boundaries", {{"headwater", {{"type", "head"}, {"value", head}}}}}};
        };
        problem_["steps"] = {level("high", 24), level("low", 14), level("high again", 24)};
        folder_ = ScratchFolder();
    }

    /// What is printed.
    std::string Run()
    {
        std::ofstream(folder_ / "dam.problem.json") << problem_.dump();
        std::ostringstream out, err;
        EXPECT_EQ(RunCommandLine({"run", TextOf(folder_ / "dam.problem.json"), "--mesh",
                                  TextOf(Cases() / "mesh" / "U1-dam.t3.v41.msh")},
                                 out, err),
                  Exit::Done)
            << err.str();
        return out.str();
    }
    nlohmann::json Steps() const
    {
        return nlohmann::json::parse(Text(folder_ / "dam" / "result.json"))["steps"];
    }
    std::filesystem::path OfStep(int step, const char* ending) const
    {
        return folder_ / "dam" / "seepage" / std::to_string(step) / (std::string("dam") + ending);
    }
    /// As if the run had been killed after step 1: the mark names it, the file after it is partial.
    void Interrupt() const
    {
        nlohmann::json mark = nlohmann::json::parse(Text(folder_ / "dam" / "dam.mark"));
        EXPECT_EQ(mark["mark"], 0x7FFFFFFF);
        mark["mark"] = 1;
        std::ofstream(folder_ / "dam" / "dam.mark") << mark.dump();
        std::ofstream(OfStep(1, ".vtu")) << "whole";
        std::ofstream(OfStep(2, ".vtu")) << "half";
    }

    nlohmann::json problem_;
    std::filesystem::path folder_;
};

TEST_F(Reservoir, GivesEveryStepItsResults)
{
    const std::string out = Run();
    const nlohmann::json steps = Steps();
    ASSERT_EQ(steps.size(), 3u);
    EXPECT_EQ(steps[1]["name"], "low");
    EXPECT_EQ(steps[1]["step"], 2);
    const double high = steps[0]["flow_in"], low = steps[1]["flow_in"];
    EXPECT_NEAR(high, 1e-6 * (24 * 24 - 16) / 32, 0.015 * high); // Charny
    EXPECT_NEAR(low, 1e-6 * (14 * 14 - 16) / 32, 0.03 * low);
    EXPECT_NEAR(steps[2]["flow_in"], high, 1e-8 * high);
    for (const nlohmann::json& step : steps)
        EXPECT_TRUE(step["converged"]);
    for (int step = 1; step <= 3; ++step)
        for (const char* ending : {".vtu", ".svg", ".json"})
            EXPECT_TRUE(std::filesystem::exists(OfStep(step, ending))) << step << ending;
    const std::string steps3 = "timestep=\"3\" part=\"0\" file=\"seepage/3/dam.vtu\"";
    EXPECT_NE(Text(folder_ / "dam" / "dam.pvd").find(steps3), std::string::npos);
    EXPECT_NE(Text(OfStep(2, ".svg")).find("head 14 m"), std::string::npos);
    EXPECT_NE(out.find("1 step to go"), std::string::npos) << out;
}

TEST_F(Reservoir, GoesOnBehindTheLastWholeStep)
{
    Run();
    const nlohmann::json before = Steps();
    Interrupt();
    EXPECT_NE(Run().find("continues after step 1"), std::string::npos);
    EXPECT_EQ(Text(OfStep(1, ".vtu")), "whole"); // not computed again
    EXPECT_NE(Text(OfStep(2, ".vtu")), "half");
    const nlohmann::json after = Steps();
    ASSERT_EQ(after.size(), 3u);
    for (std::size_t i : {0u, 1u, 2u})
    {
        const double flow = before[i]["flow_in"];
        EXPECT_EQ(after[i]["step"], i + 1);
        EXPECT_NEAR(after[i]["flow_in"], flow, 1e-9 * flow);
    }

    Interrupt();
    problem_["materials"][0]["k_sat"] = 2e-6; // another problem: nothing of it is done
    EXPECT_EQ(Run().find("continues after"), std::string::npos);
    EXPECT_NE(Text(OfStep(1, ".vtu")), "whole");

    Interrupt();
    std::ofstream(OfStep(1, ".json")) << "{\"converged\": tr"; // only a disk fault could cause this
    EXPECT_EQ(Run().find("continues after"), std::string::npos);
    EXPECT_EQ(Steps().size(), 3u);
    for (const char* mark : {"[3]", "{\"of\": 1, \"mark\": {}}"})
    {
        std::ofstream(folder_ / "dam" / "dam.mark") << mark;
        EXPECT_EQ(Run().find("continues after"), std::string::npos) << mark;
    }
}

} // namespace
