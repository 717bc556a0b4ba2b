#include "foundation/str_fmt.h"
#include "support/Numbers.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
constexpr double kInf = support::kInfinity;

template <class T>
void ExpectAsPrintf(const char* format, T value)
{
    char expected[512];
    std::snprintf(expected, sizeof expected, format, value);
    EXPECT_EQ(str::sprintf(format, value), expected) << format << ' ' << value;
}

TEST(Formatter, WritesNumbersAsCPrintfDoes)
{
    const std::vector<const char*> formats = {
        "%f",    "%.0f",   "%.20f", "%e",     "%.3E",     "%g",      "%G",
        "%#g",   "%#.3g",  "%#.0f", "%12.3f", "%-12.3f|", "%012.3f", "%+.2f",
        "% .2f", "%+012g", "%.17g", "%F",     "%#.0e",
    };
    const std::vector<double> values = {0.0,   -0.0,      1.0,    -1.5,   0.1,    123456789.0,
                                        1e-5,  0.0001234, 1e308,  -1e308, 5e-324, 999998.5,
                                        1e100, 2.5,       100000, 1e6,    kInf,   -kInf};
    for (const char* format : formats)
        for (double value : values)
            ExpectAsPrintf(format, value);
    EXPECT_EQ(str::sprintf("%f %5.1F %05g", std::nan(""), std::nan(""), std::nan("")),
              "nan   NAN   nan");
    EXPECT_EQ(str::sprintf(L"%.20f", 1e308).size(), 309u + 21u);
}

TEST(Formatter, WritesIntegersAsCPrintfDoes)
{
    for (const char* format :
         {"%d", "%i", "%5d|", "%-5d|", "%05d", "%+d", "% d",   "%.3d", "%.0d",  "%8.3d",  "%08.3d",
          "%x", "%X", "%#x",  "%#X",   "%o",   "%#o", "%#.3o", "%u",   "%#10x", "%#010x", "%+5.2i"})
        for (int value : {0, 1, -1, 42, -42, 255, 65535, std::numeric_limits<int>::min()})
            ExpectAsPrintf(format, value);
    EXPECT_EQ(str::sprintf("%lld %I64u %x", std::numeric_limits<long long>::min(),
                           std::numeric_limits<unsigned long long>::max(), short{-1}),
              "-9223372036854775808 18446744073709551615 ffff");
    EXPECT_EQ(str::sprintf("%d", 3000000000u), "3000000000"); // its own value, never wrapped
}

TEST(Formatter, InsertsTextsAndCharacters)
{
    EXPECT_EQ(str::sprintf(L"%s|%S|%6s|%-6s|%.2s", "narrow", L"wide", L"ab", "cd", L"xyz"),
              L"narrow|wide|    ab|cd    |xy");
    EXPECT_EQ(str::sprintf("%s %c%c%c", std::wstring(L"wide"), 'a', L'b', 99), "wide abc");
    EXPECT_EQ(str::sprintf("%s", static_cast<const char*>(nullptr)), "(null)");
    EXPECT_EQ(str::sprintf(L"%s", str::u8string(u8"é€")), L"\u00e9\u20ac");
    EXPECT_EQ(str::sprintf("%p %p", static_cast<void*>(nullptr), reinterpret_cast<int*>(0xbeef)),
              "0x0 0xbeef");
    EXPECT_EQ(str::sprintf("%r %r %r", 0.1, 7, "text"), "0.1 7 text");
    EXPECT_EQ(str::sprintf(L"%c", 0x1F600).size(), sizeof(wchar_t) == 2 ? 2u : 1u);
    EXPECT_EQ(str::sprintf(L"%.1s", L"\U0001F600"), sizeof(wchar_t) == 2 ? L"" : L"\U0001F600");
}

TEST(Formatter, WritesAMismatchedArgumentInItsOwnForm)
{
    EXPECT_EQ(str::sprintf("%d %x %f %s %s %g", "text", 1.5, L"t", 3, true, 2),
              "text 1.5 t 3 true 2");
    EXPECT_EQ(str::sprintf("%d %s", 'A', 'A'), "65 A");
}

