#include "VirtualSlot.h"
#include "foundation/gtl_status.h"
#include "foundation/kvidbg.h"
#include "platform/platform_error.h"
#include "support/RecordingSink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

using namespace kvi::diag;
using support::RecordingSink;

namespace
{
/// Leaves the filter and the current sink as they were.
class Log : public testing::Test
{
protected:
    ~Log() override { LogFilter::Set(level, mask); }

    /// The last record that came.
    RecordingSink::Record Last() { return sink.Take().back(); }

    int level = LogFilter::MinLevel(), mask = LogFilter::CategoryMask();
    RecordingSink sink;
};

const DeclareCategoryMask kMath("MATH"), kMeshes("Test.Meshes");

TEST_F(Log, TheSinksOperationsStandInTheirSlots)
{
    using S = IEventSink;
    EXPECT_EQ((std::vector{VirtualSlot(&S::Flush), VirtualSlot(&S::OutputPath),
                           VirtualSlot(&S::Assertion), VirtualSlot(&S::Buffered),
                           VirtualSlot(&S::Lost), VirtualSlot(&S::Event), VirtualSlot(&S::Log)}),
              (std::vector<std::size_t>{2, 3, 4, 5, 6, 7, 8}));
    SinkFilePath(L"somewhere");
    KVI_LOG(critical, 4, "x");
    logprintf("below the filter");
    LogFilter::Set(information, 0);
    logprintf("an %s", "event");
    EXPECT_EQ(sink.Calls(), "276");
    const RecordingSink::Record event = Last();
    EXPECT_EQ(event.site.level, information);
    EXPECT_EQ(event.text, L"an event");
}

TEST_F(Log, CatchErrorSinkCountsAndHandsOn)
{
    CatchErrorEventSink& counter = CatchErrorEventSink::Instance(); // in front of the fake
    EXPECT_EQ(&EventSink::Instance(), &counter);
    counter.Reset();
    counter.Flush();
    counter.OutputPath(L"");
    counter.Assertion("x", "f", 1);
    counter.Buffered(false);
    EXPECT_EQ(counter.Lost(), 5u);
    for (int l : {verbose, warning, error, error, critical})
        counter.Event(l, L"");
    counter.Log({critical, 4, "", 0, ""}, L"");
    EXPECT_EQ(sink.Calls(), "1234666667");
    EXPECT_EQ(counter.Criticals(), 1u);
    EXPECT_EQ(counter.Errors(), 2u);
    EXPECT_EQ(counter.Assertions(), 1u);
    counter.Reset();
    EXPECT_EQ(counter.Criticals() + counter.Errors() + counter.Assertions(), 0u);
}

TEST_F(Log, AFilteredCallEvaluatesNothing)
{
    int evaluated = 0;
    const auto argument = [&] { return ++evaluated; };
    LogFilter::Set(warning, kMath);
    KVI_LOG(information, kMath, "%d", argument());
    KVI_LOG(critical, kMeshes, "%d", argument());
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(sink.Calls(), "");
    KVI_LOG(warning, kMath | kMeshes, L"%d%% %s", argument(), "done");
    const RecordingSink::Record record = Last();
    EXPECT_EQ(record.text, L"1% done");
    EXPECT_EQ(record.site.mask, kMath | kMeshes);
    EXPECT_STREQ(record.site.function, "TestBody");
    KVI_LOG(error, 0, std::string("100%d")); // no category: by its level alone; a finished text
    KVI_LOG(error, 0, "%s; %-9s|", gtl::status(L"no %s", L"water"), gtl::status());
    EXPECT_EQ(sink.TakeText(), L"100%d\nno water;          |\n");
    LogMacroHandler(verbose, kMath, "f", 1, "g")("held back without the macro as well");
    EXPECT_EQ(sink.Calls(), "777");
}

/// A sink that itself logs, and fails.
class LoggingSink : public RecordingSink
{
public:
    void Log(const LogRecord& site, const std::wstring& text) override
    {
        RecordingSink::Log(site, text);
        KVI_LOG(error, 0, "a sink logs");
        platform::SetLastErrorNumber(99);
        errno = 98;
    }
};

TEST_F(Log, ASinkMayLogAndTheCallersErrorNumberStays)
{
    testing::internal::CaptureStderr(); // where the default sink writes
    {
        LoggingSink logging;
        platform::SetLastErrorNumber(5);
        const int before = errno;
        for (int i = 0; i < 2; ++i)
            KVI_LOG(error, DeclareCategoryMask("Test.Errno"), "once");
        EXPECT_EQ(errno, before);
        EXPECT_EQ(platform::LastErrorNumber(), 5u);
        EXPECT_EQ(logging.TakeText(), L"once\nonce\n");
    }
    const std::string nested = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(nested.begin(), nested.end(), '\n'), 2) << nested;
    EXPECT_THAT(nested, testing::HasSubstr("a sink logs"));
}

