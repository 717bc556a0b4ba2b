// Input from strangers: names that are no names, folders and links in the way, files that are small
// and ask for much.
#include "Commands.h"
#include "analysis/model/Model.h"
#include "output/Output.h"
#include "problem/Shown.h"

#include <gmock/gmock.h>

using namespace percova;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace
{

namespace fs = std::filesystem;

constexpr bool kIsWindows = sizeof(wchar_t) == 2;

/// The smallest of the cases.
CommandRun RunInto(const std::string& folder)
{
    return RunCommand({"run", CaseFile("T1-consolidation"), "--mesh",
                       MeshFile("T1-consolidation.q4"), "--until", "1", "--out", folder});
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
        bool isTaken[2]; ///< on Linux, on Windows
        std::vector<std::string> names;
    } rows[] = {{{true, true}, {"R&D", "a/../b", "C:drive", "100%s%n", "\xCE\xB5/R&D"}},
                {{true, false}, {"a.", "a ", "q?x", "CON", "nul", "CONIN$"}},
                {{false, false}, {"\xFF", "\xEF\xBF\xBD"}}};
    for (const auto& [isTaken, names] : rows)
        for (const std::string& name : names)
        {
            SCOPED_TRACE(name);
            const bool isAlone = name == "C:drive"; // it has no folder in front
            if (kIsWindows && isAlone)
                continue; // in the current folder of another drive
            const fs::path folder = ScratchFolder();
            fs::current_path(isAlone ? folder : folder.parent_path());
            const CommandRun run = RunInto(isAlone ? name : TextOf(folder) + '/' + name);
            fs::current_path(folder.parent_path());
            if (isTaken[kIsWindows])
            {
                EXPECT_EQ(run.exit, Exit::Done) << run.err;
                EXPECT_THAT(EntriesOf(folder),
                            ElementsAre(name == "a/../b" ? "b" : name.substr(0, name.find('/'))));
                continue;
            }
            EXPECT_EQ(run.exit, Exit::NotWritten) << run.err;
            EXPECT_THAT(run.out + run.err, Not(AnyOf(HasSubstr("residual"), HasSubstr("??"))))
                << "it ran before, or shows the line break of the system's text";
            EXPECT_THAT(EntriesOf(folder), IsEmpty());
        }
}

TEST(ResultFolder, MayHaveTheLongFormOfAPath)
{
    if (!kIsWindows)
        GTEST_SKIP() << "only Windows has it";
    const fs::path folder = ScratchFolder();
    EXPECT_EQ(RunInto("\\\\?\\" + TextOf(folder) + "\\deep\\a").exit, Exit::Done);
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
    const CommandRun run = RunInto(TextOf(out));
    EXPECT_EQ(run.exit, Exit::Done) << run.err;
    EXPECT_EQ(support::ReadAll(secret), "mine");
    EXPECT_FALSE(fs::is_symlink(out / "result.json"));
    EXPECT_THAT(EntriesOf(out), Not(Contains(HasSubstr("kvi"))));
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

TEST(Shown, IsAllThatCommandsPrint)
{
    const std::string problem = support::ReadAll(Cases() / "C2-parallel.problem.json"),
                      mesh = support::ReadAll(FilePath(MeshFile("C2-parallel.q4.v22"))),
                      raw = "\x1B[31m\xC2\x9B\xE2\x80\xAE\x07",
                      name = "\\u001b[31m\\u009b\\u202e\\n\\u0007";
    const std::string rows[] = {
        With(problem, "\"id\": \"", "\"title\": \"" + name + "\", \"id\": \"" + name),
        With(problem, "\"material\": \"", "\"material\": \"" + name),
        With(problem, "\"name\": \"", "\"name\": \"" + name),
        With(problem, "\"id\"", "\"" + name + "\": 1, \"id\""),
        "{\"id\": " + raw,
        raw,
        With(problem, "\"mesh\"", "\"note " + name + "\": " + raw + ", \"mesh\"")};
    for (const std::string& row : rows)
        for (const std::string& grid : {mesh, With(mesh, "\"", "\"" + raw), raw, "$" + mesh})
        {
            const fs::path at = Scratch(row == raw ? "x" : "hostile.problem.json", row);
            const std::string beside = TextOf(at.parent_path() / "hostile.msh");
            std::ofstream(FilePath(beside), std::ios::binary) << grid;
            for (const std::vector<std::string>& arguments :
                 {std::vector<std::string>{"run", TextOf(at), "--mesh", beside},
                  {"check", TextOf(at), "--mesh", beside},
                  {"info", beside}})
            {
                const CommandRun run = RunCommand(arguments);
                std::string lines = run.out + run.err;
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
    const std::string lines = out.str();
    for (const auto& [name, field] : rows)
        EXPECT_THAT(lines, HasSubstr(',' + field + ','));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2);
}

} // namespace