TEST(Formatter, NeverTrustsItsFormat)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},        {"100%", "100%"},       {"%", "%"},    {"%.*f", "%.*f"},
        {"%%", "%"},     {"%*d %s", "%*d A"},    {"%5", "%5"},  {"end %s", "end A"},
        {"%-", "%-"},    {"%s %5.", "A %5."},    {"%.", "%."},  {"%1$s %s", "%1$s A"},
        {"%l", "%l"},    {"%s%s%s%s", "AB%s%s"}, {"%%%", "%%"}, {"%q %ls %llls", "%q A %llls"},
        {"%n%s", "%nA"},
    };
    for (const auto& [format, expected] : rows)
    {
        EXPECT_EQ(str::sprintf(format, "A", "B"), expected) << format;
        const std::string narrow(format);
        EXPECT_EQ(str::sprintf(std::wstring(narrow.begin(), narrow.end()), L"A", "B"),
                  std::wstring(expected, expected + std::string(expected).size()));
    }
    EXPECT_EQ(str::sprintf("%s and %s", "%s %d", "%n"), "%s %d and %n"); // arguments are no tokens
    EXPECT_EQ(str::sprintf(std::string("a\0%s\0b", 6), std::string("x\0y", 3)),
              std::string("a\0x\0y\0b", 7));
}

TEST(Formatter, BoundsWidthAndPrecision)
{
    EXPECT_EQ(str::sprintf("%1000000d", 1).size(), 4096u);
    EXPECT_EQ(str::sprintf("%99999999999999999999s", "x").size(), 4096u);
    EXPECT_EQ(str::sprintf("%.1000000f", 1.0).size(), 2u + 1100u);
    EXPECT_EQ(str::sprintf("%.1000000d", 1).size(), 1100u);
    EXPECT_EQ(str::sprintf("%#.1000000o", 8).size(), 1100u);
    EXPECT_EQ(str::sprintf("%.1000000f", 1e308).size(), 309u + 1u + 1100u);
    EXPECT_EQ(str::sprintf("%.1000000e", 5e-324).size(), 2u + 1100u + 5u);
    EXPECT_EQ(str::sprintf("%.1000000s", std::string(5000, 'x')).size(), 5000u);
    EXPECT_EQ(str::sprintf(std::string(1000000, '%'), 1).size(), 500000u);
}

TEST(Formatter, SnprintfCutsAndCloses)
{
    char buffer[6] = "?????";
    EXPECT_EQ(str::snprintf(buffer, sizeof buffer, "%d", 1234567), 7u);
    EXPECT_STREQ(buffer, "12345");
    EXPECT_EQ(str::snprintf(buffer, 0, "%d", 1), 1u);
    EXPECT_STREQ(buffer, "12345");
    wchar_t wide[3];
    EXPECT_EQ(str::snprintf(wide, 3, L"%s", "abc"), 3u);
    EXPECT_STREQ(wide, L"ab");
}

TEST(Tokenize, CutsPiecesThatAddUpToTheFormat)
{
    std::wstring format = L"a%% %5d b%n%-3.2f%s tail";
    std::wstring pieces[2];
    str::fmt::arg_type types[2];
    ASSERT_EQ(str::fmt::tokenize(format, 2, pieces, types), 2u);
    EXPECT_EQ(pieces[0] + L'|' + pieces[1] + L'|' + format, L"a%% %5d| b%n%-3.2f|%s tail");
    EXPECT_EQ(types[0], str::fmt::arg_type::signed_integer);
    EXPECT_EQ(types[1], str::fmt::arg_type::real);
    EXPECT_EQ(str::fmt::arg<int>::convert_to_text(pieces[0], 42), L"a%    42");
    std::string none = "100% %";
    EXPECT_EQ(str::fmt::tokenize<std::string>(none, 0, nullptr, nullptr), 0u);
    EXPECT_EQ(none, "100% %");
}
} // namespace
