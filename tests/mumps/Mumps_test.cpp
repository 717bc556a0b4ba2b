// The solver over several processes beside the library's own: each case is a job of mpirun with the
// child as the engine.
#include "RunChild.h"
#include "foundation/str.h"
#include "numerics/FilledSystem.h"
#include "numerics/math_SparseSolver.h"
#include "numerics/solve/Pardiso.h"
#include "support/ForkedChild.h"
#include "support/ReadFile.h"
#include "support/RecordingSink.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <fstream>
#include <iostream>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

using namespace filled_system;
using math::SolveOutcome;
using math::SolveRecord;

namespace
{

const std::string kEnvironment =
    "OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1 OPENBLAS_NUM_THREADS=1 "
    "KVI_SOLVER=mumps KVI_MUMPS=" KVI_TEST_MUMPS " timeout 900 ";
const std::string kMpirun = kEnvironment + KVI_TEST_MPIRUN " --oversubscribe -n 1 ";

/// The tail of a command of mpirun that starts @p count nodes.
std::string Nodes(int count)
{
    return count == 0 ? "" : " : -n " + std::to_string(count) + " " KVI_TEST_NODE;
}

/// Runs the test MumpsEngine.DISABLED_@p role as the engine of a job with @p nodes.
bool RunJob(const std::string& role, int nodes)
{
    return child::Run("MumpsEngine", role, nodes, nodes == 0 ? kEnvironment : kMpirun,
                      Nodes(nodes));
}

/// Solves one system as both solvers do, with a factor that is kept and with other values.
class Pair
{
public:
    Pair() = default;
    /// @returns MUMPS's record
    SolveRecord Solve(const System& system)
    {
        Numbers x(system.b.size()), expected(system.b.size());
        const SolveRecord record = mumps_.Solve(system.View(), system.b.data(), x.data());
        numerics::ReplacePardiso(&numerics::BuiltInPardiso());
        const SolveRecord own = own_.Solve(system.View(), system.b.data(), expected.data());
        numerics::ReplacePardiso(nullptr);
        EXPECT_EQ(record.outcome, own.outcome) << str::as_cstring(record.reason);
        EXPECT_THAT(record.solver, testing::HasSubstr(L"mumps"));
        double worst = 0, largest = 0;
        for (std::size_t i = 0; i < x.size() && own.outcome == SolveOutcome::Solved; ++i)
        {
            worst = std::max(worst, std::fabs(x[i] - expected[i]));
            largest = std::max(largest, std::fabs(expected[i]));
        }
        EXPECT_LE(worst, 1e-7 * largest);
        return record;
    }

private:
    numerics::Pardiso mumps_, own_;
};

TEST(MumpsEngine, DISABLED_AnswersAsTheOwnSolver)
{
    const std::pair<const char*, Model> rows[] = {
        {"flow", Flow(30, Speckled)},
        {"solid", Solid(20, {1e7}, 1e7)},
        {"convection", Convection(20, 10)},
        {"brick", Brick(8)},
        {"consolidation", Solid(12, {1e7, 0.3, 1e-9, 1 / 12.0}, 1e7, 1e-9)},
        {"nothing holds it", Flow(9, Uniform, 1, 0, false)},
    };
    std::vector<std::unique_ptr<Pair>> held; // all systems at once, destroyed after the last
    for (const auto& [name, model] : rows)
    {
        SCOPED_TRACE(name);
        Pair& pair = *held.emplace_back(std::make_unique<Pair>());
        System system = model;
        const SolveRecord first = pair.Solve(system);
        if (first.outcome == SolveOutcome::Singular)
            EXPECT_GE(first.equation, 0);
        system.b[1] += 3;
        pair.Solve(system); // factor kept
        system.At(0, 0) *= 1.5;
        pair.Solve(system); // analysis kept
        system.At(0, 1) *= 1.25;
        pair.Solve(system); // no longer symmetric
    }
    EXPECT_THAT(math::SparseSolverName(),
                testing::HasSubstr(std::to_wstring(child::Number() + 1) + L" process"));
    support::ExpectInChild([&] {
        const System system = rows[0].second;
        Numbers x(system.b.size());
        return numerics::Pardiso().Solve(system.View(), system.b.data(), x.data()).outcome ==
               SolveOutcome::Failed;
    });
}

/// Little address space for one solve each: what fits is solved, what does not ends in words, and
/// without the limit all is as before.
TEST(MumpsEngine, DISABLED_RunsOutOfMemory)
{
    EXPECT_NE(math::SparseSolverName(), L""); // connected
    const System small = Flow(30), large = Brick(30);
    const auto solve = [](const System& system, rlim_t mebibytes) {
        const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
        rlim_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlimit limit{pages * rlim_t(::sysconf(_SC_PAGESIZE)) + (mebibytes << 20),
                           RLIM_INFINITY};
        numerics::Pardiso pardiso;
        Numbers x(system.b.size());
        ::setrlimit(RLIMIT_AS, mebibytes != 0 ? &limit : &none);
        const SolveRecord record = pardiso.Solve(system.View(), system.b.data(), x.data());
        ::setrlimit(RLIMIT_AS, &none);
        EXPECT_EQ(std::isnan(x[1]), record.outcome != SolveOutcome::Solved);
        EXPECT_EQ(record.reason.empty(), record.outcome == SolveOutcome::Solved);
        return record.outcome;
    };
    EXPECT_EQ(solve(small, 100), SolveOutcome::Solved);
    EXPECT_EQ(solve(large, 1), SolveOutcome::TooLarge);
    for (const rlim_t mebibytes : {10, 20, 40, 60, 80, 100, 120})
        EXPECT_THAT(solve(large, mebibytes),
                    testing::AnyOf(SolveOutcome::TooLarge, SolveOutcome::Solved));
    EXPECT_EQ(solve(large, 0), SolveOutcome::Solved);
}

TEST(MumpsEngine, DISABLED_SolvesNothing) { EXPECT_NE(math::SparseSolverName(), L""); }

/// Prints what the log says of the solver, and what each of two solves comes to; a file names the
/// node's process, the signal that its worker is sent between them, and whether it is sent within
/// the steps of larger solves instead.
TEST(MumpsEngine, DISABLED_LosesANode)
{
    support::RecordingSink log;
    const System system = Flow(10);
    Numbers x(system.b.size());
    numerics::Pardiso pardiso;
    for (int k = 0; k < 3; ++k)
    {
        const SolveRecord record = pardiso.Solve(system.View(), system.b.data(), x.data());
        std::cout << "outcome " << int(record.outcome) << ' ' << str::as_cstring(record.reason)
                  << std::endl;
        int node = 0, number = 0, isLate = 0, worker = 0;
        if (k != 0 || !(std::ifstream(std::getenv("KVI_TEST_NODE")) >> node >> number >> isLate))
            continue;
        const std::string name = std::to_string(node);
        std::ifstream("/proc/" + name + "/task/" + name + "/children") >> worker;
        if (worker <= 0)
            continue;
        const System large = Brick(isLate != 0 ? 30 : 2);
        std::thread signaller([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(isLate * 300));
            ::kill(worker, number);
        });
        Numbers y(large.b.size());
        for (bool isThere = true; isThere && isLate != 0;)
            isThere = numerics::Pardiso().Solve(large.View(), large.b.data(), y.data()).outcome ==
                      SolveOutcome::Solved;
        signaller.join();
    }
    std::cout << str::as_cstring(log.TakeText()) << std::endl;
}

