#include "foundation/gtl_Convert_error_status.h"
#include "foundation/str_locale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

using namespace str::locale;

namespace
{
using E = gtl::Convert_error_status;
const ID kGerman(0x0407);

template <class T, class... How>
std::wstring Write(const T& value, const ID& id, How... how)
{
    std::wstring text = L"old";
    EXPECT_EQ(to_string(text, value, id, how...), gtl::status());
    return text;
}

template <class T>
T Read(const std::wstring& text, const ID& id)
{
    T value{};
    EXPECT_EQ(from_string(value, text, id), gtl::status());
    return value;
}

const std::wstring kNumber = E::GetNumberString(), kReal = E::GetFloatingPointString();
} // namespace

TEST(Locale, KnowsTheSeparatorsOfTheSystem)
{
    EXPECT_EQ(invariant().identifier(), 0x7fu);
    EXPECT_EQ(decimal_char(invariant()) + thousandths_char(invariant()) + list_delim(invariant()),
              L".,,");
    EXPECT_TRUE(is_installed(invariant()) && !is_installed(ID(0xfff0)));
    EXPECT_EQ(decimal_char(french_canadian()) + list_delim(french_canadian()), L",;");
    EXPECT_EQ(thousandths_char(kGerman) + decimal_char(ID(0xfff0)), L"..");
    EXPECT_EQ(std::use_facet<std::numpunct<wchar_t>>(french_canadian().object()).decimal_point(),
              L',');
    EXPECT_EQ(ID(0x0407), kGerman);
}

TEST(Locale, DefaultsOfThreadAndApplicationStandInOrder)
{
    const ID user = native();
    set_application_default(kGerman);
    EXPECT_EQ(native(), kGerman);
    std::thread([] {
        EXPECT_EQ(native(), kGerman);
        set_thread_default(french_canadian());
        EXPECT_EQ(native(), french_canadian());
        EXPECT_EQ(decimal_char(), L",");
    }).join();
    EXPECT_EQ(native(), kGerman);
    set_application_default(user);
    EXPECT_EQ(native(), user);
}

TEST(Locale, WritesNumbersWithItsSeparators)
{
    EXPECT_EQ(Write(-1234, kGerman), L"-1234");
    EXPECT_EQ(Write(1234u, kGerman, 6u), L"  1234");
    EXPECT_EQ(Write(-1234567LL, kGerman, kNoWidth, format::grouped), L"-1.234.567");
    EXPECT_EQ(Write(123LL, kGerman, 2u, format::grouped), L"123");
    EXPECT_EQ(Write(1234.5, kGerman), L"1234,5");
    EXPECT_EQ(Write(1e-9, kGerman), L"1e-09");
    EXPECT_EQ(Write(1.7976931348623157e308, invariant()), L"1.7976931e+308");
    EXPECT_EQ(Write(-0.0, invariant(), kNoWidth, 2u, floatformat::fixed), L"-0.00");
    EXPECT_EQ(Write(1234567.125, kGerman, 14u, 2u, floatformat::grouped), L"  1.234.567,12");
    EXPECT_EQ(Write(1234567890123.5, kGerman, kNoWidth, 2u, floatformat::grouped),
              L"1.234.567.890.123,50");
    EXPECT_EQ(Write(1500.0, kGerman, kNoWidth, 1u, floatformat::scientific), L"1,5e+03");
    EXPECT_EQ(Write(-HUGE_VAL, kGerman, kNoWidth, 2u, floatformat::grouped), L"-inf");
    EXPECT_EQ(Write(std::vector<double>{1.5, -2, 1e300}, kGerman), L"1,5;-2;1e+300");
    EXPECT_EQ(Write(std::vector<int>{1, 2}, invariant()) + Write(std::vector<int>(), invariant()),
              L"1,2");
    EXPECT_EQ(Write(true, kGerman), L"true");
}

TEST(Locale, RefusesToWriteWhatIsNotThere)
{
    std::wstring text = L"old";
    std::tm noDay{};
    noDay.tm_year = 125; // not a leap year
    noDay.tm_mon = 1;
    noDay.tm_mday = 29;
    EXPECT_EQ(to_string(text, 1, invariant(), 1000000u), E::OutOfRangeStatus(L"1000000", kNumber));
    EXPECT_EQ(to_string(text, 1.0, invariant(), kNoWidth, 20001),
              E::OutOfRangeStatus(L"20001", kNumber));
    EXPECT_EQ(to_string(text, 7LL, invariant(), kNoWidth, format::date),
              E::NotSupportedStatus(L"7", kNumber));
    EXPECT_EQ(to_string(text, noDay, invariant(), format::date),
              E::OutOfRangeStatus(L"2025-02-29", L"yyyy-mm-dd"));
    EXPECT_EQ(to_string(text, noDay, invariant(), format::grouped).details()->argument(2),
              L"yyyy-mm-dd hh:mm:ss");
    EXPECT_EQ(text, L"old");
}

