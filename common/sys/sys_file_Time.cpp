#include "sys/sys_file_Time.h"

#include "platform/platform_folders.h"

#include <chrono>
#include <string_view>

namespace str
{
namespace
{
constexpr std::string_view kDays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                      "Thursday", "Friday", "Saturday"};
constexpr std::string_view kMonths[] = {"January",   "February", "March",    "April",
                                        "May",       "June",     "July",     "August",
                                        "September", "October",  "November", "December"};

std::string Padded(int value, std::size_t width)
{
    std::string digits = std::to_string(value);
    return std::string(digits.size() < width ? width - digits.size() : 0, '0') + digits;
}

std::string Item(char letter, const platform::LocalTime& t)
{
    using std::chrono::January;
    using std::chrono::year, std::chrono::month, std::chrono::day, std::chrono::days;
    using std::chrono::year_month_day, std::chrono::weekday, std::chrono::sys_days;
    const year_month_day date{year{t.year}, month{static_cast<unsigned>(t.month)},
                              day{static_cast<unsigned>(t.day)}};
    const weekday weekDay{sys_days{date}};
    const auto dayOfYear = sys_days{date} - sys_days{date.year() / January / 1} + days{1};
    const std::string_view dayName = kDays[weekDay.c_encoding()];
    const std::string_view monthName = kMonths[t.month - 1];
    switch (letter)
    {
    case 'Y':
        return Padded(t.year, 4);
    case 'y':
        return Padded(t.year % 100, 2);
    case 'm':
        return Padded(t.month, 2);
    case 'd':
        return Padded(t.day, 2);
    case 'j':
        return Padded(static_cast<int>(dayOfYear.count()), 3);
    case 'H':
        return Padded(t.hour, 2);
    case 'I':
        return Padded((t.hour + 11) % 12 + 1, 2);
    case 'M':
        return Padded(t.minute, 2);
    case 'S':
        return Padded(t.second, 2);
    case 'p':
        return t.hour < 12 ? "AM" : "PM";
    case 'A':
        return std::string(dayName);
    case 'a':
        return std::string(dayName.substr(0, 3));
    case 'B':
        return std::string(monthName);
    case 'b':
        return std::string(monthName.substr(0, 3));
    case '%':
        return "%";
    default:
        return {'%', letter};
    }
}

/// The letters that stand for several others.
std::string_view Expansion(char letter)
{
    switch (letter)
    {
    case 'F':
        return "%Y-%m-%d";
    case 'T':
        return "%H:%M:%S";
    case 'D':
        return "%m/%d/%y";
    case 'R':
        return "%H:%M";
    default:
        return {};
    }
}

std::string Written(const platform::LocalTime& time, std::string_view format)
{
    std::string text;
    for (std::size_t i = 0; i < format.size(); ++i)
    {
        if (format[i] != '%' || i + 1 == format.size())
        {
            text += format[i];
            continue;
        }
        const char letter = format[++i];
        const std::string_view expansion = Expansion(letter);
        text += expansion.empty() ? Item(letter, time) : Written(time, expansion);
    }
    return text;
}
} // namespace

std::string as_cstring(const sys::file::Time& time, const char* format)
{
    if (time.ticks == 0)
        return {};
    return Written(platform::ToLocalTime(time.ticks), format != nullptr ? format : "%F %T");
}

} // namespace str
