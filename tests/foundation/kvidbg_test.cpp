#include "VirtualSlot.h"
#include "foundation/gtl_status.h"
#include "foundation/kvidbg.h"
#include "platform/platform_error.h"
#include "support/ReadFile.h"
#include "support/RecordingSink.h"
#include "support/Threads.h"

#include <gmock/gmock.h>

#include <cerrno>

using namespace kvi::diag;
using support::RecordingSink;
using testing::ElementsAre;
using testing::HasSubstr;

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
    EXPECT_THAT((std::vector{VirtualSlot(&S::Flush), VirtualSlot(&S::OutputPath),
                             VirtualSlot(&S::Assertion), VirtualSlot(&S::Buffered),
                             VirtualSlot(&S::Lost), VirtualSlot(&S::Event), VirtualSlot(&S::Log)}),
                ElementsAre(2u, 3u, 4u, 5u, 6u, 7u, 8u));
    SinkFilePath(L"somewhere");
    KVI_LOG(critical, 4, "x");
    logprintf("below the filter");
    LogFilter::Set(information, 0);
    logprintf("an %s", "event");
    EXPECT_EQ(sink.Calls(), "276");
    const RecordingSink::Record event = Last();
    EXPECT_TRUE(event.site.level == information && event.text == L"an event");
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
    EXPECT_EQ(std::tuple(counter.Criticals(), counter.Errors(), counter.Assertions()),
              std::tuple(1u, 2u, 1u));
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
    EXPECT_THAT(support::LinesOf(testing::internal::GetCapturedStderr()),
                ElementsAre(HasSubstr("a sink logs"), HasSubstr("a sink logs")));
}

TEST_F(Log, CategoriesGetTheirBitsFromFourOn)
{
    EXPECT_TRUE(CategoryMask("Math") == 4 && CategoryMask("mESSAGE") == 8 && kMath == 4);
    const int first = CategoryMask("Test.Prefix");
    const int second = CategoryMask("Test.Prefix.Inner");
    EXPECT_EQ(first & (first - 1), 0);
    EXPECT_EQ(CategoryMask("test.prefix"), first | second);
    EXPECT_EQ(CategoryNames(first | second), "test.prefix"); // exactly that name's mask
    EXPECT_EQ(CategoryNames(second), "test.prefix.inner");
    EXPECT_EQ(CategoryNames(4 | second), "math;test.prefix.inner");
    for (int none : {0, 1, 2, 3, -2, -2147483647 - 1})
        EXPECT_EQ(CategoryNames(none), "") << none;
    EXPECT_THAT(CategoryNames(-1), testing::StartsWith("math;message;test."));
}

TEST_F(Log, TheFilterReadsTexts)
{
    LogFilter::Set(3, 12);
    LogFilter::Set(L"WARNING", L"");
    LogFilter::Set(L"unknown", L"");
    LogFilter::Set(L"", L"");
    EXPECT_TRUE(LogFilter::MinLevel() == 2 && LogFilter::CategoryMask() == 12);
    LogFilter::Set(L"Critical", L"Test.Filter");
    const int own = LogFilter::CategoryMask();
    const int later = CategoryMask("Test.Filter.Later"); // covered although declared after
    EXPECT_TRUE(LogFilter::CategoryMask() == (own | later) && LogFilter::MinLevel() == 4);
    LogFilter::Set(-5, own);
    CategoryMask("Test.Filter.Latest"); // numbers stay as they were set
    EXPECT_TRUE(LogFilter::CategoryMask() == own && LogFilter::MinLevel() == -5);
    EXPECT_EQ(LevelByName(L"warnin"), 2147483647);
}

TEST_F(Log, CategoriesComeFromManyThreadsAtOnce)
{
    int masks[16];
    support::OnThreads(16, [&](int i) {
        masks[i] = CategoryMask(i % 2 == 0 ? "Test.Thread.A" : "Test.Thread.B");
    });
    for (int i = 2; i < 16; ++i)
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
