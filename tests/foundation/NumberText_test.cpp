#include "foundation/str_fmt_float_cstring.h"
#include "foundation/str_number_impl.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

using str::fmt_float_cstring;
using namespace str::impl;

namespace
{

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::string Fixed(double value, int decimals)
{
    std::string text;
    AppendFixed(text, value, decimals);
    return text;
}

std::string Significant(double value, int digits)
{
    std::string text;
    AppendSignificant(text, value, digits);
    return text;
}

std::string Scientific(double value, int decimals)
{
    std::string text;
    AppendScientific(text, value, decimals);
    return text;
}

// Values of every kind: any bit pattern, a few decimals, exact ties and their neighbours.
double Sample(std::mt19937_64& random)
{
    const std::uint64_t bits = random();
    const double decimal = double(std::int64_t(bits % 2000001) - 1000000);
    switch (bits >> 62)
    {
    case 0:
        return std::bit_cast<double>(random());
    case 1:
        return decimal / std::pow(10.0, double(random() % 9));
    case 2:
        return decimal / double(1 << random() % 12);
    default:
        return std::nextafter(decimal / std::pow(10.0, double(random() % 30)), kInf);
    }
}

} // namespace

TEST(NumberText, IsRightToTheLastDigit)
{
    EXPECT_EQ(Fixed(0.125, 2), "0.12"); // a tie goes to the even digit
    EXPECT_EQ(Fixed(0.375, 2), "0.38");
    EXPECT_EQ(Fixed(1.005, 2), "1.00"); // the double is below 1.005
    EXPECT_EQ(Fixed(2.5, 0), "2");
    EXPECT_EQ(Fixed(-0.0, 2), "-0.00");
    EXPECT_EQ(Fixed(-0.001, 2), "-0.00");
    EXPECT_EQ(Fixed(5e-324, 3), "0.000");
    EXPECT_EQ(Fixed(999.9999999, 3), "1000.000");
    EXPECT_EQ(Fixed(0.1, 20), "0.10000000000000000555");
    EXPECT_EQ(Fixed(1e308, 20).substr(0, 40), "1000000000000000010979063629440455417404");
    EXPECT_EQ(Fixed(1e308, 20).size(), 309u + 1 + 20);
    EXPECT_EQ(Fixed(0.5, 2000), "0.5" + std::string(1999, '0'));
    EXPECT_EQ(Fixed(kInf, 3) + Fixed(-kInf, 3) + Fixed(kNaN, 2000), "inf-infnan");
    EXPECT_EQ(Fixed(1.5, -1), "1.500000");
    EXPECT_EQ(Significant(1.7976931348623157e308, 8), "1.7976931e+308");
    EXPECT_EQ(Significant(5e-324, 8), "4.9406565e-324");
    EXPECT_EQ(Significant(0.00012345, 8), "0.00012345");
    EXPECT_EQ(Significant(0.000012345, 8), "1.2345e-05");
    EXPECT_EQ(Significant(99999999.5, 8), "1e+08");
    EXPECT_EQ(Significant(99999999.0, 8), "99999999");
    EXPECT_EQ(Significant(-0.0, 8), "-0");
    EXPECT_EQ(Significant(1e23, 17), "9.9999999999999992e+22");
    EXPECT_EQ(Scientific(1.5, 3) + Scientific(0, 0), "1.500e+000e+00");
    EXPECT_EQ(Scientific(1, 1100), "1." + std::string(1100, '0') + "e+00");
}

#if defined(__GLIBC__) // whose printf is exact
TEST(NumberText, EqualsTheCLibrarysByteForByte)
{
    std::mt19937_64 random(20);
    char text[1600];
    for (int i = 0; i < 200000; ++i)
    {
        const double value = Sample(random);
        const int places = int(random() % 17) - int(random() % 2);
        std::snprintf(text, sizeof text, "%.*f", places, value);
        ASSERT_EQ(Fixed(value, places), text) << std::hexfloat << value << ' ' << places;
        std::snprintf(text, sizeof text, "%.*g", places, value);
        ASSERT_EQ(Significant(value, places), text) << std::hexfloat << value << ' ' << places;
        std::snprintf(text, sizeof text, "%.*e", places, value);
        ASSERT_EQ(Scientific(value, places), text) << std::hexfloat << value << ' ' << places;
    }
}
#endif

