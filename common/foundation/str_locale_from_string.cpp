#include "foundation/gtl_Convert_error_status.h"
#include "foundation/math_impl_ConvertFloat.h"
#include "foundation/str.h"
#include "foundation/str_locale.h"
#include "foundation/text/LocaleRecord.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

namespace str::locale
{
namespace
{

using gtl::Convert_error_status;

std::wstring Trimmed(std::wstring text)
{
    trim(text);
    return text;
}

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// The spaces that locales use as thousands separators; people type any of them.
bool IsGroupSpace(wchar_t c) { return c == L' ' || c == 0xa0 || c == 0x202f || c == 0x2009; }

// Whether @p rest begins with a thousands separator and three digits, but not with a fourth.
// @returns the size of the separator, 0 for no
std::size_t SeparatorAt(std::wstring_view rest, const std::wstring& thousands)
{
    if (rest.empty() || thousands.empty())
        return 0;
    const bool space = IsGroupSpace(thousands[0]) && IsGroupSpace(rest[0]);
    const std::size_t size = space ? 1 : rest.starts_with(thousands) ? thousands.size() : 0;
    if (size == 0 || rest.size() < size + 3)
        return 0;
    for (std::size_t i = size; i < size + 3; ++i)
        if (!IsDigit(rest[i]))
            return 0;
    return rest.size() > size + 3 && IsDigit(rest[size + 3]) ? 0 : size;
}

// @p text, trimmed, in the form of the C locale: no thousands separators, "." for the decimal
// separator. A character that no number has becomes "?".
std::string Neutral(const std::wstring& text, const ID& id, bool isFloat)
{
    const ID::Record& record = id.record();
    std::string neutral;
    std::size_t digits = 0; // of the group being read; only the first group may be shorter
    bool whole = true, grouped = false;
    for (std::size_t i = 0; i < text.size();)
    {
        const std::wstring_view rest = std::wstring_view(text).substr(i);
        const bool opens = grouped ? digits == 3 : digits >= 1 && digits <= 3;
        const std::size_t separator = whole && opens ? SeparatorAt(rest, record.thousands) : 0;
        if (separator != 0)
        {
            grouped = true;
            digits = 0;
            i += separator;
        }
        else if (isFloat && rest.starts_with(record.decimal))
        {
            neutral.push_back('.');
            whole = false;
            i += record.decimal.size();
        }
        else
        {
            const wchar_t c = rest[0];
            const bool known = c > L' ' && c < 0x7f && c != L'.';
            neutral.push_back(known ? char(c) : '?');
            digits += IsDigit(c);
            whole = whole && (IsDigit(c) || digits == 0);
            ++i;
        }
    }
    return neutral;
}

// Whether it is a hexadecimal number of the C syntax.
bool IsHex(const std::string& neutral)
{
    const std::size_t first = !neutral.empty() && (neutral[0] == '-' || neutral[0] == '+');
    return neutral.size() > first + 2 && neutral[first] == '0' &&
           (neutral[first + 1] | 0x20) == 'x';
}

template <class T>
gtl::status ReadWhole(T& value, const std::wstring& original, const ID& id)
{
    const std::wstring text = Trimmed(original);
    const std::wstring type = Convert_error_status::GetNumberString();
    const std::string neutral = Neutral(text, id, false);
    if (IsHex(neutral))
        return Convert_error_status::NotSupportedStatus(text, type);
    const char* first = neutral.data();
    const char* const last = first + neutral.size();
    if (first != last && *first == '+')
        ++first;
    long long wide = 0;
    const auto [end, error] = std::from_chars(first, last, wide);
    if (end != last || error == std::errc::invalid_argument ||
        (first != neutral.data() && *first == '-'))
        return Convert_error_status::InvalidCharStatus(text, type);
    if (error == std::errc::result_out_of_range ||
        wide > (long long)(std::numeric_limits<T>::max()))
        return Convert_error_status::OverflowStatus(text, type);
    if (wide < (long long)(std::numeric_limits<T>::min()))
        return std::numeric_limits<T>::min() == 0
                   ? Convert_error_status::OutOfRangeStatus(text, type)
                   : Convert_error_status::OverflowStatus(text, type);
    value = T(wide);
    return {};
}

// Takes @p width digits and then @p behind from the front of @p text.
bool Take(std::wstring_view& text, int& value, std::size_t width, std::wstring_view behind)
{
    if (text.size() < width + !behind.empty())
        return false;
    value = 0;
    for (const wchar_t c : text.substr(0, width))
    {
        if (!IsDigit(c))
            return false;
        value = value * 10 + int(c - L'0');
    }
    text.remove_prefix(width);
    if (behind.empty())
        return true;
    const bool found = behind.find(text[0]) != std::wstring_view::npos;
    text.remove_prefix(1);
    return found;
}

// Sets the days of the week and of the year from the date (day numbers of the Gregorian calendar).
void SetDays(std::tm& time)
{
    const auto dayNumber = [](int year, int month, int day) {
        const int y = year + 4800 - (month < 2), m = (month + 10) % 12;
        return 365 * y + y / 4 - y / 100 + y / 400 + (153 * m + 2) / 5 + day;
    };
    const int year = time.tm_year + 1900;
    const int today = dayNumber(year, time.tm_mon, time.tm_mday);
    const int knownSaturday = dayNumber(2000, 0, 1);
    time.tm_yday = today - dayNumber(year, 0, 1);
    time.tm_wday = ((today - knownSaturday + 6) % 7 + 7) % 7;
    time.tm_isdst = -1;
}

template <class T>
gtl::status ReadAll(std::vector<T>& values, const std::wstring& original, const ID& id)
{
    const std::wstring text = Trimmed(original), between = id.record().Between();
    std::vector<T> all;
    for (std::size_t at = 0; !text.empty() && at <= text.size();)
    {
        const std::size_t end = std::min(text.find(between, at), text.size());
        T value{};
        if (gtl::status status = from_string(value, text.substr(at, end - at), id); !status.ok())
            return status;
        all.push_back(value);
        at = end + between.size();
    }
    values = std::move(all);
    return {};
}

} // namespace

gtl::status from_string(int& value, const std::wstring& text, const ID& id)
{
    return ReadWhole(value, text, id);
}

gtl::status from_string(unsigned int& value, const std::wstring& text, const ID& id)
{
    return ReadWhole(value, text, id);
}

gtl::status from_string(long long& value, const std::wstring& text, const ID& id)
{
    return ReadWhole(value, text, id);
}

gtl::status from_string(double& value, const std::wstring& text, const ID& id)
{
    const std::wstring trimmed = Trimmed(text);
    const std::wstring type = Convert_error_status::GetFloatingPointString();
    const std::string neutral = Neutral(trimmed, id, true);
    if (IsHex(neutral))
        return Convert_error_status::NotSupportedStatus(trimmed, type);
    const char* const last = neutral.data() + neutral.size();
    double read = 0;
    if (neutral.empty() ||
        math::impl::ConvertFloat<double>::read(read, neutral.data(), last) != last)
        return Convert_error_status::InvalidCharStatus(trimmed, type);
    const bool isWord = neutral.find_first_of("0123456789") == std::string::npos;
    if (std::isinf(read) && !isWord)
        return Convert_error_status::OverflowStatus(trimmed, type);
    value = read;
    return {};
}

gtl::status from_string(bool& value, const std::wstring& text, const ID& id)
{
    const std::wstring trimmed = Trimmed(text);
    const bool yes = compare_ignore_case(trimmed, L"true") == 0 || trimmed == L"1";
    if (yes || compare_ignore_case(trimmed, L"false") == 0 || trimmed == L"0")
    {
        value = yes;
        return {};
    }
    long long number = 0;
    return ReadWhole(number, trimmed, id).ok()
               ? Convert_error_status::OutOfRangeStatus(trimmed, kTruthForm)
               : Convert_error_status::InvalidCharStatus(trimmed, kTruthForm);
}

gtl::status from_string(std::tm& value, const std::wstring& text, const ID&, format::Type how)
{
    const std::wstring trimmed = Trimmed(text);
    const wchar_t* const form = TimeForm(how);
    if (form == nullptr)
        return Convert_error_status::NotSupportedStatus(trimmed, TimeForm(format::plain));
    std::tm read = value;
    if (how != format::time)
        read = {};
    std::wstring_view rest = trimmed;
    bool good = true;
    if (how != format::time)
    {
        good = Take(rest, read.tm_year, 4, L"-") && Take(rest, read.tm_mon, 2, L"-") &&
               Take(rest, read.tm_mday, 2, how == format::date ? L"" : L" T");
        read.tm_year -= 1900;
        read.tm_mon -= 1;
    }
    if (good && how != format::date)
        good = Take(rest, read.tm_hour, 2, L":") && Take(rest, read.tm_min, 2, L":") &&
               Take(rest, read.tm_sec, 2, L"");
    if (!good || !rest.empty())
        return Convert_error_status::InvalidCharStatus(trimmed, form);
    if (!IsTime(read, how))
        return Convert_error_status::OutOfRangeStatus(trimmed, form);
    if (how != format::time)
        SetDays(read);
    value = read;
    return {};
}

gtl::status from_string(std::vector<int>& values, const std::wstring& text, const ID& id)
{
    return ReadAll(values, text, id);
}

gtl::status from_string(std::vector<double>& values, const std::wstring& text, const ID& id)
{
    return ReadAll(values, text, id);
}

} // namespace str::locale