TEST_F(Log, CategoriesGetTheirBitsFromFourOn)
{
    EXPECT_EQ(CategoryMask("Math"), 4);
    EXPECT_EQ(CategoryMask("mESSAGE"), 8);
    EXPECT_EQ(kMath, 4);
    const int first = CategoryMask("Test.Prefix");
    const int second = CategoryMask("Test.Prefix.Inner");
    EXPECT_EQ(first & (first - 1), 0);
    EXPECT_EQ(CategoryMask("test.prefix"), first | second);
    EXPECT_EQ(CategoryNames(first | second), "test.prefix"); // exactly that name's mask
    EXPECT_EQ(CategoryNames(second), "test.prefix.inner");
    EXPECT_EQ(CategoryNames(4 | second), "math;test.prefix.inner");
    for (int none : {0, 1, 2, 3, -2, -2147483647 - 1})
        EXPECT_EQ(CategoryNames(none), "") << none;
    const std::string all = CategoryNames(-1);
    EXPECT_TRUE(all.starts_with("math;message;test.")) << all;
}

TEST_F(Log, TheFilterReadsTexts)
{
    LogFilter::Set(3, 12);
    LogFilter::Set(L"WARNING", L"");
    EXPECT_EQ(LogFilter::MinLevel(), 2);
    LogFilter::Set(L"unknown", L"");
    LogFilter::Set(L"", L"");
    EXPECT_EQ(LogFilter::MinLevel(), 2);
    EXPECT_EQ(LogFilter::CategoryMask(), 12);
    LogFilter::Set(L"Critical", L"Test.Filter");
    const int own = LogFilter::CategoryMask();
    const int later = CategoryMask("Test.Filter.Later"); // covered although declared after
    EXPECT_EQ(LogFilter::CategoryMask(), own | later);
    EXPECT_EQ(LogFilter::MinLevel(), 4);
    LogFilter::Set(-5, own);
    CategoryMask("Test.Filter.Latest"); // numbers stay as they were set
    EXPECT_EQ(LogFilter::CategoryMask(), own);
    EXPECT_EQ(LogFilter::MinLevel(), -5);
    EXPECT_EQ(LevelByName(L"warnin"), 2147483647);
}

TEST_F(Log, CategoriesComeFromManyThreadsAtOnce)
{
    std::vector<int> masks(16);
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < masks.size(); ++i)
            threads.emplace_back([i, &masks] {
                masks[i] = CategoryMask(i % 2 == 0 ? "Test.Thread.A" : "Test.Thread.B");
            });
    }
    for (std::size_t i = 2; i < masks.size(); ++i)
        EXPECT_EQ(masks[i], masks[i % 2]);
    EXPECT_NE(masks[0], masks[1]);
}

TEST_F(Log, MakesTextsForTheLog)
{
    EXPECT_EQ(FormatContext("a.cpp", 7, "Solve"), "Function: Solve\nLine: a.cpp(7)");
    EXPECT_EQ(to_wstring(gtl::status(L"no %s", L"water")), L"no water");
    EXPECT_EQ(to_wstring(-3) + to_wstring(4000000000u) + to_wstring(std::string("%s")),
              L"-34000000000%s");
}
} // namespace
