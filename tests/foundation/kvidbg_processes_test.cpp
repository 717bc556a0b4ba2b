#include "RunChild.h"
#include "foundation/kvidbg.h"
#include "support/ReadFile.h"
#include "support/Threads.h"

#include <gmock/gmock.h>

#include <regex>

using namespace kvi::diag;
using namespace support;
using testing::EndsWith;

namespace
{
/// Runs one of the DISABLED_ tests below in a process of its own; @p tail follows its command.
bool RunChild(const std::string& role, const std::string& tail)
{
    return child::Run("LogChild", role, 0, "", tail);
}

const fs::path kShared = fs::path(KVI_TEST_TEMP) / "LogChild";

/// Runs a role that logs to @p file, which is not there before.
std::vector<std::string> LinesOf(const std::string& role, const char* file)
{
    fs::create_directories(kShared);
    fs::remove(kShared / file);
    EXPECT_TRUE(RunChild(role, "> \"" + (kShared / "out").string() + "\""));
    return ReadLines(kShared / file);
}

struct LogsWhenDestroyed
{
    bool on = false;
    ~LogsWhenDestroyed()
    {
        if (on)
            KVI_LOG(critical, kMathCategory, "from a destructor");
    }
} logsWhenDestroyed;

const bool kLoggedEarly = [] { // from a static constructor, at a level that is filtered
    KVI_LOG(verbose, kMathCategory, "early");
    LogMacroHandler(verbose, 0, "", 0, "")("early");
    return EventSink::Instance().Lost() == 0;
}();

TEST(LogChild, DISABLED_AppendsLines)
{
    SinkFilePath(Wide(kShared / "many.txt"));
    for (int i = 0; i < 300; ++i)
        KVI_LOG(warning, 0, "line %d %s.", i, std::string(std::size_t(i), 'y'));
    EXPECT_EQ(EventSink::Instance().Lost(), 0u);
}

TEST(LogChild, DISABLED_LogsToTheEnd)
{
    logsWhenDestroyed.on = true;
    SinkFilePath(Wide(kShared / "end.txt"));
    EventSink::Instance().Buffered(true);
    KVI_LOG(warning, 0, "gathered");
}

TEST(LogChild, DISABLED_WritesToAClosedPipe)
{
    SinkFilePath(L"stdout");
    for (int i = 0; i < 500 && EventSink::Instance().Lost() == 0; ++i)
    {
        KVI_LOG(warning, 0, "nobody reads this");
        std::this_thread::sleep_for(10ms);
    }
    std::ofstream(kShared / "closed.txt") << EventSink::Instance().Lost();
}

TEST(LogChild, DISABLED_UsesUpTheCategoryBits)
{
    SinkFilePath(Wide(kShared / "bits.txt"));
    std::vector<int> masks;
    for (int i = 0; i < 40; ++i)
        masks.push_back(CategoryMask("Bits" + std::to_string(100 + i)));
    int seen = 3;
    for (int mask : masks)
    {
        EXPECT_TRUE((seen & mask) == 0 && mask >= 0);
        seen |= mask;
    }
    EXPECT_EQ(masks.back(), 0);
    EXPECT_EQ(CategoryMask("math"), 4);
    EXPECT_THAT(CategoryNames(-1), testing::HasSubstr("bits139"));
    EXPECT_EQ(CategoryMask(""), 0x7FFFFFFC);
    LogFilter::Set(warning, 4);
    KVI_LOG(warning, masks.back(), "a record without a bit");
}

TEST(LogProcesses, AppendWholeLinesToOneFile)
{
    EXPECT_TRUE(kLoggedEarly);
    fs::remove_all(kShared);
    fs::create_directories(kShared);
    constexpr int kChildren = 4;
    OnThreads(kChildren, [](int c) {
        EXPECT_TRUE(
            RunChild("AppendsLines", "> \"" + (kShared / std::to_string(c)).string() + "\""));
    });
    const auto lines = ReadLines(kShared / "many.txt");
    std::vector<int> seen(300, 0);
    for (const std::string& line : lines)
    {
        std::smatch m;
        ASSERT_TRUE(
            std::regex_match(line, m, std::regex("\\S+Z warning +- \\d+ line (\\d+) (y*)\\.")))
            << line;
        EXPECT_EQ(m[2].length(), std::stoi(m[1]));
        ++seen.at(std::size_t(std::stoi(m[1])));
    }
    EXPECT_THAT(seen, testing::Each(kChildren));
}

TEST(LogProcesses, LogUntilTheyHaveEnded)
{
    EXPECT_THAT(LinesOf("LogsToTheEnd", "end.txt"),
                testing::ElementsAre(EndsWith(" gathered"), EndsWith(" from a destructor")));
}

TEST(LogProcesses, SurviveAClosedPipe)
{
    if (kWindows)
        GTEST_SKIP() << "its command interpreter passes pipes through files";
    fs::create_directories(kShared);
    fs::remove(kShared / "closed.txt");
    RunChild("WritesToAClosedPipe", "2> \"" + (kShared / "reason").string() + "\" | sleep 0.3");
    EXPECT_EQ(ReadAll(kShared / "closed.txt"), "1");
    EXPECT_EQ(ReadLines(kShared / "reason").size(), 1u);
}

TEST(LogProcesses, KeepTheBitsGivenWhenNoneAreLeft)
{
    EXPECT_THAT(LinesOf("UsesUpTheCategoryBits", "bits.txt"),
                testing::ElementsAre(testing::HasSubstr("no bit is left for log category"),
                                     EndsWith("a record without a bit")));
}
} // namespace
