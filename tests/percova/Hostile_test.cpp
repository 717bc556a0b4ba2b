// Input from strangers: names that are no names, folders and links in the way, files that are small
// and ask for much.
#include "CommandLine.h"
#include "Scratch.h"
#include "analysis/Model.h"
#include "output/Output.h"
#include "problem/Shown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

using namespace percova;

namespace
{

namespace fs = std::filesystem;

constexpr bool kIsWindows = sizeof(wchar_t) == 2;

struct Ran
{
    Exit exit;
    std::string text; ///< on both streams
};

/// percova with the smallest of the cases.
Ran RunCase(const std::string& command, const std::vector<std::string>& more = {})
{
    std::vector<std::string> arguments{command, TextOf(Cases() / "T1-consolidation.problem.json"),
                                       "--mesh",
                                       TextOf(Cases() / "mesh" / "T1-consolidation.q4.msh")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    std::ostringstream out;
    const Exit exit = RunCommandLine(arguments, out, out);
    return {exit, out.str()};
}

std::vector<std::string> EntriesOf(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder))
        names.push_back(TextOf(entry.path().filename()));
    return names;
}

TEST(ResultFolder, IsTakenAsItIsNamedOrRefusedBeforeTheRun)
{
    const struct
    {
        const char* name;
        bool isTaken[2]; ///< on Linux, on Windows
    } rows[] = {
        {"R&D", {true, true}},         {"a.", {true, false}},    {"a ", {true, false}},
        {"q?x", {true, false}},        {"CON", {true, false}},   {"nul", {true, false}},
        {"CONIN$", {true, false}},     {"a/../b", {true, true}}, {"C:drive", {true, true}},
        {"100%s%n", {true, true}},     {"\xFF", {false, false}}, {"\xEF\xBF\xBD", {false, false}},
        {"\xCE\xB5/R&D", {true, true}}};
    for (const auto& [name, isTaken] : rows)
    {
        SCOPED_TRACE(name);
        const fs::path folder = ScratchFolder();
        if (kIsWindows && std::string(name) == "C:drive")
            continue; // in the current folder of another drive
        if (std::string(name) == "C:drive")
            fs::current_path(folder); // it has no folder in front
        const Ran ran =
            RunCase("run", {"--until", "1", "--out",
                            std::string(name) == "C:drive" ? name : TextOf(folder) + '/' + name});
        fs::current_path(folder.parent_path());
        if (!isTaken[kIsWindows])
        {
            EXPECT_EQ(ran.exit, Exit::NotWritten) << ran.text;
            EXPECT_EQ(ran.text.find("residual"), std::string::npos) << "it ran before";
            EXPECT_EQ(EntriesOf(folder), std::vector<std::string>());
            continue;
        }
        EXPECT_EQ(ran.exit, Exit::Done) << ran.text;
        std::string first = name;
        first = first == "a/../b" ? "b" : first.substr(0, first.find('/'));
        EXPECT_EQ(EntriesOf(folder), std::vector{first});
        EXPECT_TRUE(fs::exists(folder / FilePath(first == name ? name : first)));
    }
}

/// Windows' paths that no other function changes.
TEST(ResultFolder, MayHaveTheLongFormOfAPath)
{
    if (!kIsWindows)
        GTEST_SKIP() << "only Windows has it";
    const fs::path folder = ScratchFolder();
    const Ran ran =
        RunCase("run", {"--until", "1", "--out", "\\\\?\\" + TextOf(folder) + "\\deep\\a"});
    EXPECT_EQ(ran.exit, Exit::Done) << ran.text;
    EXPECT_TRUE(fs::exists(folder / "deep" / "a" / "result.json"));
}

/// What is beside a result has a random name and is gone at the end; links in the folder of the
/// results are replaced.
TEST(ResultFolder, LeadsNowhereElse)
{
    const fs::path folder = ScratchFolder(), out = folder / "out", secret = folder / "secret";
    fs::create_directory(out);
    std::ofstream(secret) << "mine";
    for (const char* name : {"result.json", "result.json.part", "T1-consolidation.pvd",
                             "T1-consolidation.pvd.part", "T1-consolidation.0000.vtu"})
    {
        std::error_code error;
        fs::create_symlink(secret, out / name, error);
        if (error)
            GTEST_SKIP() << "links cannot be made here";
    }
    const Ran ran = RunCase("run", {"--until", "1", "--out", TextOf(out)});
    EXPECT_EQ(ran.exit, Exit::Done) << ran.text;
    std::string text, reason;
    ASSERT_TRUE(ReadWhole(secret, text, reason));
    EXPECT_EQ(text, "mine");
    EXPECT_FALSE(fs::is_symlink(out / "result.json"));
    for (const std::string& name : EntriesOf(out))
        EXPECT_EQ(name.find("kvi"), std::string::npos) << name;
}

