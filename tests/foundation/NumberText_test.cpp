#include "foundation/math_algorithm_Tolerance.h"
#include "foundation/math_impl_ConvertFloat.h"
#include "foundation/number/NumberPrinter.h"
#include "foundation/str_fmt.h"
#include "foundation/str_fmt_float_cstring.h"
#include "foundation/str_locale.h"
#include "platform/platform_fpu.h"
#include "support/Numbers.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <random>

using str::fmt_float_cstring;
using namespace foundation;

namespace
{
constexpr double kInf = support::kInfinity;
using support::kNaN;

template <void Append(std::string&, double, int)>
std::string Text(double value, int places)
{
    std::string text;
    Append(text, value, places);
    return text;
}
constexpr auto Fixed = Text<AppendFixed>, Significant = Text<AppendSignificant>,
               Scientific = Text<AppendScientific>;

std::string Exact(double value, std::chars_format form, int places)
{
    char text[400];
    return {text, std::to_chars(text, text + 400, value, form, places).ptr};
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
    // Ties go to the even digit; the double 1.005 is below the number.
    const std::tuple<std::string (*)(double, int), double, int, const char*> rows[] = {
        {Fixed, 2.5, 0, "2"},         {Fixed, 999.9999999, 3, "1000.000"},
        {Fixed, 1.005, 2, "1.00"},    {Significant, 99999999.5, 8, "1e+08"},
        {Fixed, -0.001, 2, "-0.00"},  {Significant, 0.000012345, 8, "1.2345e-05"},
        {Scientific, 0, 0, "0e+00"},  {Significant, 5e-324, 8, "4.9406565e-324"},
        {Significant, -0.0, 8, "-0"}, {Fixed, 1.5, -1, "1.500000"},
    };
    for (const auto& [form, value, places, text] : rows)
        EXPECT_EQ(form(value, places), text);
    EXPECT_EQ(Fixed(0.1, 20), "0.10000000000000000555");
    EXPECT_EQ(Fixed(1e308, 20).substr(0, 40), "1000000000000000010979063629440455417404");
    EXPECT_EQ(Fixed(1e308, 20).size(), 309u + 1 + 20);
    EXPECT_EQ(Fixed(0.5, 2000), "0.5" + std::string(1999, '0'));
    EXPECT_EQ(Fixed(kInf, 3) + Fixed(-kInf, 3) + Fixed(kNaN, 2000), "inf-infnan");
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
        for (const auto& [form, format] :
             {std::pair{Fixed, "%.*f"}, {Significant, "%.*g"}, {Scientific, "%.*e"}})
        {
            std::snprintf(text, sizeof text, format, places, value);
            ASSERT_EQ(form(value, places), text) << std::hexfloat << value << ' ' << places;
        }
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
        const std::tuple<char* (*)(char*, double, int), std::chars_format, int> printers[] = {
            {FastFixed, std::chars_format::fixed, 6},
            {FastSignificant, std::chars_format::general, 8},
            {FastScientific, std::chars_format::scientific, 3}};
        for (const auto& [print, form, places] : printers)
            if (char* const end = print(room, value, places))
            {
                ASSERT_EQ(std::string(room, end), Exact(value, form, places));
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
            ASSERT_EQ(Scientific(value, 9), Exact(value, std::chars_format::scientific, 9));
    }
}

/// Texts, and the bits of numbers read from text, by every function that makes them.
std::string EveryNumberText()
{
    using math::impl::ConvertFloat;
    std::string all, text;
    const auto add = [&]<class T>(const T& value, const std::string& what) {
        for (int round = 0; round <= int(math::RoundType::decimals_truncated); ++round)
        {
            ConvertFloat<T>::to_string(text, value, 3, math::RoundType(round));
            all += text + what;
        }
    };
    static const double values[] = {
        kNaN, kInf, 1.7976931348623157e308, 5e-324, 3e-310, 0.125, 123456.7851, 0.1, 1e23, -2.5};
    static const float floats[] = {0.1f, 1e-40f, 3e38f};
    static const long double longs[] = {0.1L, 1e-320L, 1e308L};
    for (const double& value : values)
    {
        all += str::sprintf("%g %.3f %e %r %#g %.17g %d ", value, value, value, value, value, value,
                            math::algorithm::FloatCommon<double>::Exp10(value));
        all += fmt_float_cstring(value, 2, 0) + ' ' + fmt_float_cstring(value, 6, 1);
        std::wstring wide;
        EXPECT_TRUE(str::locale::to_string(wide, value, str::locale::invariant()).ok());
        all += std::string(wide.begin(), wide.end());
        add(value, " ");
    }
    for (const float& value : floats)
        add(value, "f ");
    for (const long double& value : longs)
        add(value, "L ");
    all += str::sprintf("%f %f", 0xffffffffffffffffull, -0x7fffffffffffffffll);
    for (const std::string number :
         {"0.1", "1e-310", "1e999", "1e-400", "0.3", "2.2250738585072011e-308"})
    {
        double value = 0;
        float narrow = 0;
        long double wide = 0;
        ConvertFloat<double>::from_string(value, number);
        ConvertFloat<float>::from_string(narrow, number);
        ConvertFloat<long double>::from_string(wide, number);
        all += str::sprintf(" %llx %x ", std::bit_cast<std::uint64_t>(value),
                            std::bit_cast<std::uint32_t>(narrow));
        add(wide, "R ");
    }
    return all;
}

TEST(NumberText, IsTheSameInEveryFloatingPointEnvironmentAndLeavesItAlone)
{
    const std::string expected = EveryNumberText();
    // Rounding down, up, to zero; subnormal numbers as zero; everything traps.
    for (const unsigned control : {0x3f80u, 0x5f80u, 0x7f80u, 0x9fc0u, 0x0000u})
    {
        const unsigned before = _mm_getcsr();
        platform::FpuClearRaised();
        platform::FpuSetTraps(control == 0 ? 0x3f : 0);
        _mm_setcsr(control);
        const std::string texts = EveryNumberText();
        const unsigned after = _mm_getcsr(), raised = platform::FpuRaised();
        platform::FpuSetTraps(0);
        _mm_setcsr(before);
        EXPECT_EQ(after, control);
        // A 32-bit function returns a double in the x87 unit, which flags a subnormal one.
        EXPECT_EQ(raised & ~(sizeof(void*) == 4 ? 2u : 0u), 0u) << std::hex << control;
        EXPECT_EQ(texts, expected) << std::hex << control;
    }
}

TEST(PowersOfTen, AreTheNearestDoublesAndHaveTheirExponents)
{
    using Common = math::algorithm::FloatCommon<double>;
    for (int n = -323; n <= 308; ++n)
    {
        const double power = std::strtod(("1e" + std::to_string(n)).c_str(), nullptr);
        EXPECT_EQ(Common::Pow10(n), n > -321 ? power : 0) << n;
        EXPECT_EQ(Common::Exp10(-power), n);
        EXPECT_EQ(Common::Exp10(std::nextafter(power, 0)), power > 5e-324 ? n - 1 : 0);
    }
    EXPECT_EQ(Common::Pow10(309), kInf);
    for (const double none : {0.0, kInf, kNaN})
        EXPECT_EQ(Common::Exp10(none), 0);
    // 8 digits of 1e210: 5e202, neither ten times less nor more.
    EXPECT_DOUBLE_EQ(math::algorithm::Tolerance<double>(8, 0).At(1e210), 5e202);
}

TEST(FmtFloatCstring, TrimsTrailingZerosBehindTheKeptOnes)
{
    const std::tuple<const char*, int, const char*> rows[] = {
        {"1.25000", 2, "1.25"},  {"1.25000", 0, "1.25"}, {"1.25000", 4, "1.2500"},
        {"2.000", 0, "2."},      {"2.000", 1, "2.0"},    {"2.000", 9, "2.000"},
        {"100", 0, "100"},       {"100", 1, "1"},        {"100", 2, "10"},
        {"000", 1, "0"},         {"100", 9, "100"},      {"", 3, ""},
        {"10.00", -1, "10."},    {"10.00", -3, "10.00"}, {"1.0e10", 0, "1.0e1"},
        {"1.20.00", 0, "1.20."},
    };
    for (const auto& [text, keep, expected] : rows)
        EXPECT_EQ(fmt_float_cstring(text, keep), expected) << text << keep;

    const std::tuple<double, int, int, const char*> numbers[] = {
        {2.0, 3, 0, "2."},   {1.25, 6, 0, "1.25"},        {9999999.5, 6, 1, "9999999.5"},
        {100.0, 0, 1, "1"},  {-0.001, 2, 0, "-0."},       {-9999998.9999999, 6, 0, "-9999999."},
        {0.5, -7, 0, "0.5"}, {0.9999999, 2, 0, "1."},     {1e22, 3, 1, "10000000000000000000000.0"},
        {kInf, 2, 0, "inf"}, {-1234.5, 3, 2, "-1234.50"},
    };
    for (const auto& [value, decimals, keep, expected] : numbers)
        EXPECT_EQ(fmt_float_cstring(value, decimals, keep), expected);
}
