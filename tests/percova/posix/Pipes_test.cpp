#include "percova/Commands.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace percova;

namespace
{

// A pipe that nobody writes to would be waited for.
TEST(Pipes, AreRefusedAtOnce)
{
    const std::filesystem::path folder = ScratchFolder();
    const auto pipe = [&](const char* name) {
        const std::string path = TextOf(folder / name);
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        return path;
    };
    const std::string problem = pipe("p.problem.json"), mesh = pipe("m.msh");
    (void)pipe("result.json");
    const std::vector<std::string> rows[] = {
        {"check", problem}, {"run", problem}, {"run", CaseFile("C2-parallel"), "--mesh", mesh},
        {"info", mesh},     {"new", mesh},    {"report", TextOf(folder)}};
    for (const std::vector<std::string>& row : rows)
    {
        const CommandRun ran = RunCommand(row);
        EXPECT_EQ(ran.exit, Exit::WrongInput) << row[0] << ' ' << ran.err;
        EXPECT_NE(ran.out + ran.err, "");
    }
}

} // namespace
