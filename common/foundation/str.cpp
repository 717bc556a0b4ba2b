#include "foundation/str.h"

#include "foundation/number/NumberPrinter.h"
#include "platform/platform_text.h"
#include "platform/platform_utf8.h"

#include <algorithm>

namespace str
{

bool is_space(char c) { return foundation::IsSpace(c); }
bool is_space(wchar_t c) { return foundation::IsSpace(c); }

template <class text>
void trim_right(text& s)
{
    std::size_t size = s.size();
    while (size > 0 && is_space(s[size - 1]))
        --size;
    s.resize(size);
}

template <class text>
void trim_left(text& s)
{
    std::size_t blanks = 0;
    while (blanks < s.size() && is_space(s[blanks]))
        ++blanks;
    s.erase(0, blanks);
}

template <class text>
void trim(text& s)
{
    trim_right(s);
    trim_left(s);
}

template <class text>
void replace_all(text& s, const text& what, const text& with)
{
    if (what.empty())
        return;
    std::size_t found = s.find(what);
    if (found == text::npos)
        return;
    text result;
    std::size_t at = 0;
    for (; found != text::npos; found = s.find(what, at))
    {
        result.append(s, at, found - at);
        result += with;
        at = found + what.size();
    }
    result.append(s, at);
    s = std::move(result);
}

template <class text>
void erase_all(text& s, const text& what)
{
    replace_all(s, what, text());
}

template <class text>
text join(const std::vector<text>& parts, const text& separator)
{
    text result;
    for (const text& part : parts)
    {
        if (&part != parts.data())
            result += separator;
        result += part;
    }
    return result;
}

template KVI_API void trim(std::string&);
template KVI_API void trim(std::wstring&);
template KVI_API void trim_left(std::string&);
template KVI_API void trim_left(std::wstring&);
template KVI_API void trim_right(std::string&);
template KVI_API void trim_right(std::wstring&);
template KVI_API void erase_all(std::string&, const std::string&);
template KVI_API void erase_all(std::wstring&, const std::wstring&);
template KVI_API void replace_all(std::string&, const std::string&, const std::string&);
template KVI_API void replace_all(std::wstring&, const std::wstring&, const std::wstring&);
template KVI_API std::string join(const std::vector<std::string>&, const std::string&);
template KVI_API std::wstring join(const std::vector<std::wstring>&, const std::wstring&);

std::wstring GenerateUniqueDesriptionIgnoreCase(const std::wstring& wanted,
                                                const std::vector<std::wstring>& taken)
{
    const auto isTaken = [&taken](const std::wstring& text) {
        return std::any_of(taken.begin(), taken.end(), [&text](const std::wstring& other) {
            return compare_ignore_case(text, other) == 0;
        });
    };
    std::wstring unique = wanted;
    for (unsigned number = 2; isTaken(unique); ++number)
        unique = wanted + L" (" + std::to_wstring(number) + L')';
    return unique;
}

std::wstring as_wstring(const std::string& narrow) { return platform::Wide(narrow); }

std::wstring as_wstring(const char* narrow, std::size_t n)
{
    return n == 0 ? std::wstring() : platform::Wide({narrow, n});
}

std::wstring as_wstring(const u8string& utf8) { return platform::FromUtf8(utf8.bytes()); }

std::string as_cstring(const std::wstring& wide) { return platform::Narrow(wide); }

u8string as_u8string(const std::wstring& wide) { return u8string(platform::ToUtf8(wide)); }

} // namespace str
