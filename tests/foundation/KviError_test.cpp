#include "foundation/App.h"
#include "foundation/KVISysMsg.h"
#include "foundation/KviError.h"
#include "foundation/gtl_Convert_error_status.h"
#include "foundation/gtl_range_error.h"
#include "platform/platform_error.h"

#include <gmock/gmock.h>

#include <set>

using gtl::bound_kind;
using gtl::status;

using Texts = std::vector<std::wstring>;

TEST(KviError, FillsEachErrorsCodeAndArguments)
{
    using Convert = gtl::Convert_error_status;
    namespace File = KviError::File;
    const std::tuple<unsigned, status, Texts> rows[] = {
        {20218, Convert::InvalidCharStatus(L"t", L"n"), {L"t", L"n"}},
        {20219, Convert::NotSupportedStatus(L"t", L"n"), {L"t", L"n"}},
        {20220, Convert::OutOfRangeStatus(L"t", L"n"), {L"t", L"n"}},
        {20221, Convert::OverflowStatus(L"t", L"n"), {L"t", L"n"}},
        {20503, KviError::dll_load(L"l", 2), {L"l", KVISysMsg(2)}},
        {20503, KviError::dll_load(L"l", 0), {L"l", L""}},
        {20514, File::shell_missing_association(L"p", L"r"), {L"p", L"r"}},
        {20516, File::copy(L"f", L"t", L"r"), {L"f", L"t", L"r"}},
        {20517, File::create_dir(L"p", L"r"), {L"p", L"r"}},
        {20518, File::del(L"p", L"r"), {L"p", L"r"}},
        {20519, File::find(L"p", L"r"), {L"p", L"r"}},
        {20520, File::get_temp_path(L"r"), {L"r"}},
        {20521, File::invalid_path(L"p"), {L"p"}},
        {20524, File::file_not_found(L"p"), {L"p"}},
        {20526, File::open(L"p", L"r"), {L"p", L"r"}},
        {20527, File::file_path_too_long(L"p", 260), {L"p", L"260"}},
        {20536, File::read(L"p", L"r"), {L"p", L"r"}},
        {20538, File::rename(L"f", L"t", L"r"), {L"f", L"t", L"r"}},
        {20539, File::save_over_readonly(L"p"), {L"p"}},
        {20540, File::set_attrib(L"p", L"r"), {L"p", L"r"}},
        {20541, File::write(L"p", L"r"), {L"p", L"r"}},
        {20654, KviError::unexpected_exception("t"), {L"t"}},
        {20654, KviError::unexpected_exception(L"t"), {L"t"}},
        {20706, KviError::mngsrv(), {}},
        {20754, KviError::syntax("t"), {L"t"}},
        {20754, KviError::syntax(L"t"), {L"t"}},
        {20755, KviError::err_sysserv(L"s", L"r"), {L"s", L"r"}},
        {20755, KviError::err_sysserv(L"s", L"r", L"q"), {L"s", L"r", L"q"}},
        {20758, File::unknown_file_type(L"p"), {L"p"}},
        {24181, KviError::Undefined(), {}},
        {24389, gtl::RangeStatus(L"v", L"d"), {L"v", L"d"}},
    };
    for (const auto& [code, error, arguments] : rows)
    {
        SCOPED_TRACE(code);
        ASSERT_FALSE(error.ok());
        EXPECT_EQ(error.details()->message_template(), App::Instance().MessageText(code));
        EXPECT_NE(error.details()->message_template(), L"");
        for (std::size_t i = 0; i < 5; ++i)
        {
            const std::wstring expected = i < arguments.size() ? arguments[i] : L"";
            EXPECT_EQ(error.details()->argument(static_cast<int>(i) + 1), expected);
            EXPECT_THAT(error.as_wstring(), testing::HasSubstr(expected));
        }
        EXPECT_EQ(error.details()->source_line(), -1);
    }
}

