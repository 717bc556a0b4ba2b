// Several steps, and runs that were interrupted between them or at any moment.
#include "../RunChild.h"
#include "Commands.h"
#include "support/Numbers.h"

#include <gmock/gmock.h>

#include <chrono>
#include <random>
#include <thread>

using namespace percova;
using ::testing::HasSubstr;
using ::testing::Not;

namespace
{

using support::ReadAll;
namespace fs = std::filesystem;

/// A dam whose reservoir stands at the levels one after the other.
void WriteDam(const fs::path& folder, const std::vector<double>& levels, double kSat = 1e-6)
{
    nlohmann::json problem = JsonOf(Cases() / "U1-dam.problem.json");
    problem["materials"][0]["k_sat"] = kSat;
    for (const double level : levels)
        problem["steps"].push_back(
            {{"name", "level " + std::to_string(problem["steps"].size() + 1)},
             {"boundaries", {{"headwater", {{"type", "head"}, {"value", level}}}}}});
    fs::create_directories(folder);
    std::ofstream(folder / "dam.problem.json") << problem.dump();
}

/// What is printed.
std::string RunDam(const fs::path& folder, const std::vector<std::string>& more = {})
{
    const CommandRun run = RunCommand(
        {"run", TextOf(folder / "dam.problem.json"), "--mesh", MeshFile("U1-dam.t3.v41")}, more);
    EXPECT_EQ(run.exit, Exit::Done) << run.err;
    return run.out;
}

fs::path FileOf(const fs::path& results, int step, const std::string& ending)
{
    return results / "seepage" / std::to_string(step) / ("dam" + ending);
}

nlohmann::json StepsOf(const fs::path& results) { return JsonOf(results / "result.json")["steps"]; }

TEST(Steps, HaveTheirOwnResults)
{
    const fs::path folder = ScratchFolder(), results = folder / "dam";
    WriteDam(folder, {24, 14, 24});
    EXPECT_THAT(RunDam(folder), HasSubstr("1 step to go"));
    const nlohmann::json steps = StepsOf(results);
    ASSERT_EQ(steps.size(), 3u);
    EXPECT_EQ(steps[1]["name"], "level 2");
    EXPECT_EQ(steps[1]["step"], 2);
    const double high = steps[0]["flow_in"], low = steps[1]["flow_in"];
    EXPECT_NEAR(high, 1e-6 * (24 * 24 - 16) / 32, 0.015 * high); // Charny
    EXPECT_NEAR(low, 1e-6 * (14 * 14 - 16) / 32, 0.03 * low);
    EXPECT_NEAR(steps[2]["flow_in"], high, 1e-8 * high);
    for (int step = 1; step <= 3; ++step)
    {
        EXPECT_TRUE(steps[step - 1]["converged"]);
        for (const char* ending : {".vtu", ".svg", ".json"})
            EXPECT_TRUE(fs::exists(FileOf(results, step, ending))) << step << ending;
    }
    EXPECT_THAT(ReadAll(results / "dam.pvd"),
                HasSubstr("timestep=\"3\" part=\"0\" file=\"seepage/3/dam.vtu\""));
    EXPECT_THAT(ReadAll(FileOf(results, 2, ".svg")), HasSubstr("head 14 m"));
}

TEST(Steps, GoOnAfterTheLastWholeOne)
{
    const fs::path folder = ScratchFolder(), results = folder / "dam", mark = results / "dam.mark";
    // As if the run had been killed after step 1: the mark names it, the file after it is partial.
    const auto interrupt = [&] {
        nlohmann::json last = JsonOf(mark);
        EXPECT_EQ(last["mark"], 0x7FFFFFFF);
        last["mark"] = 1;
        std::ofstream(mark) << last.dump();
        std::ofstream(FileOf(results, 1, ".vtu")) << "whole";
        std::ofstream(FileOf(results, 2, ".vtu")) << "half";
    };
    WriteDam(folder, {24, 14, 24});
    RunDam(folder);
    const nlohmann::json before = StepsOf(results);
    interrupt();
    EXPECT_THAT(RunDam(folder), HasSubstr("continues after step 1"));
    EXPECT_EQ(ReadAll(FileOf(results, 1, ".vtu")), "whole"); // not computed again
    EXPECT_NE(ReadAll(FileOf(results, 2, ".vtu")), "half");
    const nlohmann::json after = StepsOf(results);
    ASSERT_EQ(after.size(), 3u);
    for (std::size_t i : {0u, 1u, 2u})
    {
        const double flow = before[i]["flow_in"];
        EXPECT_EQ(after[i]["step"], i + 1);
        EXPECT_NEAR(after[i]["flow_in"], flow, 1e-9 * flow);
    }

    interrupt();
    WriteDam(folder, {24, 14, 24}, 2e-6); // another problem: nothing of it is done
    EXPECT_THAT(RunDam(folder), Not(HasSubstr("continues after")));
    EXPECT_NE(ReadAll(FileOf(results, 1, ".vtu")), "whole");

    interrupt();
    std::ofstream(FileOf(results, 1, ".json")) << "{\"converged\": tr"; // only by a disk fault
    EXPECT_THAT(RunDam(folder), Not(HasSubstr("continues after")));
    EXPECT_EQ(StepsOf(results).size(), 3u);
    for (const char* wrong : {"[3]", "{\"of\": 1, \"mark\": {}}"})
    {
        std::ofstream(mark) << wrong;
        EXPECT_THAT(RunDam(folder), Not(HasSubstr("continues after"))) << wrong;
    }
}

const std::vector<double> kLevels = {21, 18, 24, 21};

fs::path Interrupted() { return fs::path(KVI_TEST_TEMP) / "interrupted"; }

fs::path RunInto(const char* name)
{
    RunDam(Interrupted(),
           {"--solver", "direct", "--threads", "1", "--out", TextOf(Interrupted() / name)});
    return Interrupted() / name;
}

// Exits abruptly after a number of milliseconds given by the parent.
TEST(InterruptChild, DISABLED_DiesWhileRunning)
{
    const std::jthread end([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(child::Number()));
        child::Die();
    });
    for (;;)
        RunInto("killed");
}

