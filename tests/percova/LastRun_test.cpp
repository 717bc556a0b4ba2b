// The solver and the number of threads that one run leaves to the next.
#include "CommandLine.h"
#include "KVI.h"
#include "Scratch.h"
#include "output/LastRun.h"

#include <sstream>

using namespace percova;

namespace
{

class LastRun : public testing::Test
{
protected:
    LastRun() { Forget(); }
    ~LastRun() override { Forget(); }

    static void Forget()
    {
        sys::reg::Registry32 key(sys::reg::StrativoCurrentUserPath(L"percova"));
        for (const wchar_t* name : {L"Solver", L"Threads"})
            (void)key.DeleteValue(name); // there may be none
    }
    static std::string Kept()
    {
        const sys::reg::Registry32 key(sys::reg::StrativoCurrentUserPath(L"percova"));
        return key.ReadString(L"Solver") + ' ' + std::to_string(key.ReadInt(L"Threads", -1));
    }
    /// What is printed.
    static std::string Run(std::vector<std::string> more, Exit expected)
    {
        std::vector<std::string> arguments{
            "run",    TextOf(Cases() / "U1-dam.problem.json"),
            "--mesh", TextOf(Cases() / "mesh" / "U1-dam.t3.v41.msh"),
            "--out",  TextOf(std::filesystem::path(KVI_TEST_TEMP) / "last run")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        std::ostringstream out, err;
        EXPECT_EQ(RunCommandLine(arguments, out, err), expected) << err.str();
        return out.str();
    }
};

TEST_F(LastRun, IsKeptWhenItSucceededAndTakenOver)
{
    EXPECT_EQ(Run({"--max-iterations", "2"}, Exit::NotConverged).find("last run:"),
              std::string::npos);
    EXPECT_EQ(Kept(), " -1");
    Run({"--solver", "direct", "--threads", "1"}, Exit::Done);
    EXPECT_EQ(Kept(), "direct 1");
    const std::string out = Run({}, Exit::Done);
    EXPECT_NE(out.find("as in the last run: solver direct, 1 thread\n"), std::string::npos) << out;
    Run({"--solver", "pardiso", "--threads", "0"}, Exit::Done); // what is said counts
    EXPECT_EQ(Kept(), "pardiso 0");
}

TEST_F(LastRun, TakesOverNothingThatIsNone)
{
    sys::reg::Registry32 key(sys::reg::StrativoCurrentUserPath(L"percova"));
    ASSERT_TRUE(key.WriteString(L"Solver", std::wstring(L"magic")).ok());
    ASSERT_TRUE(key.WriteInt(L"Threads", -7, false).ok());
    SolverSettings settings;
    settings.threads = -1;
    EXPECT_EQ(TakeOverLastRun(settings), "");
    EXPECT_EQ(settings.kind, SolverKind::Automatic);
    EXPECT_EQ(settings.threads, 0);
}

} // namespace
