#include "sys/sys_file_ValidName.h"

#include "foundation/str.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace sys::file
{
namespace
{
constexpr wchar_t kSpecial[] = L"\"&*/:<>?\\|";

// In the order of comparison without case, for the binary search.
constexpr std::wstring_view kDevices[] = {L"AUX",  L"CLOCK$", L"COM1", L"COM2", L"COM3", L"COM4",
                                          L"COM5", L"COM6",   L"COM7", L"COM8", L"COM9", L"CON",
                                          L"LPT1", L"LPT2",   L"LPT3", L"LPT4", L"LPT5", L"LPT6",
                                          L"LPT7", L"LPT8",   L"LPT9", L"NUL",  L"PRN"};
static_assert(std::size(kDevices) == 23);

bool IsDevice(const std::wstring& s)
{
    return std::binary_search(std::begin(kDevices), std::end(kDevices), std::wstring_view(s),
                              [](std::wstring_view a, std::wstring_view b) {
                                  return str::compare_ignore_case(a, b) < 0;
                              });
}

/// The device names that Windows added later: the two console files, and ports with a superscript
/// digit.
bool IsLaterDevice(std::wstring_view s)
{
    constexpr std::wstring_view kConsole[] = {L"CONIN$", L"CONOUT$"};
    constexpr std::wstring_view kSuperscripts = L"\u00B9\u00B2\u00B3";
    const auto is = [](std::wstring_view a, std::wstring_view b) {
        return str::compare_ignore_case(a, b) == 0;
    };
    if (s.size() == 4 && kSuperscripts.find(s[3]) != s.npos)
        return is(s.substr(0, 3), L"COM") || is(s.substr(0, 3), L"LPT");
    return is(s, kConsole[0]) || is(s, kConsole[1]);
}
} // namespace

bool IsDeviceName(const std::wstring& name)
{
    std::wstring base = name.substr(0, name.find_first_of(L".:"));
    base.erase(base.find_last_not_of(L' ') + 1); // npos + 1 is 0
    return IsDevice(base) || IsLaterDevice(base);
}

std::wstring StringToValidFileName(const std::wstring& s)
{
    if (IsDevice(s))
        return L'&' + s;
    std::wstring name = StringToValidEscapedName(s, kSpecial);
    if (name.ends_with(L' '))
        name.replace(name.size() - 1, 1, L"&_");
    return name;
}

std::wstring ValidFileNameToString(const std::wstring& s)
{
    return ValidEscapedNameToString(s, kSpecial);
}

std::wstring StringToValidEscapedName(const std::wstring& s, const std::wstring& set)
{
    std::wstring name;
    for (const wchar_t c : s)
    {
        const auto at = std::lower_bound(set.begin(), set.end(), c);
        if (at != set.end() && *at == c)
        {
            name += L'&';
            name += static_cast<wchar_t>(L'0' + (at - set.begin()));
        }
        else
        {
            name += c;
        }
    }
    return name;
}

std::wstring ValidEscapedNameToString(const std::wstring& s, const std::wstring& set)
{
    std::wstring text;
    for (std::size_t i = 0; i < s.size(); ++i)
    {
        if (s[i] != L'&')
        {
            text += s[i];
            continue;
        }
        if (++i == s.size())
            break;
        if (s[i] < L'0' || s[i] > L'9')
            text += s[i] == L'_' ? L' ' : s[i];
        else if (const auto digit = static_cast<std::size_t>(s[i] - L'0'); digit < set.size())
            text += set[digit];
    }
    return text;
}

} // namespace sys::file
