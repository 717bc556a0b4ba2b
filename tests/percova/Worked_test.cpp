// The problems that docs/worked-problems.md explains, and the figures it states.
#include "CommandLine.h"
#include "Scratch.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace percova;

namespace
{

TEST(WorkedProblems, GiveTheFiguresOfTheirPage)
{
    const struct
    {
        const char* name;
        std::vector<std::string> options;
        std::vector<const char*> lines; ///< of the summary
    } rows[] = {{"sheet-pile", {}, {"0.00022707   19.619"}},
                {"dam", {}, {"4.5539e-07", " 0.039346\n", "1.9387  (92, "}},
                {"drawdown", {"--until", "10"}, {"time 10 d: converged"}}};
    for (const auto& [name, options, lines] : rows)
    {
        SCOPED_TRACE(name);
        const std::string file =
            std::string(KVI_SOURCE_DIR) + "/examples/percova/worked/" + name + ".problem.json";
        std::ostringstream checked, out;
        EXPECT_EQ(RunCommandLine({"check", file}, checked, checked), Exit::Done) << checked.str();
        EXPECT_NE(checked.str().find("nothing is wrong"), std::string::npos) << checked.str();
        std::vector<std::string> arguments{"run", file, "--out", TextOf(ScratchFolder())};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(RunCommandLine(arguments, out, out), Exit::Done);
        for (const char* line : lines)
            EXPECT_NE(out.str().find(line), std::string::npos) << line << '\n' << out.str();
    }
}

} // namespace
