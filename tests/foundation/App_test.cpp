#include "VirtualSlot.h"
#include "foundation/AnalysisKind.h"
#include "foundation/App.h"
#include "foundation/gtl_Convert_error_status.h"
#include "foundation/gtl_range_error.h"
#include "platform/platform_library.h"
#include "support/Threads.h"

#include <gmock/gmock.h>

namespace
{
struct Early
{
    gtl::status made{24181};
    ~Early() { made = gtl::status(24181); } // also after main
};
Early early;
} // namespace

TEST(App, KeepsTheFixedPositionsOfItsOperations)
{
    EXPECT_EQ(VirtualSlot(&IApp::MessageText), 6u);
    EXPECT_EQ(VirtualSlot(&AppImpl::SetResourceModule), 10u);
}

TEST(App, GivesTheProgramsTextsAndEmptyOnesForUnknownCodes)
{
    IApp& app = App::Instance();
    EXPECT_EQ(app.MessageText(60000), L"quote \" backslash \\ percent %% line\nend, \x00e9\x03b1");
    EXPECT_EQ(app.MessageText(60003), std::wstring(2046, L'x') + L'y'); // cut
    for (const unsigned code : {0u, 1u, 59999u, 65535u, 65536u + 60000u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(app.MessageText(code), L"") << code;
        EXPECT_FALSE(app.HasMessageText(code)) << code;
    }
    EXPECT_TRUE(app.HasMessages(nullptr));
    EXPECT_EQ(app.ProgramName(), L"test_foundation");
    EXPECT_THAT(app.ProgramPath(), testing::HasSubstr(L"test_foundation"));
    EXPECT_EQ(app.ResourceModulePath(), app.ProgramPath());
}

TEST(App, ServesConstructorsOfStaticObjects)
{
    EXPECT_EQ(early.made.as_wstring(), App::Instance().MessageText(24181));
    EXPECT_NE(early.made.as_wstring(), L"");
}

TEST(App, TakesTextsFromAnotherModuleWhileOldStatusesKeepTheirs)
{
    AppImpl& app = App::Instance();
    const gtl::status before(24181);
    const gtl::status failed = app.LoadResourceModule(L"no such library");
    ASSERT_FALSE(failed.ok());
    EXPECT_EQ(failed.details()->argument(1), L"no such library");
    EXPECT_NE(failed.details()->argument(2), L"");
    EXPECT_EQ(app.ResourceModule(), nullptr);

    ASSERT_TRUE(app.LoadResourceModule(KVI_TEST_TEXTS).ok());
    EXPECT_EQ(gtl::status(24181).as_wstring(), L"Une erreur inconnue.");
    EXPECT_EQ(app.MessageText(60000), L"");
    EXPECT_NE(app.MessageTextOf(nullptr, 60000), L"");
    EXPECT_THAT(app.ResourceModulePath(), testing::HasSubstr(L"test_texts"));
    EXPECT_EQ(before, early.made);

    // A text that the host lacks: its template is empty, its message English or a list.
    const gtl::status path(20521, L"x:y"), unknown(59999, L"a", L"", L"100%");
    EXPECT_EQ(path.details()->message_template(), L"");
    EXPECT_EQ(path.as_wstring(), L"x:y is not a valid path.");
    EXPECT_EQ(unknown.as_wstring(), L"message 59999: a; 100%");
    EXPECT_EQ(gtl::status(59999).as_wstring(), L"message 59999");
    EXPECT_NE(gtl::status(59999), gtl::status(59998));
    EXPECT_EQ(polymorphic::DeepCopy(unknown).code(), 59999u);
    EXPECT_EQ(unknown.code() + gtl::status(L"text").code() + gtl::status().code(), 59999u);
    EXPECT_EQ(app.MessageText(21652), L"");
    EXPECT_EQ(gtl::Convert_error_status::GetNumberString(), L"whole number");
    // A bound that is not there is not passed, whatever the host's text asks for.
    EXPECT_EQ(gtl::impl::range_error::Description(L"1", L"2", gtl::bound_kind::inclusive,
                                                  gtl::bound_kind::none),
              L"from 1 ()");

    app.ResetResourceModule();
    EXPECT_EQ(gtl::status(24181), before);
}

TEST(App, FindsAPlugInsTextsAndAsksTheHostsFunctionFirst)
{
    AppImpl& app = App::Instance();
    platform::Module const plugIn =
        platform::LoadModule(KVI_TEST_TEXTS, platform::SymbolScope::own);
    ASSERT_NE(plugIn, nullptr);
    const void* inside = platform::Symbol(plugIn, "kvi_string_table");
    inside = inside != nullptr ? inside : plugIn; // on Windows the handle is an address
    EXPECT_EQ(app.MessageText(61000), L"");
    EXPECT_TRUE(app.AddTextsOf(inside));
    EXPECT_TRUE(app.AddTextsOf(inside));
    EXPECT_EQ(gtl::status(61000, L"x").as_wstring(), L"only x here");
    EXPECT_EQ(app.MessageText(24181), early.made.details()->message_template()); // the host's
    app.SetTextFunction([](unsigned code) { return code == 24181 ? L"asked" : nullptr; });
    EXPECT_EQ(app.MessageText(24181) + app.MessageText(61000), L"askedonly %s here");
    app.SetTextFunction(nullptr);
    app.RemoveTextsOf(inside);
    EXPECT_EQ(app.MessageText(24181) + app.MessageText(61000), early.made.as_wstring());
    int onTheStack = 0;
    EXPECT_FALSE(app.AddTextsOf(&onTheStack));
}

TEST(App, AnswersManyThreadsAtOnce)
{
    std::wstring texts[4];
    support::OnThreads(4, [&](int t) { texts[t] = gtl::status(24181).as_wstring(); });
    EXPECT_THAT(texts, testing::Each(early.made.as_wstring()));
}

TEST(AnalysisKind, HasItsNames)
{
    for (const char* name :
         {"solvera", "tremova", "percova", "deforma", "stabra", "thermova", "vadova", "aerova"})
        EXPECT_EQ(analysiskind::LookupNameByKind(analysiskind::KindByLookupName(name)), name);
    EXPECT_EQ(analysiskind::KindByLookupName("deforma"), AnalysisKind{3});
    for (const char* none : {"", "Percova", "percova ", "none"})
        EXPECT_EQ(analysiskind::KindByLookupName(none), AnalysisKind{2147483647});
    for (const int number : {-1, 8, 2147483647})
        EXPECT_EQ(analysiskind::LookupNameByKind(AnalysisKind{number}), "");
}
