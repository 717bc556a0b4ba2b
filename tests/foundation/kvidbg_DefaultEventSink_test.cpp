#include "foundation/kvidbg.h"
#include "foundation/str_fmt.h"
#include "support/ScratchFolder.h"
#include "support/Threads.h"

#include <gmock/gmock.h>

#include <regex>

using namespace kvi::diag;
using namespace support;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using Clock = std::chrono::steady_clock;

namespace
{
/// A folder of the test's own, and a sink that writes to a file in it.
class LogFileTest : public FolderTest
{
protected:
    LogFileTest() { sink.OutputPath(Wide(path)); }

    void Put(const std::wstring& text, int level = warning)
    {
        sink.Log({level, 4, "", 0, ""}, text);
    }
    std::string Text() const { return ReadAll(path); }
    /// The lines on the captured standard error output.
    static std::vector<std::string> Reports()
    {
        return LinesOf(testing::internal::GetCapturedStderr());
    }

    const fs::path path = folder / u8"log-\u00e9.txt";
    ReleaseDefaultEventSink sink;
};

TEST_F(LogFileTest, ALineHasTimeLevelCategoriesThreadAndText)
{
    Put(L"caf\u00e9 \t50%");
    sink.Event(critical, L"no category");
    sink.Assertion("a < b", "f.cpp", 12);
    const std::chrono::year_month_day today(
        std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now()));
    const std::regex records(std::to_string(int(today.year())) +
                             "-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z warning     math "
                             "[1-9]\\d* caf\xC3\xA9 \t50%\n"
                             "\\S+Z critical    - \\d+ no category\n"
                             "\\S+Z .*failed check: a < b at f.cpp\\(12\\)\n");
    EXPECT_TRUE(std::regex_match(Text(), records)) << Text();
}

TEST_F(LogFileTest, ATextOfSeveralLinesStaysOneRecord)
{
    Put(std::wstring(L"one\r\ntwo\n2026-01-01T00:00:00.000Z forged\r\x1b[31m\0end\n\n", 50)
            .substr(0, 50));
    EXPECT_THAT(Text(), EndsWith("one\n    two\n    2026-01-01T00:00:00.000Z forged\n"
                                 "    \\x1b[31m\\x00end\n"));
}

TEST_F(LogFileTest, NeitherTextNorCategoryNamesForgeARecord)
{
    const int mask = CategoryMask("z b\n2026-01-01T00:00:00.000Z error x \xC2\x85");
    sink.Log({warning, mask, "", 0, ""}, L"\u0085\u009b31m\u2028\u2029\u202e\u00a0end");
    EXPECT_THAT(
        ReadLines(path),
        ElementsAre(AllOf(HasSubstr(" z\\x20b\\x0a2026-01-01t00:00:00.000z\\x20error\\x20x\\x20"),
                          EndsWith(" \\x85\\x9b31m\\u2028\\u2029\\u202e\xC2\xA0"
                                   "end"))));
}

TEST_F(LogFileTest, NarrowTextGivesTheSameLinesAsWide)
{
    const auto log = [] {
        KVI_LOG(error, 4, "step %d: residual %.3e %s", 7, 1.25e-3, "done");
        KVI_LOG(error, 4, "%-8s|%5.1f|%c|%x|%.2s", "ab", -2.5, 'c', 255u, "cut");
        KVI_LOG(error, 4, "caf\xC3\xA9 %s %.2s", "\xC3\xA9", "x\xC3\xA9"); // cut within a letter
        KVI_LOG(error, 4, "%s %s %c", L"\u0416", str::u8string(u8"\u0416"), 0x416);
        KVI_LOG(error, 4, "%s\n", "two\nlines");
        KVI_LOG(error, 4, "%s", std::string(1000, 'x'));
        KVI_LOG(error, 4, std::string("100%d"));
    };
    // The default sink takes narrow text as it is; every other one is given wide text.
    const fs::path narrow = folder / "narrow.txt";
    EventSink::RegisterInstance(nullptr);
    SinkFilePath(Wide(narrow));
    log();
    SinkFilePath(L"stderr");
    EventSink::RegisterInstance(&sink);
    log();
    EventSink::RegisterInstance(nullptr);
    const std::regex time("\\d{4}-\\S+Z ");
    const std::string text = std::regex_replace(ReadAll(narrow), time, "");
    EXPECT_EQ(text, std::regex_replace(Text(), time, ""));
    EXPECT_THAT(text, HasSubstr(" step 7: residual 1.250e-03 done\n"));
    EXPECT_THAT(text, HasSubstr(" two\n    lines\n"));
}

TEST_F(LogFileTest, BufferedLinesComeWithAnErrorAFlushOrSafeMode)
{
    sink.Buffered(true);
    Put(L"gathered");
    EXPECT_EQ(Text(), "");
    Put(L"grave", error);
    EXPECT_EQ(ReadLines(path).size(), 2u);
    Put(L"gathered");
    sink.Flush();
    EXPECT_EQ(ReadLines(path).size(), 3u);
    SetSafeMode(true);
    Put(L"at once");
    SetSafeMode(false);
    EXPECT_EQ(ReadLines(path).size(), 4u);
    for (int i = 0; i < 1000; ++i)
        Put(std::wstring(100, L'x'));
    EXPECT_GT(fs::file_size(path), 64u * 1024);
    sink.OutputPath(L""); // the old target gets what belongs to it
    EXPECT_EQ(ReadLines(path).size(), 1004u);
}

