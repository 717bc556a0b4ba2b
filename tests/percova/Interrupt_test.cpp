// Runs of several steps that are killed at any moment.
#include "../RunChild.h"
#include "CommandLine.h"
#include "Scratch.h"
#include "support/Numbers.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <random>
#include <sstream>
#include <thread>

using namespace percova;

namespace
{
constexpr int kSteps = 4;

std::filesystem::path Folder() { return std::filesystem::path(KVI_TEST_TEMP) / "interrupted"; }
std::filesystem::path Out(const char* name) { return Folder() / name; }

std::string Text(const std::filesystem::path& path)
{
    std::string text, ignored;
    (void)ReadWhole(path, text, ignored);
    return text;
}

/// A dam whose reservoir goes up and down.
void WriteProblem()
{
    nlohmann::json problem = nlohmann::json::parse(Text(Cases() / "U1-dam.problem.json"));
    for (int step = 1; step <= kSteps; ++step)
        problem["steps"].push_back(
            {{"name", "level " + std::to_string(step)},
             {"boundaries", {{"headwater", {{"type", "head"}, {"value", 24 - 3 * (step % 3)}}}}}});
    std::filesystem::remove_all(Folder());
    std::filesystem::create_directories(Folder());
    std::ofstream(Folder() / "dam.problem.json") << problem.dump();
}

void RunInto(const std::filesystem::path& folder)
{
    std::ostringstream out, err;
    EXPECT_EQ(RunCommandLine({"run", TextOf(Folder() / "dam.problem.json"), "--mesh",
                              TextOf(Cases() / "mesh" / "U1-dam.t3.v41.msh"), "--solver", "direct",
                              "--threads", "1", "--out", TextOf(folder)},
                             out, err),
              Exit::Done)
        << err.str();
}

// Exits abruptly after a number of milliseconds given by the parent.
TEST(InterruptChild, DISABLED_DiesWhileRunning)
{
    const std::jthread end([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(child::Number()));
        std::_Exit(9);
    });
    for (;;)
        RunInto(Out("killed"));
}

/// The step that the mark names, none when it is missing or names no step.
int MarkedStep()
{
    const std::string text = Text(Out("killed") / "dam.mark");
    if (text.empty())
        return 0;
    const auto mark = nlohmann::json::parse(text, nullptr, false);
    EXPECT_TRUE(mark.is_object()) << text; // it is complete itself
    const int step = mark.value("mark", -1);
    return step == 0x7FFFFFFF ? kSteps : std::max(step, 0);
}

void ExpectWhole(int step)
{
    const std::filesystem::path folder = Out("killed") / "seepage" / std::to_string(step);
    SCOPED_TRACE(step);
    EXPECT_TRUE(Text(folder / "dam.vtu").ends_with("</VTKFile>\n"));
    EXPECT_TRUE(Text(folder / "dam.svg").ends_with("</svg>\n"));
    EXPECT_TRUE(nlohmann::json::parse(Text(folder / "dam.json"), nullptr, false).is_object());
    for (const char* name : {"dam.vtu", "dam.svg", "dam.json", "dam.heads"})
        EXPECT_EQ(Text(folder / name), Text(Out("whole") / "seepage" / std::to_string(step) / name))
            << name;
}

TEST(Interrupt, LeavesWholeStepsThatTheNextRunGoesOnFrom)
{
    WriteProblem();
    const auto start = std::chrono::steady_clock::now();
    RunInto(Out("whole"));
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start);
    std::mt19937 random(11);
    const int rounds = support::Rounds("KVI_TEST_KILLS", 6);
    int between = 0;
    for (int round = 0; round < rounds || (between == 0 && round < 4 * rounds); ++round)
    {
        SCOPED_TRACE(round);
        const int wait = int(random() % unsigned(took.count() + 2));
        EXPECT_FALSE(child::Run("InterruptChild", "DiesWhileRunning", wait + 1));
        const int marked = MarkedStep();
        between += marked > 0 && marked < kSteps;
        for (int step = 1; step <= marked; ++step)
            ExpectWhole(step);
        if (round % 2 == 0)
            continue; // the next child goes on
        RunInto(Out("killed"));
        EXPECT_EQ(MarkedStep(), kSteps);
        for (int step = 1; step <= kSteps; ++step)
            ExpectWhole(step);
        EXPECT_EQ(nlohmann::json::parse(Text(Out("killed") / "result.json"))["steps"],
                  nlohmann::json::parse(Text(Out("whole") / "result.json"))["steps"]);
    }
    EXPECT_GT(between, 0); // killed between two steps
}

} // namespace
