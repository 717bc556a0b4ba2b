#include "foundation/math_impl_ConvertFloat.h"
#include "support/Numbers.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <clocale>
#include <cmath>
#include <random>

using math::RoundType;
using math::impl::ConvertFloat;

namespace
{
constexpr double kInf = support::kInfinity;

template <class T = double>
T Read(const std::string& text)
{
    T narrow = -1, wide = -2;
    ConvertFloat<T>::from_string(narrow, text);
    ConvertFloat<T>::from_string(wide, std::wstring(text.begin(), text.end()));
    EXPECT_TRUE(narrow == wide || (narrow != narrow && wide != wide)) << text;
    return narrow;
}

template <class T>
std::string Write(T value, unsigned digits, RoundType round)
{
    std::string narrow = "old";
    std::wstring wide = L"old";
    ConvertFloat<T>::to_string(narrow, value, digits, round);
    ConvertFloat<T>::to_string(wide, value, digits, round);
    EXPECT_EQ(std::wstring(narrow.begin(), narrow.end()), wide);
    return narrow;
}
} // namespace

TEST(ConvertFloat, ReadsTheWholeTextOrGivesTheLargestValue)
{
    const std::pair<const char*, double> rows[] = {
        {"5.", 5},     {"1e-999", 0},   {"-1e999", -kInf},    {"0e99999999999999999999", 0},
        {"1.5", 1.5},  {"1E-2", 0.01},  {" \t+1.5e3", 1500},  {"1e99999999999999999999", kInf},
        {"-.5", -0.5}, {"1e999", kInf}, {"-Infinity", -kInf}, {"4.9406564584124654e-324", 5e-324},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(Read(text), expected) << text;
    const std::string tie = "9007199254740993"; // to even
    EXPECT_EQ(Read(tie), 9007199254740992.0);
    EXPECT_EQ(Read(tie + ".00000000000000000000000000000000001"), 9007199254740994.0);
    for (const char* text :
         {"", " ", "1.5 ", "1,5", "0x10", "1e", "1e+", "e5", ".", "--1", "+-1", "1.5.2", "inf8"})
    {
        EXPECT_EQ(Read<double>(text), std::numeric_limits<double>::max()) << text;
        EXPECT_EQ(Read<float>(text), std::numeric_limits<float>::max()) << text;
        EXPECT_EQ(Read<long double>(text), std::numeric_limits<long double>::max()) << text;
    }
    EXPECT_TRUE(std::isnan(Read("NaN")) && std::signbit(Read("-0")));
    EXPECT_EQ(Read<float>("16777217"), 16777216.0f);
}

TEST(ConvertFloat, ReadsANumberFromTheFront)
{
    const std::string text = "+1.25e2;nan";
    double value = 7;
    const char* const last = text.data() + text.size();
    EXPECT_EQ(ConvertFloat<double>::read(value, text.data(), last), text.data() + 7);
    EXPECT_EQ(value, 125);
    EXPECT_EQ(ConvertFloat<double>::read(value, text.data() + 7, last), text.data() + 7);
    EXPECT_EQ(value, 125);
    EXPECT_EQ(ConvertFloat<double>::read(value, text.data() + 8, last), last);
    EXPECT_EQ(ConvertFloat<double>::read(value, last, last), last);
}

TEST(ConvertFloat, RoundsByItsType)
{
    // As decimals and as significant digits: half to even, half away, truncated.
    const std::tuple<double, unsigned, std::array<const char*, 6>> rows[] = {
        {0.125, 2, {"0.12", "0.13", "0.12", "0.12", "0.13", "0.12"}},
        {-2.5, 0, {"-2", "-3", "-2", "-2", "-3", "-2"}},
        {1.005, 2, {"1.00", "1.00", "1.00", "1", "1", "1"}},
        {999.96, 1, {"1000.0", "1000.0", "999.9", "1e+03", "1e+03", "9e+02"}},
        {0.0625, 0, {"0", "0", "0", "0.06", "0.06", "0.06"}},
        {0.5, 0, {"0", "1", "0", "0.5", "0.5", "0.5"}},
        {99999.5, 5, {"99999.50000", "99999.50000", "99999.50000", "1e+05", "1e+05", "99999"}},
        {-0.0, 1, {"-0.0", "-0.0", "-0.0", "-0", "-0", "-0"}},
        {1.5e-9, 3, {"0.000", "0.000", "0.000", "1.5e-09", "1.5e-09", "1.49e-09"}},
        {-kInf, 3, {"-inf", "-inf", "-inf", "-inf", "-inf", "-inf"}},
    };
    for (const auto& [value, digits, texts] : rows)
        for (int i = 0; i < 6; ++i)
        {
            const auto first = i < 3 ? RoundType::decimals : RoundType::significant;
            const auto round = RoundType(int(first) + i % 3);
            EXPECT_EQ(Write(value, digits, round), texts[std::size_t(i)]) << value << i;
            if (i < 3)
                EXPECT_EQ(Write((long double)(value), digits, round), texts[std::size_t(i)])
                    << value << i;
        }
    EXPECT_EQ(Write(1.5, 0xffffffff, RoundType::decimals).size(), 20002u);
    EXPECT_EQ(Write(0.1f, 12, RoundType::significant), "0.10000000149");
}

TEST(ConvertFloat, ShortestTextReadsBack)
{
    const std::pair<double, const char*> rows[] = {
        {0.1, "0.1"}, {-1e5, "-100000"},  {1.7976931348623157e308, "1.7976931348623157e+308"},
        {0.0, "0"},   {5e-324, "5e-324"}, {-1.5e300, "-1.5e+300"},
    };
    for (const auto& [value, text] : rows)
        EXPECT_EQ(Write(value, 3, RoundType::shortest), text);
    EXPECT_EQ(Write(0.1f, 3, RoundType::shortest), "0.1");
    std::mt19937_64 random(22);
    for (int i = 0; i < 300; ++i)
    {
        const double value = std::bit_cast<double>(random());
        if (!std::isfinite(value))
            continue;
        EXPECT_EQ(Read(Write(value, 0, RoundType::shortest)), value);
        // A neighbour that only the wider type can hold, where it is wider.
        const long double wide = std::nextafter((long double)(value), 0.0L);
        EXPECT_EQ(Read<long double>(Write(wide, 0, RoundType::shortest)), wide);
    }
}

TEST(ConvertFloat, HandlesTheEndsOfLongDouble)
{
    using Limits = std::numeric_limits<long double>;
    for (const long double value : {Limits::max(), Limits::min(), Limits::denorm_min(),
                                    std::nextafter(Limits::min(), 0.0L), 1 + Limits::epsilon()})
    {
        const std::string text = Write(value, 20000, RoundType::significant); // every digit
        EXPECT_EQ(Read<long double>(text), value) << text.substr(0, 30);
        EXPECT_EQ(Read<long double>(text.substr(0, text.find('e')) + "e-99999"), 0.0L);
    }
    // Half of the smallest value goes to zero, anything more to the smallest.
    std::string digits = Write(Limits::denorm_min(), 20000, RoundType::decimals).substr(2);
    int carry = 0;
    for (char& digit : digits)
    {
        const int twice = carry * 10 + (digit - '0');
        digit = char('0' + twice / 2);
        carry = twice % 2;
    }
    EXPECT_EQ(Read<long double>("0." + digits), 0.0L);
    EXPECT_EQ(Read<long double>("0." + digits + "1"), Limits::denorm_min());
}

#if defined(__GLIBC__) // whose conversions are exact
TEST(ConvertFloat, EqualsTheCLibraryForLongDouble)
{
    std::mt19937_64 random(23);
    char text[6000];
    for (int i = 0; i < 1000; ++i)
    {
        const int spread = i % 64 == 0 ? 16000 : 60;
        const long double value =
            std::ldexp((long double)(random()), int(random() % unsigned(2 * spread)) - spread - 63);
        const unsigned places = unsigned(random() % 25);
        std::snprintf(text, sizeof text, "%.*Lf", int(places), value);
        ASSERT_EQ(Write(value, places, RoundType::decimals), text);
        std::snprintf(text, sizeof text, "%.*Lg", int(places), value);
        ASSERT_EQ(Write(value, places, RoundType::significant), text);
        ASSERT_EQ(Read<long double>(text), std::strtold(text, nullptr)) << text;
    }
}
#endif

TEST(ConvertFloat, IsTheSameUnderEveryProcessLocale)
{
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const bool comma = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr ||
                       std::setlocale(LC_ALL, "German_Germany") != nullptr;
    EXPECT_EQ(Read("1.5"), 1.5);
    EXPECT_EQ(Write(1.5, 1, RoundType::decimals), "1.5");
    EXPECT_EQ(Write(std::nextafter(1.5L, 2.0L), 1, RoundType::decimals), "1.5");
    std::setlocale(LC_ALL, before.c_str());
    if (!comma)
        GTEST_SKIP() << "the machine has no locale with a decimal comma";
}
