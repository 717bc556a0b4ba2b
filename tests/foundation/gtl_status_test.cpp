#include "foundation/App.h"
#include "foundation/gtl_status.h"
#include "foundation/gtl_status_exception.h"

#include <gtest/gtest.h>

using gtl::status;

TEST(Status, OkIsOnePointerThatEqualsOnlyOk)
{
    static_assert(sizeof(status) == sizeof(void*));
    EXPECT_EQ(status(), status());
    EXPECT_NE(status(), status(L""));
    EXPECT_NE(status(L""), status());
    EXPECT_TRUE(status().ok() && status().as_wstring().empty());
}

TEST(Status, IsEqualWhenTemplateArgumentsAndPlaceAre)
{
    const status one(L"a %s", L"1", L"2", L"3", L"4", L"5");
    EXPECT_EQ(one, one);
    EXPECT_EQ(one, status(L"a %s", L"1", L"2", L"3", L"4", L"5"));
    EXPECT_NE(one, status(L"b %s", L"1", L"2", L"3", L"4", L"5"));
    EXPECT_NE(one, status(L"a %s", L"1", L"2", L"3", L"4", L"6"));
    EXPECT_NE(one, status(L"a 1")); // the same message by other means
    const status here = status::AtSource(60001, L"1", L"2", "file.cpp", 7);
    EXPECT_NE(here, status::AtSource(60001, L"1", L"2", "file.cpp", 8));
    EXPECT_NE(here, status::AtSource(60001, L"1", L"2", "file.c", 7));
}

TEST(Status, CopiesShareTheRecordUntilTheLastOneGoes)
{
    status first(L"text %s", L"argument");
    const status::detail* record = first.details();
    status second = first;
    status third;
    third = second;
    EXPECT_EQ(second.details(), record);
    const status& alias = third;
    third = alias; // to itself
    first = status();
    second = std::move(third);
    EXPECT_TRUE(third.ok()); // NOLINT(bugprone-use-after-move): a moved-from status is ok
    EXPECT_EQ(second.details(), record);
    EXPECT_EQ(second.as_wstring(), L"text argument");
}

TEST(Status, DeepCopySharesNothing)
{
    EXPECT_TRUE(polymorphic::DeepCopy(status()).ok());
    status original = status::AtSource(60001, L"1", L"2", "file.cpp", 7);
    const status copy = polymorphic::DeepCopy(original);
    EXPECT_EQ(copy, original);
    EXPECT_NE(copy.details(), original.details());
    EXPECT_NE(copy.details()->argument(1).data(), original.details()->argument(1).data());
    original = status();
    EXPECT_EQ(copy, status::AtSource(60001, L"1", L"2", "file.cpp", 7));
}

TEST(Status, KeepsLongTextsEmptyOnesAndEmbeddedZeros)
{
    const std::wstring longText(100000, L'x'), zero(L"a\0b", 3);
    const status error(longText, L"", zero);
    EXPECT_EQ(error.details()->message_template(), longText);
    EXPECT_EQ(error.details()->argument(1), L"");
    EXPECT_EQ(error.details()->argument(2), zero);
    EXPECT_TRUE(error.details()->source_file().empty() && error.details()->source_line() == -1);
}

TEST(Status, TemplatesNeverReachPastTheFiveArguments)
{
    EXPECT_EQ(status(60001, L"1", L"2", L"3", L"4", L"5").as_wstring(),
              L"one 1 two 2 three 3 four 4 five 5 six %s");
    EXPECT_EQ(status(L"%s-%s-%s-%s-%s-%s", L"one", L"%s", L"", L"4", L"5").as_wstring(),
              L"one-%s--4-5-%s");
    EXPECT_EQ(status(L"%d%%: %5.1f|%8s", L"one", L"%s").as_wstring(), L"one%:    %s|        ");
    EXPECT_EQ(status(60001, L"%s", L"%d").as_wstring().substr(0, 13), L"one %s two %d");
}

TEST(StatusException, CarriesTheStatusAndItsNarrowText)
{
    const gtl::status_exception thrown(status(L"pressure %s", L"5"));
    EXPECT_STREQ(static_cast<const std::exception&>(thrown).what(), "pressure 5");
    EXPECT_EQ(thrown.status(), status(L"pressure %s", L"5"));
}
