#include "foundation/gtl_Convert_error_status.h"
#include "foundation/number/NumberPrinter.h"
#include "foundation/str_locale.h"
#include "foundation/text/LocaleRecord.h"
#include "platform/platform_fpu.h"

#include <algorithm>
#include <cmath>

namespace str::locale
{
namespace
{

using gtl::Convert_error_status;

constexpr unsigned kMostWidth = 65535, kMostDigits = 20000;

std::wstring Widened(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

// Puts the separator between the thousands of a whole number, which may have a sign.
void Group(std::wstring& text, const std::wstring& separator)
{
    const std::size_t first = text.find_first_of(L"0123456789");
    const std::size_t end = std::min(text.find_first_not_of(L"0123456789", first), text.size());
    if (first != std::wstring::npos)
        for (std::size_t at = end; at > first + 3;)
            text.insert(at -= 3, separator);
}

// Moves the finished number into @p text.
gtl::status Place(std::wstring& text, std::wstring number, unsigned width)
{
    if (width != kNoWidth && width > kMostWidth)
        return Convert_error_status::OutOfRangeStatus(std::to_wstring(width),
                                                      Convert_error_status::GetNumberString());
    if (width != kNoWidth && width > number.size())
        number.insert(0, width - number.size(), L' ');
    text = std::move(number);
    return {};
}

// A number of the C locale with the separators of another.
std::wstring Localised(const std::string& ascii, const ID& id, bool grouped)
{
    const std::size_t point = ascii.find('.');
    std::wstring number = Widened(ascii.substr(0, point));
    if (grouped)
        Group(number, id.record().thousands);
    if (point != std::string::npos)
        number.append(id.record().decimal).append(Widened(ascii.substr(point + 1)));
    return number;
}

template <class T>
gtl::status WriteAll(std::wstring& text, const std::vector<T>& values, const ID& id,
                     const auto&... how)
{
    std::wstring all, item;
    for (const T& value : values)
    {
        if (gtl::status status = to_string(item, value, id, how...); !status.ok())
            return status;
        all.append(&value == values.data() ? L"" : id.record().Between()).append(item);
    }
    text = std::move(all);
    return {};
}

int DaysIn(int month, int year)
{
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 1 && leap ? 29 : kDays[month];
}

void AppendPadded(std::wstring& text, int value, std::size_t width, const wchar_t* behind)
{
    const std::wstring digits = std::to_wstring(value);
    text.append(width - std::min(width, digits.size()), L'0').append(digits).append(behind);
}

} // namespace

const wchar_t* TimeForm(format::Type how)
{
    switch (how)
    {
    case format::plain:
        return L"yyyy-mm-dd hh:mm:ss";
    case format::date:
        return L"yyyy-mm-dd";
    case format::time:
        return L"hh:mm:ss";
    default:
        return nullptr;
    }
}

bool IsTime(const std::tm& value, format::Type how)
{
    const int year = value.tm_year;
    const bool day = year >= -1900 && year <= 9999 - 1900 && value.tm_mon >= 0 &&
                     value.tm_mon <= 11 && value.tm_mday >= 1 &&
                     value.tm_mday <= DaysIn(value.tm_mon, year + 1900);
    const bool time = value.tm_hour >= 0 && value.tm_hour <= 23 && value.tm_min >= 0 &&
                      value.tm_min <= 59 && value.tm_sec >= 0 &&
                      value.tm_sec <= 60; // a leap second
    return (day || how == format::time) && (time || how == format::date);
}

gtl::status to_string(std::wstring& text, int value, const ID&, unsigned int width)
{
    return Place(text, std::to_wstring(value), width);
}

gtl::status to_string(std::wstring& text, unsigned int value, const ID&, unsigned int width)
{
    return Place(text, std::to_wstring(value), width);
}

gtl::status to_string(std::wstring& text, long long value, const ID& id, unsigned int width,
                      format::Type how)
{
    std::wstring number = std::to_wstring(value);
    if (how == format::grouped)
        Group(number, id.record().thousands);
    else if (how != format::plain)
        return Convert_error_status::NotSupportedStatus(number,
                                                        Convert_error_status::GetNumberString());
    return Place(text, std::move(number), width);
}

gtl::status to_string(std::wstring& text, double value, const ID& id, unsigned int width,
                      unsigned int digits, floatformat::Type how)
{
    if (digits > kMostDigits)
        return Convert_error_status::OutOfRangeStatus(std::to_wstring(digits),
                                                      Convert_error_status::GetNumberString());
    const platform::FloatEnvGuard plain;
    std::string ascii;
    switch (how)
    {
    case floatformat::general:
        foundation::AppendSignificant(ascii, value, int(digits));
        break;
    case floatformat::fixed:
    case floatformat::grouped:
        foundation::AppendFixed(ascii, value, int(digits));
        break;
    case floatformat::scientific:
        foundation::AppendScientific(ascii, value, int(digits));
        break;
    default:
        foundation::AppendSignificant(ascii, value, 17);
        return Convert_error_status::NotSupportedStatus(
            Widened(ascii), Convert_error_status::GetFloatingPointString());
    }
    return Place(text, Localised(ascii, id, how == floatformat::grouped), width);
}

gtl::status to_string(std::wstring& text, bool value, const ID&)
{
    text = value ? L"true" : L"false";
    return {};
}

gtl::status to_string(std::wstring& text, const std::tm& value, const ID&, format::Type how)
{
    const wchar_t* const form = TimeForm(how);
    std::wstring written;
    if (how != format::time)
    {
        AppendPadded(written, value.tm_year + 1900, 4, L"-");
        AppendPadded(written, value.tm_mon + 1, 2, L"-");
        AppendPadded(written, value.tm_mday, 2, how == format::date ? L"" : L" ");
    }
    if (how != format::date)
    {
        AppendPadded(written, value.tm_hour, 2, L":");
        AppendPadded(written, value.tm_min, 2, L":");
        AppendPadded(written, value.tm_sec, 2, L"");
    }
    if (form == nullptr)
        return Convert_error_status::NotSupportedStatus(written, TimeForm(format::plain));
    if (!IsTime(value, how))
        return Convert_error_status::OutOfRangeStatus(written, form);
    text = std::move(written);
    return {};
}

gtl::status to_string(std::wstring& text, const std::vector<int>& values, const ID& id)
{
    return WriteAll(text, values, id);
}

gtl::status to_string(std::wstring& text, const std::vector<double>& values, const ID& id,
                      unsigned int digits, floatformat::Type how)
{
    return WriteAll(text, values, id, kNoWidth, digits, how);
}

} // namespace str::locale
