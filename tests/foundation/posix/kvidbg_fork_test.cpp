#include "foundation/kvidbg.h"
#include "foundation/str_locale.h"
#include "support/ForkedChild.h"
#include "support/Numbers.h"
#include "support/ScratchFolder.h"
#include "support/Threads.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <map>

#include <fcntl.h>
#include <sys/resource.h>

using namespace kvi::diag;
using namespace support;

namespace
{
/// Makes @p file the child's standard output, and the log's target.
void LogToStandardOutput(int file)
{
    ::dup2(file, STDOUT_FILENO);
    SinkFilePath(L"stdout");
}

/// How often each text after the line's head occurs in the log.
std::map<std::string, int> TextsIn(const fs::path& path)
{
    std::map<std::string, int> texts;
    for (const std::string& line : ReadLines(path))
        ++texts[line.substr(line.rfind(' ') + 1)];
    return texts;
}

/// The default sink with a file in the test's own folder.
class ForkLog : public FolderTest
{
protected:
    ~ForkLog() override
    {
        EventSink::Instance().Buffered(false);
        SinkFilePath(L"stderr");
    }

    const fs::path path = folder / "log.txt";
};

TEST_F(ForkLog, AChildOfAThreadedHostLogsAndEveryLineIsWrittenOnce)
{
    SinkFilePath(Wide(path));
    EventSink::Instance().Buffered(true);
    unsigned lines = 0, locales = 0;
    const auto log = [&] { KVI_LOG(warning, CategoryMask("Fork"), "parent-%u", lines++); };
    const auto lookUp = [&] {
        (void)str::locale::is_installed(str::locale::ID(locales++ % 500 + 0x20000));
    };
    const int forks = Rounds("KVI_TEST_FORKS", 60);
    const auto forkOften = [&] {
        for (int i = 0; i < forks; ++i)
            ExpectInChild([&] {
                KVI_LOG(warning, CategoryMask("Fork.Child"), "child-%d", i);
                EXPECT_FALSE(str::locale::decimal_char(str::locale::ID(0x40000 + i)).empty());
                EventSink::Instance().Flush();
            });
    };
    While(1, log, [&] { While(1, lookUp, forkOften); });
    EventSink::Instance().Flush();
    const auto texts = TextsIn(path);
    EXPECT_EQ(texts.size(), lines + unsigned(forks));
    EXPECT_THAT(texts, testing::Each(testing::Pair(testing::_, 1)));
}

TEST_F(ForkLog, LongLinesOfSeveralProcessesOnOneFileAsStandardOutputStayWhole)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT, 0600); // not for appending
    std::vector<pid_t> children;
    for (int c = 0; c < 3; ++c)
        children.push_back(StartChild([file, c] {
            LogToStandardOutput(file);
            for (int i = 0; i < 100; ++i)
                KVI_LOG(warning, 0, "%s", std::string(20000, static_cast<char>('a' + c)));
        }));
    for (const pid_t child : children)
        EXPECT_EQ(EndOf(child), 0);
    ::close(file);
    const auto texts = TextsIn(path);
    EXPECT_EQ(texts.size(), 3u);
    for (const auto& [text, count] : texts)
        EXPECT_TRUE(count == 100 && text == std::string(20000, text[0])) << text.substr(0, 20);
}

/// Another user's link would choose which of this user's files grows; folders are followed as ever.
TEST_F(ForkLog, GoesThroughNoLinkOfAnotherUser)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may give a link away";
    struct
    {
        const char *link, *target;
        bool isForeign, isFollowed;
    } const rows[] = {{"own", "own.txt", false, true},
                      {"two", "own", false, true},
                      {"foreign", "precious", true, false},
                      {"over", "foreign", false, false},
                      {"dangling", "gone", true, false}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.link);
        fs::create_symlink(row.target, folder / row.link);
        ASSERT_TRUE(!row.isForeign || ::lchown((folder / row.link).c_str(), 4711, 4711) == 0);
        testing::internal::CaptureStderr(); // where a record goes that has no file
        SinkFilePath(Wide(folder / row.link));
        KVI_LOG(error, 0, "through %s", row.link);
        SinkFilePath(L"stderr");
        const bool isRefused = !testing::internal::GetCapturedStderr().empty();
        EXPECT_EQ(isRefused, !row.isFollowed);
    }
    EXPECT_THAT(ReadAll(folder / "own.txt"), testing::AllOf(testing::HasSubstr("through own"),
                                                            testing::HasSubstr("through two")));
    EXPECT_FALSE(fs::exists(folder / "precious") || fs::exists(folder / "gone"));
    EXPECT_EQ(InChild([] { // "/proc" has links without a path behind them
                  LogToStandardOutput(::open("/dev/null", O_WRONLY | O_CLOEXEC));
                  testing::internal::CaptureStderr();
                  SinkFilePath(L"/dev/stdout");
                  KVI_LOG(error, 0, "through a link of root");
                  return testing::internal::GetCapturedStderr().empty();
              }),
              0);
}

TEST_F(ForkLog, ALimitForTheSizeOfFilesEndsNobody)
{
    for (const bool console : {false, true})
        ExpectInChild([this, console] {
            ::close(STDERR_FILENO);
            const rlimit limit{5000, 5000};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            if (console)
                LogToStandardOutput(file);
            else
                SinkFilePath(Wide(path));
            for (int i = 0; i < 200; ++i)
            {
                std::printf("%s", console ? "host " : "");
                KVI_LOG(warning, 0, "line %d", i);
            }
            EXPECT_GT(EventSink::Instance().Lost(), 50u);
            EXPECT_EQ(fs::file_size(path), 5000u);
        });
}

TEST_F(ForkLog, ProcessesThatShareAPipeNobodyReadsGoOn)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const auto start = std::chrono::steady_clock::now();
    std::vector<pid_t> children;
    for (int c = 0; c < 4; ++c)
        children.push_back(StartChild([&ends] {
            ::close(STDERR_FILENO);
            LogToStandardOutput(ends[1]);
            for (int i = 0; i < 300; ++i)
            {
                if (i % 4 == 0) // the host prints as well, but fills no buffer
                    std::printf("%s", EventSink::Instance().Lost() == 0 ? "host text\n" : "");
                KVI_LOG(warning, 0, "%s", std::string(1500, 'x'));
            }
            EXPECT_GT(EventSink::Instance().Lost(), 200u);
        }));
    for (const pid_t child : children)
        EXPECT_EQ(EndOf(child), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 15s);
    ::close(ends[0]);
    ::close(ends[1]);
}
} // namespace