TEST(Locale, ReadsNumbersWithItsSeparators)
{
    EXPECT_EQ(Read<int>(L" -1.234.567\t", kGerman), -1234567);
    EXPECT_EQ(Read<int>(L"+12", kGerman), 12);
    EXPECT_EQ(Read<int>(L"-2147483648", invariant()), -2147483647 - 1);
    EXPECT_EQ(Read<unsigned>(L"4,294,967,295", invariant()), 4294967295u);
    EXPECT_EQ(Read<long long>(L"-9223372036854775808", invariant()),
              std::numeric_limits<long long>::min());
    EXPECT_EQ(Read<double>(L"1.234.567,25e-3", kGerman), 1234.56725);
    EXPECT_EQ(Read<double>(L"1 234,5", french_canadian()), 1234.5);
    EXPECT_EQ(Read<double>(L"1\u00a0234,5", french_canadian()), 1234.5);
    EXPECT_EQ(Read<double>(L"-Infinity", kGerman), -HUGE_VAL);
    EXPECT_TRUE(std::isnan(Read<double>(L"nan", kGerman)));
    EXPECT_TRUE(Read<bool>(L" TRUE ", kGerman));
    EXPECT_FALSE(Read<bool>(L"0", kGerman));
    EXPECT_EQ(Read<std::vector<double>>(L"1,5; 2 ;-3e2", kGerman),
              (std::vector<double>{1.5, 2, -300}));
    EXPECT_EQ(Read<std::vector<int>>(L"1,234", invariant()), (std::vector<int>{1, 234}));
    EXPECT_EQ(Read<std::vector<int>>(L"  ", invariant()), std::vector<int>());
}

TEST(Locale, SaysWhichTextIsWrongAndWhy)
{
    int i = 5;
    for (const wchar_t* text : {L"", L"12x", L"1.23", L"1.234.56", L"12345.678", L".123", L"--1",
                                L"+-1", L"1,5", L"1e3", L"-"})
        EXPECT_EQ(from_string(i, text, kGerman), E::InvalidCharStatus(text, kNumber));
    EXPECT_EQ(from_string(i, L" 0x1F ", kGerman), E::NotSupportedStatus(L"0x1F", kNumber));
    EXPECT_EQ(from_string(i, L"2147483648", kGerman), E::OverflowStatus(L"2147483648", kNumber));
    EXPECT_EQ(from_string(i, L"-99999999999999999999", kGerman),
              E::OverflowStatus(L"-99999999999999999999", kNumber));
    unsigned u = 5;
    EXPECT_EQ(from_string(u, L"-1", kGerman), E::OutOfRangeStatus(L"-1", kNumber));
    double d = 5;
    for (const wchar_t* text : {L"", L"1.5", L"1,5,5", L"1,234.567", L"1,5 e", L"\u0661", L"1,5f"})
        EXPECT_EQ(from_string(d, text, kGerman), E::InvalidCharStatus(text, kReal));
    EXPECT_EQ(from_string(d, L"1e999", kGerman), E::OverflowStatus(L"1e999", kReal));
    EXPECT_EQ(from_string(d, L"0x1p3", kGerman), E::NotSupportedStatus(L"0x1p3", kReal));
    bool b = true;
    EXPECT_EQ(from_string(b, L"2", kGerman), E::OutOfRangeStatus(L"2", L"true/false"));
    EXPECT_EQ(from_string(b, L"yes", kGerman), E::InvalidCharStatus(L"yes", L"true/false"));
    std::vector<int> v{7};
    EXPECT_EQ(from_string(v, L"1;2; x ;y", kGerman), E::InvalidCharStatus(L"x", kNumber));
    EXPECT_EQ(from_string(v, L"1;", kGerman), E::InvalidCharStatus(L"", kNumber));
    EXPECT_TRUE(i == 5 && u == 5 && d == 5 && b && v == std::vector<int>{7}) << "as they were";
}

TEST(Locale, TimesAreReadAsTheyAreWritten)
{
    std::tm time{};
    EXPECT_TRUE(from_string(time, L"2024-02-29T23:59:60", kGerman).ok());
    EXPECT_EQ(Write(time, kGerman), L"2024-02-29 23:59:60");
    EXPECT_EQ(time.tm_wday, 4); // a Thursday
    EXPECT_EQ(time.tm_yday, 59);
    EXPECT_TRUE(from_string(time, L"07:08:09", kGerman, format::time).ok());
    EXPECT_EQ(Write(time, kGerman, format::date) + Write(time, kGerman, format::time),
              L"2024-02-2907:08:09");
    for (const wchar_t* text : {L"2023-02-29", L"2024-13-01", L"2024-00-01", L"2024-01-00"})
        EXPECT_EQ(from_string(time, text, kGerman, format::date),
                  E::OutOfRangeStatus(text, L"yyyy-mm-dd"));
    for (const wchar_t* text : {L"", L"2024", L"2024-1-01", L"2024-01-011", L"24-01-01"})
        EXPECT_FALSE(from_string(time, text, kGerman, format::date).ok()) << text;
    EXPECT_TRUE(from_string(time, L"2024-01-01 ", kGerman, format::date).ok());
    EXPECT_FALSE(from_string(time, L"2024-01-01", kGerman).ok());
    EXPECT_FALSE(from_string(time, L"2024-01-01", kGerman, format::grouped).ok());
}