TEST_F(LogFileTest, ThreadsKeepTheirLinesWhole)
{
    constexpr int kThreads = 8, kLines = 200;
    OnThreads(kThreads, [this](int t) {
        for (int i = 0; i < kLines; ++i)
            Put(str::sprintf(L"t%d line %d %s.", t, i, std::wstring(std::size_t(i), L'x')));
    });
    std::vector<int> next(kThreads, 0);
    for (const std::string& line : ReadLines(path))
    {
        std::smatch m;
        ASSERT_TRUE(std::regex_search(line, m, std::regex(" t(\\d) line (\\d+) (x*)\\.$"))) << line;
        const auto t = std::size_t(std::stoi(m[1]));
        EXPECT_EQ(std::stoi(m[2]), next[t]++);
        EXPECT_EQ(m[3].length(), std::stoi(m[2]));
    }
    EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
}

TEST_F(LogFileTest, ComesBackWhenTheFolderDoes)
{
    const fs::path missing = folder / "missing" / "log.txt";
    testing::internal::CaptureStderr();
    sink.OutputPath(Wide(missing));
    for (int i = 0; i < 3; ++i)
        Put(L"lost");
    EXPECT_THAT(Reports(), ElementsAre(testing::StartsWith("KVI: the log cannot be written to ")));
    EXPECT_EQ(sink.Lost(), 3u);
    fs::create_directory(missing.parent_path());
    Put(L"back");
    Put(L"again");
    EXPECT_THAT(ReadLines(missing),
                ElementsAre(HasSubstr(" 3 records before this one could not be written"),
                            EndsWith(" back"), EndsWith(" again")));
    EXPECT_EQ(sink.Lost(), 3u);
}

TEST_F(LogFileTest, ADirectoryOrAFullDiskIsNoTarget)
{
    testing::internal::CaptureStderr();
    sink.OutputPath(Wide(folder));
    Put(L"lost");
    EXPECT_EQ(sink.Lost(), 1u);
    if (fs::exists("/dev/full"))
    {
        sink.OutputPath(L"/dev/full");
        const auto start = Clock::now();
        for (int i = 0; i < 100; ++i)
            Put(L"lost");
        EXPECT_LT(Clock::now() - start, 2s);
        EXPECT_EQ(sink.Lost(), 101u);
    }
    EXPECT_EQ(Reports().size(), fs::exists("/dev/full") ? 2u : 1u);
}

TEST_F(LogFileTest, APipeThatNobodyReadsDelaysLittle)
{
    if (kWindows)
        GTEST_SKIP() << "named pipes are no files there";
    const std::string pipe = (folder / "pipe").string();
    ASSERT_EQ(std::system(("mkfifo '" + pipe + "'").c_str()), 0);
    testing::internal::CaptureStderr();
    sink.OutputPath(str::as_wstring(pipe));
    Put(L"lost"); // no reader at all
    EXPECT_EQ(sink.Lost(), 1u);
    // The shell opens it before the command ends, which then has it open and never reads.
    const std::string open = "exec 3<>'" + pipe + "'; sleep 2 >/dev/null 2>&1 &";
    ASSERT_EQ(std::system(open.c_str()), 0);
    const auto start = Clock::now();
    for (int i = 0; i < 300; ++i)
        Put(std::wstring(1000, L'x')); // four times what a pipe holds
    EXPECT_LT(Clock::now() - start, 1s);
    EXPECT_GT(sink.Lost(), 100u);
    EXPECT_EQ(Reports().size(), 1u);
}

TEST_F(LogFileTest, ARemovedOrRenamedFileIsMadeAnew)
{
    const auto pause = [] { std::this_thread::sleep_for(3ms); };
    Put(L"first");
    fs::rename(path, folder / "old.txt");
    pause();
    Put(L"second");
    EXPECT_THAT(ReadAll(folder / "old.txt"), HasSubstr("first"));
    ASSERT_EQ(ReadLines(path).size(), 1u);
    // Right before a record, and again before the next look at the path; records nearer to each
    // other than 20 microseconds may be written to the next file by the record behind them.
    const auto wait = [](std::chrono::microseconds time) {
        for (const auto start = Clock::now(); Clock::now() - start < time;)
            continue;
    };
    for (int i = 0; i < 20; ++i)
    {
        wait(30us);
        fs::remove(path);
        Put(L"third");
        ASSERT_THAT(Text(), HasSubstr("third"));
    }
    EXPECT_EQ(sink.Lost(), 0u);
}

TEST_F(LogFileTest, StdoutstderrPartsErrorsFromTheRest)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    sink.OutputPath(L"stdoutstderr");
    for (int l : {verbose, information, warning, error, critical})
        Put(L"level " + std::to_wstring(l), l);
    const std::string out = testing::internal::GetCapturedStdout();
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_THAT(out, AllOf(HasSubstr("level 2"), Not(HasSubstr("level 3"))));
    EXPECT_THAT(err, AllOf(HasSubstr("level 3"), HasSubstr("level 4"), Not(HasSubstr("level 2"))));
}
} // namespace