TEST(Mumps, AnswersAsTheOwnSolverOnOneToFourProcesses)
{
    for (int nodes = 0; nodes < 4; ++nodes)
        EXPECT_TRUE(RunJob("AnswersAsTheOwnSolver", nodes)) << nodes;
}

TEST(Mumps, JudgesEverySystemAsTheOtherSolversDo)
{
    for (int nodes = 0; nodes < 2; ++nodes) // more on two processors take minutes
        EXPECT_TRUE(child::Run("", "", 0, nodes == 0 ? kEnvironment : kMpirun,
                               "--gtest_filter=SolverContract.Says*" + Nodes(nodes)))
            << nodes;
}

/// The heads and flows of one analysis, with each solver.
TEST(Mumps, GivesPercovaTheSameResults)
{
    const std::string folder = support::ScratchFolder().string();
    const std::string dam = std::string(KVI_SOURCE_DIR) + "/examples/percova/cases/";
    const auto run = [&](const std::string& prefix, const std::string& name, int nodes) {
        const std::string command =
            prefix + KVI_TEST_PERCOVA " run " + dam + "U1-dam.problem.json --mesh " + dam +
            "mesh/U1-dam.q8.v41.msh --out " + folder + '/' + name + Nodes(nodes) + " >/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return nlohmann::json::parse(support::ReadAll(folder + '/' + name + "/result.json"));
    };
    const nlohmann::json own = run("", "own", 0), mumps = run(kMpirun, "mumps", 1);
    EXPECT_THAT(mumps.dump(), testing::HasSubstr("2 processes"));
    const nlohmann::json expected = own.at("steps").flatten(), found = mumps.at("steps").flatten();
    EXPECT_GT(expected.size(), 100u);
    for (const auto& [name, value] : expected.items())
        if (value.is_number_float())
            EXPECT_NEAR(found.at(name).get<double>(), value.get<double>(),
                        1e-7 * (1e-3 + std::fabs(value.get<double>())))
                << name;
}