/// The step that the mark names, none when it is missing or names no step; all up to it are whole.
int WholeSteps()
{
    const fs::path killed = Interrupted() / "killed", whole = Interrupted() / "whole";
    if (ReadAll(killed / "dam.mark").empty())
        return 0;
    const nlohmann::json mark = JsonOf(killed / "dam.mark");
    EXPECT_TRUE(mark.is_object()) << mark; // it is complete itself
    const int step = std::min(mark.value("mark", -1), int(kLevels.size()));
    for (int i = 1; i <= step; ++i)
        for (const char* ending : {".vtu", ".svg", ".json", ".heads"})
            EXPECT_EQ(ReadAll(FileOf(killed, i, ending)), ReadAll(FileOf(whole, i, ending)))
                << i << ending;
    return std::max(step, 0);
}

TEST(Interrupt, LeavesWholeStepsThatTheNextRunGoesOnFrom)
{
    fs::remove_all(Interrupted());
    WriteDam(Interrupted(), kLevels);
    const auto start = std::chrono::steady_clock::now();
    const fs::path whole = RunInto("whole");
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start);
    for (const auto& [ending, last] :
         {std::pair{".vtu", "</VTKFile>\n"}, std::pair{".svg", "</svg>\n"}})
        EXPECT_TRUE(ReadAll(FileOf(whole, 4, ending)).ends_with(last));
    EXPECT_TRUE(JsonOf(FileOf(whole, 4, ".json")).is_object());
    std::mt19937 random(11);
    const int rounds = support::Rounds("KVI_TEST_KILLS", 6), steps = int(kLevels.size());
    int between = 0;
    for (int round = 0; round < rounds || (between == 0 && round < 4 * rounds); ++round)
    {
        SCOPED_TRACE(round);
        const int wait = int(random() % unsigned(took.count() + 2));
        EXPECT_FALSE(child::Run("InterruptChild", "DiesWhileRunning", wait + 1));
        const int marked = WholeSteps();
        between += marked > 0 && marked < steps;
        if (round % 2 == 0)
            continue; // the next child goes on
        const fs::path killed = RunInto("killed");
        EXPECT_EQ(WholeSteps(), steps);
        EXPECT_EQ(StepsOf(killed), StepsOf(whole));
    }
    EXPECT_GT(between, 0); // killed between two steps
}

} // namespace
