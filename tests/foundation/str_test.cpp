#include "foundation/str.h"
#include "foundation/str_load_wstring.h"
#include "foundation/str_locale.h"
#include "platform/platform_env.h"
#include "platform/platform_text.h"
#include "platform/platform_utf8.h"

#include <gtest/gtest.h>

#include <numeric>
#include <thread>

namespace
{
TEST(Text, TrimsEachEnd)
{
    std::wstring all = L"\u00a0 a b\t\r\n", left = L"  x ", right = left, blank = L" \t ";
    str::trim(all);
    str::trim_left(left);
    str::trim_right(right);
    str::trim(blank);
    EXPECT_EQ(all + L'|' + left + L'|' + right + L'|' + blank, L"a b|x |  x|");
    std::string bytes = "\xA0 \xC3\xA9 "; // a byte above 127 is no white space
    str::trim(bytes);
    EXPECT_EQ(bytes, "\xA0 \xC3\xA9");
}

TEST(Text, ReplacesInOnePass)
{
    const std::tuple<std::string, std::string, std::string, std::string> rows[] = {
        {"aaa", "a", "aa", "aaaaaa"}, {"abc", "", "x", "abc"},
        {"a.b.c", ".", "", "abc"},    {"aaa", "aa", "b", "ba"},
        {"", "a", "b", ""},           {std::string("a\0b", 3), std::string("\0", 1), "-", "a-b"},
    };
    for (auto [s, what, with, expected] : rows)
    {
        str::replace_all(s, what, with);
        EXPECT_EQ(s, expected);
    }
    std::string once = "aabb", self = "ab";
    str::erase_all(once, std::string("ab"));
    EXPECT_EQ(once, "ab"); // what moved together stays
    str::replace_all(self, self, self);
    EXPECT_EQ(self, "ab");
    str::erase_all(self, self);
    EXPECT_EQ(self, "");
}

TEST(Text, JoinsWithASeparatorBetween)
{
    EXPECT_EQ(str::join<std::wstring>({L"a", L"", L"c"}, L"; "), L"a; ; c");
    EXPECT_EQ(str::join<std::string>({}, ";"), "");
}

TEST(Text, GetsANumberWhereADescriptionIsTaken)
{
    const std::vector<std::wstring> taken = {L"Fill", L"FILL (2)", L"fill (4)"};
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"fILL", L"fILL (3)"}, {L"Clay", L"Clay"}, {L"Fill (2)", L"Fill (2) (2)"}};
    for (const auto& [wanted, unique] : rows)
        EXPECT_EQ(str::GenerateUniqueDesriptionIgnoreCase(wanted, taken), unique);
}

TEST(Text, ComesFromTheApplicationByCode)
{
    EXPECT_EQ(str::load_wstring(60002), L"number %d in a text %n");
    EXPECT_EQ(str::load_wstrings({60002, 59999}),
              (std::vector<std::wstring>{L"number %d in a text %n", L""}));
    std::jthread([] { // a thread's default locale ends with it
        str::locale::set_thread_default(str::locale::invariant());
        EXPECT_EQ(str::joinLanguage({L"a", L"b", L"c"}), L"a, b, c");
    });
}

TEST(Text, ComparesWithoutCaseTheSameInEveryLocale)
{
    EXPECT_EQ(str::compare_ignore_case(L"\u00c9COLE \u03a3\u0416 I", L"\u00e9cole \u03c3\u0436 i"),
              0);
    EXPECT_EQ(str::compare_ignore_case(L"\U00010400", L"\U00010428"), 0); // Deseret
    EXPECT_EQ(str::compare_ignore_case(L"I", L"\u0131"), -1);             // never the Turkish pair
    EXPECT_EQ(str::compare_ignore_case(L"ab", L"ABC"), -1);
    EXPECT_EQ(str::compare_ignore_case(L"b", L"A"), 1);
    EXPECT_EQ(str::compare_ignore_case("Math_", "mATH"), 1);
    EXPECT_EQ(str::compare_ignore_case("[", "A"), -1); // 'a' is above, 'A' below: folding is down
    EXPECT_EQ(str::ascii_lower("MATH \xC3\x89"), "math \xC3\x89");
}

TEST(Utf8, ReplacesWhatIsInvalidAndKeepsItsNeighbours)
{
    const std::pair<std::string, std::wstring> rows[] = {
        {"a\xC3\xA9\xE2\x82\xACz", L"a\u00e9\u20acz"},
        {"\xF0\x9F\x98\x80", L"\U0001F600"},
        {"x\x80y", L"x\uFFFDy"},                           // a lone continuation
        {"x\xC3", L"x\uFFFD"},                             // cut at the end
        {"x\xE2\x82y", L"x\uFFFDy"},                       // one piece, one replacement
        {"\xC0\xAF", L"\uFFFD\uFFFD"},                     // overlong
        {"\xE0\x80\x80", L"\uFFFD\uFFFD\uFFFD"},           // overlong
        {"\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"},           // a surrogate
        {"\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD"}, // past the last character
        {std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
        {"12345678\xFF"
         "12345678",
         L"12345678\uFFFD12345678"},
    };
    for (const auto& [bytes, wide] : rows)
        EXPECT_EQ(str::as_wstring(str::u8string(bytes)), wide) << bytes;
}

TEST(Utf8, WritesALoneSurrogateAsReplacement)
{
    const wchar_t high = 0xD83D, low = 0xDE00;
    const std::wstring text = {L'a', high, L'b', low, L'c', L'\0', high};
    EXPECT_EQ(str::as_u8string(text).bytes(), std::string("a\xEF\xBF\xBD"
                                                          "b\xEF\xBF\xBD"
                                                          "c\0\xEF\xBF\xBD",
                                                          13));
    EXPECT_EQ(str::as_u8string(L"\U0010FFFFz"), str::u8string(u8"\U0010FFFFz"));
}

TEST(NarrowText, GoesThroughTheCodePageAndBack)
{
    std::wstring ascii(128, L'\0');
    std::iota(ascii.begin(), ascii.end(), L'\0');
    EXPECT_EQ(str::as_wstring(str::as_cstring(ascii)), ascii); // zeros as well
    EXPECT_EQ(str::as_wstring("abc", 2), L"ab");
    EXPECT_EQ(str::as_wstring(nullptr, 0), L"");
    // Every byte string goes through, whatever it means.
    std::string bytes(255, '\0');
    std::iota(bytes.begin(), bytes.end(), '\1');
    const std::wstring wide = str::as_wstring(bytes + "end");
    EXPECT_EQ(wide.substr(0, 127), ascii.substr(1));
    EXPECT_EQ(wide.substr(wide.size() - 3), L"end");
}

TEST(Environment, DistinguishesUnsetFromSet)
{
    EXPECT_FALSE(platform::Environment(L"KVI_NEVER_SET"));
    EXPECT_TRUE(platform::Environment(L"PATH"));
}
} // namespace
