#include "foundation/gtl_impl_is_valid_from.h"
#include "foundation/math_impl_ConvertInt.h"

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

using math::impl::ConvertInt;

namespace
{
template <class T>
T Read(const std::wstring& text)
{
    T value = 55;
    ConvertInt<T>::from_string(value, text);
    return value;
}

template <class T, class... Base>
T Read(const std::string& text, Base... base)
{
    T narrow = 55, wide = 56;
    ConvertInt<T>::from_string(narrow, text, base...);
    ConvertInt<T>::from_string(wide, std::wstring(text.begin(), text.end()), base...);
    EXPECT_EQ(narrow, wide) << text;
    return narrow;
}

template <class T>
std::string Write(T value, int base)
{
    std::string narrow = "old";
    std::wstring wide = L"old";
    ConvertInt<T>::to_string(narrow, value, base);
    ConvertInt<T>::to_string(wide, value, base);
    EXPECT_EQ(std::wstring(narrow.begin(), narrow.end()), wide);
    return narrow;
}
} // namespace

TEST(ConvertInt, ReadsDecimalTextByItsOwnRules)
{
    const std::pair<std::string, int> rows[] = {
        {"-", 0},   {"4294967297", 1},           {"+", 0},     {"\t\r\n\v\f+7", 7},
        {"-0", 0},  {"2147483648", INT_MIN},     {"42", 42},   {"-2147483648", INT_MIN},
        {"007", 7}, {"99999999999", 1215752191}, {"  42", 42},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(Read<int>(text), expected) << text;
    for (const char* text : {"", "   ", "42 ", "4x", "--4", "- 4", "0x1F", "1.0"})
        EXPECT_EQ(Read<int>(std::string(text)), INT_MAX) << text;
    EXPECT_EQ(Read<int>(std::string("4\0", 2)), INT_MAX);
    EXPECT_EQ(Read<int>(std::wstring(L"\u2003\u00a042")), 42);
    EXPECT_EQ(Read<int>(std::wstring(L"4\u0662")), INT_MAX); // an Arabic digit
    EXPECT_EQ(Read<int>(std::string("\xc2\xa0") + "42"), INT_MAX);
}

TEST(ConvertInt, SeesEveryCharacterThatIsNoDigit)
{
    const std::wstring digits = L"123456789012";
    for (std::size_t size = 1; size <= digits.size(); ++size)
    {
        const std::wstring text = digits.substr(0, size);
        long long expected = 0;
        for (const wchar_t c : text)
            expected = expected * 10 + (c - L'0');
        EXPECT_EQ(Read<long long>(std::string(text.begin(), text.end())), expected);
        for (std::size_t at = 1; at < size; ++at)
            for (const unsigned stray :
                 {0x2fu, 0x3au, 0x00u, 0x130u, 0xff31u, 0x7f31u, 0xfffffff4u})
            {
                std::wstring wide = text;
                wide[at] = wchar_t(stray);
                EXPECT_EQ(Read<int>(wide), INT_MAX) << size << ' ' << at << ' ' << stray;
                std::string narrow(text.begin(), text.end());
                narrow[at] = char(stray > 0x100 ? 0xb1 : stray);
                EXPECT_EQ(Read<int>(narrow), INT_MAX) << size << ' ' << at << ' ' << stray;
            }
    }
}

template <class T>
class ConvertIntOf : public testing::Test
{
};
using AllTypes = testing::Types<char, unsigned char, short, unsigned short, int, unsigned int, long,
                                unsigned long, long long, unsigned long long>;
TYPED_TEST_SUITE(ConvertIntOf, AllTypes);

TYPED_TEST(ConvertIntOf, HasItsLargestValueForUnreadableTextAndWrapsInItsWidth)
{
    using T = TypeParam;
    T largest = std::numeric_limits<T>::max();
    if (std::is_same_v<T, long>)
        largest = T(0x7fffffff);
    if (std::is_same_v<T, unsigned long>)
        largest = T(0xffffffffu);
    EXPECT_EQ(Read<T>(std::string("x")), largest);
    EXPECT_EQ(Read<T>(std::wstring()), largest);
    EXPECT_EQ(Read<T>("", 10), largest);
    EXPECT_EQ(Read<T>(std::to_string(largest)), largest);
    // One more than the largest value is the smallest.
    const T smallest = std::is_signed_v<T> ? T(-largest - 1) : T(0);
    EXPECT_EQ(Read<T>(std::to_string(static_cast<unsigned long long>(largest) + 1)),
              sizeof(T) == 8 && largest == std::numeric_limits<T>::max() && std::is_unsigned_v<T>
                  ? T(0)
                  : smallest);
    EXPECT_EQ(Read<T>(std::string("-1")), std::is_signed_v<T> ? T(-1) : largest);
    for (int base : {2, 7, 10, 16, 36})
        EXPECT_EQ(Read<T>(Write<T>(T(101), base), base), T(101)) << base;
}

TEST(ConvertInt, ReadsInABaseAsA32BitStrtol)
{
    const std::tuple<const char*, int, int> rows[] = {
        {"-", 10, 0},   {"017", 0, 15},   {"FFz", 16, 255},
        {" ", 10, 0},   {"abc", 10, 0},   {"12abc", 10, 12},
        {"12", 1, 0},   {"12", -10, 0},   {" -12", 10, -12},
        {"019", 0, 1},  {"+12", 10, 12},  {"0xff", 16, 255},
        {"19", 0, 19},  {"0X1f", 0, 31},  {"2147483648", 10, INT_MAX},
        {"12", 37, 0},  {"0x1f", 10, 0},  {"-2147483649", 10, INT_MIN},
        {"0xg", 16, 0}, {"zz", 36, 1295}, {"99999999999999999999", 10, INT_MAX},
    };
    for (const auto& [text, base, expected] : rows)
    {
        EXPECT_EQ(Read<int>(text, base), expected) << text << ' ' << base;
        EXPECT_EQ(Read<long>(text, base), expected) << text << ' ' << base;
        EXPECT_EQ(Read<unsigned int>(text, base), unsigned(expected)) << text << ' ' << base;
    }
    EXPECT_EQ(Read<unsigned long>("4294967295", 10), 2147483647ul);
    EXPECT_EQ(Read<unsigned long>("-1", 10), 0xfffffffful);
    EXPECT_EQ(Read<long long>("-9223372036854775809", 10), LLONG_MIN);
    EXPECT_EQ(Read<unsigned long long>("ffffffffffffffff", 16), 0x7fffffffffffffffull);
}

TEST(ConvertInt, WritesASignInEveryBase)
{
    EXPECT_EQ(Write(-255, 16), "-ff");
    EXPECT_EQ(Write(INT_MIN, 2), "-1" + std::string(31, '0'));
    EXPECT_EQ(Write(ULLONG_MAX, 36), "3w5e11264sgsf");
    EXPECT_EQ(Write<char>(65, 10), "65");
    EXPECT_EQ(Write(5, 1) + Write(5, 37), "");
}

TEST(IsValidFrom, LooksAtTheCharactersOnly)
{
    using namespace gtl::impl;
    for (const char* text : {" 1.5e-3\t", "1-2", "", " ", "e", "+.E"})
        EXPECT_TRUE(is_float_valid_from(std::string(text), false)) << text;
    for (const char* text : {"1,5", "0x1", "1 2", "inf", "1f"})
        EXPECT_FALSE(is_float_valid_from(std::string(text), true)) << text;
    EXPECT_TRUE(is_float_valid_from(std::wstring(L"\u20031.5\u00a0"), false));
    EXPECT_TRUE(is_integral_valid_from(std::string(" -12 "), false));
    EXPECT_FALSE(is_integral_valid_from(std::wstring(L"1e3"), false));
    EXPECT_FALSE(is_integral_valid_from(std::wstring(L"\u0131"), false)); // low byte is '1'
}