TEST(KviError, ReadsTheSystemsErrorNumberBeforeAnythingElse)
{
    platform::SetLastErrorNumber(2);
    const status service = KviError::err_sysserv(L"CreateMutex");
    EXPECT_EQ(service.details()->argument(1), L"CreateMutex");
    EXPECT_EQ(service.details()->argument(2), KVISysMsg(2));

    platform::SetLastErrorNumber(5);
    const status broken = KviError::internal("n > 0", "file.cpp", 12);
    EXPECT_EQ(broken, status::AtSource(20571, L"n > 0", KVISysMsg(5), "file.cpp", 12));
    platform::SetLastErrorNumber(0);
    EXPECT_EQ(KviError::internal("n > 0", "", 0).details()->argument(2), L"");
}

TEST(KviError, JoinsAndNumbersMessagesLetterForLetter)
{
    const status hostile(L"100%% %s", L"%s %n %%"), plain(L"plain");
    const std::wstring message = L"100% %s %n %%";
    ASSERT_EQ(hostile.as_wstring(), message);
    const status joined = KviError::join(hostile, plain);
    EXPECT_EQ(joined.as_wstring(), message + L"\n\nplain");
    EXPECT_EQ(KviError::join(joined, joined).as_wstring(),
              message + L"\n\nplain\n\n" + message + L"\n\nplain");

    const status list = KviError::compound(hostile, {plain, hostile});
    EXPECT_EQ(list.details()->message_template(), App::Instance().MessageText(20471));
    EXPECT_EQ(list.details()->argument(1), message);
    EXPECT_EQ(list.details()->argument(2), L"\r\n  1. plain\r\n  2. " + message);
    EXPECT_EQ(KviError::compound(plain, {}).details()->argument(2), L"");
}

TEST(KviError, SaysWhichNumberTheSystemDoesNotKnow)
{
    EXPECT_NE(KVISysMsg(2), L"");
    EXPECT_NE(KVISysMsg(2), KVISysMsg(5));
    EXPECT_EQ(KVISysMsg(0xFFFFFFF1ul), status(27505, L"4294967281").as_wstring());
}

TEST(RangeError, DescribesEveryPairOfBounds)
{
    using Range = gtl::impl::range_error;
    const auto none = bound_kind::none, in = bound_kind::inclusive, out = bound_kind::exclusive;
    const std::tuple<bound_kind, bound_kind, unsigned, Texts, std::wstring> rows[] = {
        {none, none, 21622, {}, Range::DescNoLimit()},
        {in, none, 20551, {L"1"}, Range::DescGE(L"1")},
        {out, none, 20564, {L"1"}, Range::DescGT(L"1")},
        {none, in, 20676, {L"2"}, Range::DescLE(L"2")},
        {none, out, 20692, {L"2"}, Range::DescLT(L"2")},
        {in, in, 20452, {L"1", L"2"}, Range::DescInclusiveInclusive(L"1", L"2")},
        {in, out, 20451, {L"1", L"2"}, Range::DescInclusiveExclusive(L"1", L"2")},
        {out, in, 20450, {L"1", L"2"}, Range::DescExclusiveInclusive(L"1", L"2")},
        {out, out, 20449, {L"1", L"2"}, Range::DescExclusiveExclusive(L"1", L"2")},
    };
    std::set<std::wstring> different;
    for (const auto& [lower, upper, code, arguments, named] : rows)
    {
        SCOPED_TRACE(code);
        Texts a = arguments;
        a.resize(2);
        const std::wstring expected = status(code, a[0], a[1]).as_wstring();
        EXPECT_EQ(Range::Description(L"1", L"2", lower, upper), expected);
        EXPECT_EQ(named, expected);
        for (const std::wstring& argument : arguments)
            EXPECT_THAT(expected, testing::HasSubstr(argument));
        different.insert(expected);
        EXPECT_EQ(Range::OutOfBounds(L"9", L"1", L"2", lower, upper),
                  status(23007, L"9", expected));
    }
    EXPECT_EQ(different.size(), 9u);
}

TEST(HostTexts, ExistForTheCodesWithoutAFunctionOfTheirOwn)
{
    for (const unsigned code :
         {20039u, 20449u, 20450u, 20451u, 20452u, 20471u, 20551u, 20564u, 20571u, 20676u, 20692u,
          20854u, 20855u, 20856u, 20898u, 21207u, 21622u, 21632u, 21652u, 23007u, 27505u})
        EXPECT_TRUE(App::Instance().HasMessageText(code)) << code;
}