TEST(NumberText, FastPrintersAgreeWithTheExactOne)
{
    std::mt19937_64 random(21);
    char room[kFastRoom];
    int fast = 0;
    for (int i = 0; i < 20000; ++i)
    {
        const double value = Sample(random);
        char exact[400];
        if (char* const end = FastFixed(room, value, 6))
        {
            const auto last = std::to_chars(exact, exact + 400, value, std::chars_format::fixed, 6);
            ASSERT_EQ(std::string(room, end), std::string(exact, last.ptr));
            ++fast;
        }
        if (char* const end = FastSignificant(room, value, 8))
        {
            const auto last =
                std::to_chars(exact, exact + 400, value, std::chars_format::general, 8);
            ASSERT_EQ(std::string(room, end), std::string(exact, last.ptr));
            ++fast;
        }
        if (char* const end = FastScientific(room, value, 3))
        {
            const auto last =
                std::to_chars(exact, exact + 400, value, std::chars_format::scientific, 3);
            ASSERT_EQ(std::string(room, end), std::string(exact, last.ptr));
            ++fast;
        }
        const int decimals = int(random() % 8), keep = int(random() % 8);
        ASSERT_EQ(fmt_float_cstring(value, decimals, keep),
                  fmt_float_cstring(Fixed(value, decimals), keep))
            << std::hexfloat << value << ' ' << decimals << ' ' << keep;
    }
    EXPECT_GT(fast, 40000); // most values need no second look
}

TEST(NumberText, FindsTheExponentBesideEveryPowerOfTen)
{
    for (int power = -307; power <= 308; ++power)
    {
        const double ten = std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
        for (const double value : {0.9992 * ten, 0.9997 * ten, 0.9999 * ten, std::nextafter(ten, 0),
                                   ten, std::nextafter(ten, kInf)})
        {
            char exact[64];
            const auto last =
                std::to_chars(exact, exact + 64, value, std::chars_format::scientific, 9);
            ASSERT_EQ(Scientific(value, 9), std::string(exact, last.ptr));
        }
    }
}

TEST(FmtFloatCstring, TrimsTrailingZerosBehindTheKeptOnes)
{
    const struct
    {
        const char* text;
        int keep;
        const char* expected;
    } rows[] = {
        {"1.25000", 2, "1.25"},  {"1.25000", 0, "1.25"}, {"1.25000", 4, "1.2500"},
        {"2.000", 0, "2."},      {"2.000", 1, "2.0"},    {"2.000", 9, "2.000"},
        {"100", 0, "100"},       {"100", 1, "1"},        {"100", 2, "10"},
        {"000", 1, "0"},         {"100", 9, "100"},      {"", 3, ""},
        {"10.00", -1, "10."},    {"10.00", -3, "10.00"}, {"1.0e10", 0, "1.0e1"},
        {"1.20.00", 0, "1.20."},
    };
    for (const auto& row : rows)
        EXPECT_EQ(fmt_float_cstring(row.text, row.keep), row.expected) << row.text << row.keep;

    EXPECT_EQ(fmt_float_cstring(1.25, 6, 0), "1.25");
    EXPECT_EQ(fmt_float_cstring(2.0, 3, 0), "2.");
    EXPECT_EQ(fmt_float_cstring(-1234.5, 3, 2), "-1234.50");
    EXPECT_EQ(fmt_float_cstring(0.9999999, 2, 0), "1.");
    EXPECT_EQ(fmt_float_cstring(-9999998.9999999, 6, 0), "-9999999.");
    EXPECT_EQ(fmt_float_cstring(9999999.5, 6, 1), "9999999.5");
    EXPECT_EQ(fmt_float_cstring(-0.001, 2, 0), "-0.");
    EXPECT_EQ(fmt_float_cstring(1e22, 3, 1), "10000000000000000000000.0");
    EXPECT_EQ(fmt_float_cstring(100.0, 0, 1), "1"); // no point: the sum wraps
    EXPECT_EQ(fmt_float_cstring(0.5, -7, 0), "0.5");
    EXPECT_EQ(fmt_float_cstring(kInf, 2, 0), "inf");
}