TEST(Shown, LeavesNothingThatATerminalObeys)
{
    const std::pair<std::string, std::string> rows[] = {
        {"d\xC3\xA4mme", "d\xC3\xA4mme"},
        {"\x1B[2J\x1B]0;x\x07", "?[2J?]0;x?"},
        {"a\nb\r\tc\x7F", "a?b??c?"},
        {"\xC2\x9B"
         "31m\xC2\x80",
         "?31m?"}, // C1
        {"\xE2\x80\xAA"
         "a\xE2\x80\xAE\xE2\x81\xA6\xE2\x81\xA9",
         "?a???"},             // directions
        {"\xE2\x80\xA8", "?"}, // line separator
        {"\x9B\xFF", "??"},    // no UTF-8
        {std::string("\0", 1), "?"},
    };
    for (const auto& [text, shown] : rows)
    {
        EXPECT_EQ(Shown(text), shown);
        std::ostringstream to;
        {
            SafeBuffer buffer(to);
            std::ostream out(&buffer);
            for (const char c : text) // characters in pieces
                out << c;
            out << "\nend";
        }
        EXPECT_EQ(to.str(), text.find('\n') == text.npos ? shown + "\nend" : "a\nb??c?\nend");
    }
    EXPECT_EQ(Shortened("\xC3\xA4\xC3\xA4", 3), "\xC3\xA4...");
}

const std::string kNames = "\\u001b[31m\\u009b\\u202e\\n\\u0007";

TEST(Shown, IsAllThatCommandsPrint)
{
    std::string problem, mesh, reason;
    ASSERT_TRUE(ReadWhole(Cases() / "C2-parallel.problem.json", problem, reason));
    ASSERT_TRUE(ReadWhole(Cases() / "mesh" / "C2-parallel.q4.v22.msh", mesh, reason));
    const std::string raw = "\x1B[31m\xC2\x9B\xE2\x80\xAE\x07";
    const std::string title =
        With(problem, "\"id\": \"", "\"title\": \"" + kNames + "\", \"id\": \"" + kNames);
    const std::string rows[] = {
        title,
        With(problem, "\"material\": \"", "\"material\": \"" + kNames),
        With(problem, "\"name\": \"", "\"name\": \"" + kNames),
        With(problem, "\"id\"", "\"" + kNames + "\": 1, \"id\""),
        "{\"id\": " + raw,
        raw,
        With(problem, "\"mesh\"", "\"note " + kNames + "\": " + raw + ", \"mesh\"")};
    for (const std::string& row : rows)
        for (const std::string& grid : {mesh, With(mesh, "\"", "\"" + raw), raw, "$" + mesh})
        {
            const fs::path at = Scratch(row == raw ? "x" : "hostile.problem.json", row);
            const fs::path beside = at.parent_path() / "hostile.msh";
            std::ofstream(beside, std::ios::binary) << grid;
            for (const char* command : {"run", "check", "info"})
            {
                std::vector<std::string> arguments{command, TextOf(at), "--mesh", TextOf(beside)};
                if (command == std::string("info"))
                    arguments = {command, TextOf(beside)};
                std::ostringstream out;
                (void)RunCommandLine(arguments, out, out);
                std::string lines = out.str();
                std::erase(lines, '\n');
                EXPECT_EQ(Shown(lines), lines);
            }
        }
}

TEST(History, HoldsNoFormulasAndOneLineForEachStep)
{
    const std::pair<std::string, std::string> rows[] = {{"=1+1", "'=1+1.head"},
                                                        {"+a", "'+a.head"},
                                                        {"-a", "'-a.head"},
                                                        {"@a", "'@a.head"},
                                                        {"\t=a", "?=a.head"},
                                                        {"a\nb", "a?b.head"},
                                                        {"a,\"b\"", "\"a,\"\"b\"\".head\""},
                                                        {"=\"a,b\"", "\"'=\"\"a,b\"\".head\""},
                                                        {"plain", "plain.head"}};
    Model model;
    for (const auto& [name, field] : rows)
        model.problem.probes.push_back({name, {}, {}});
    std::ostringstream out;
    WriteHistory(out, model, {});
    for (const auto& [name, field] : rows)
        EXPECT_NE(out.str().find(',' + field + ','), std::string::npos) << field << out.str();
    const std::string lines = out.str();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2);
}

} // namespace