TEST(Mumps, SurvivesTheEndOfMemory)
{
    for (int nodes = 0; nodes < 2; ++nodes)
        EXPECT_TRUE(RunJob("RunsOutOfMemory", nodes)) << nodes;
}

TEST(Mumps, EndsWithAnEngineThatSolvesNothing)
{
    EXPECT_TRUE(RunJob("SolvesNothing", 0));
    EXPECT_TRUE(RunJob("SolvesNothing", 2));
}

/// What is wrong is said in words, and the job ends.
TEST(Mumps, SaysWhatIsWrongWithAProcess)
{
    const std::string folder = support::ScratchFolder().string();
    const auto signalled = [&](int number, int isLate) {
        return str::sprintf("sh -c 'echo $$ %d %d >", number, isLate) + folder + "/node; exec " +
               KVI_TEST_NODE + "'";
    };
    const std::string engine = str::as_cstring(App::Instance().ProgramPath());
    const std::pair<std::string, std::string> rows[] = {
        {signalled(SIGKILL, 0), "on signal 9"}, // from mpirun
        {signalled(SIGSTOP, 0), "process 1 \\(number [0-9]+ on .*\\) does not answer within 5 s"},
        {signalled(SIGSTOP, 1), "was stopped for 5 s while|does not answer within 5 s"},
        {engine + " --gtest_also_run_disabled_tests --gtest_filter=MumpsEngine.DISABLED_LosesANode",
         "process 1 .* is a second engine"},
    };
    for (const auto& [node, says] : rows)
    {
        const std::string output = folder + "/output";
        const std::string settings = "KVI_MUMPS_TIMEOUT=5 KVI_TEST_NODE=" + folder + "/node ";
        EXPECT_FALSE(child::Run("MumpsEngine", "LosesANode", 1, settings + kMpirun,
                                ": -n 1 " + node + " >" + output + " 2>&1"));
        EXPECT_THAT(support::ReadAll(output), testing::ContainsRegex(says)) << node;
    }
    EXPECT_NE(std::system((kEnvironment + KVI_TEST_NODE + " 2>/dev/null").c_str()), 0)
        << "a node without an engine";
}

} // namespace
