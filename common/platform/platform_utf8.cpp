#include "platform/platform_utf8.h"

#include <cstdint>
#include <cstring>

namespace platform
{
namespace
{
constexpr char32_t kReplacement = 0xFFFD;

constexpr bool IsCharacter(char32_t c) { return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF); }

/// How many leading bytes of @p bytes are ASCII, tested eight at a time.
std::size_t AsciiPrefix(std::string_view bytes)
{
    std::size_t n = 0;
    for (; n + 8 <= bytes.size(); n += 8)
    {
        std::uint64_t word;
        std::memcpy(&word, bytes.data() + n, 8);
        if ((word & 0x8080808080808080u) != 0)
            break;
    }
    while (n < bytes.size() && static_cast<unsigned char>(bytes[n]) < 0x80)
        ++n;
    return n;
}

/// The continuation of a lead byte: the number of bytes, and the bounds of the first.
struct Lead
{
    int following;
    unsigned char low, high;
};

/// Well-formed sequences by their lead byte (The Unicode Standard, table 3-7); following is 0 for a
/// byte that leads none.
Lead LeadOf(unsigned char byte)
{
    if (byte < 0xC2 || byte > 0xF4)
        return {0, 0, 0};
    if (byte < 0xE0)
        return {1, 0x80, 0xBF};
    if (byte < 0xF0)
        return {2, static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    return {3, static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
            static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
}

/// The character at bytes[at], which is not ASCII; moves @p at past it or past the incomplete
/// sequence.
char32_t NextMultibyte(std::string_view bytes, std::size_t& at)
{
    const auto first = static_cast<unsigned char>(bytes[at++]);
    Lead lead = LeadOf(first);
    if (lead.following == 0)
        return kReplacement;
    auto c = static_cast<char32_t>(first & (0x3F >> lead.following));
    for (; lead.following > 0; --lead.following)
    {
        const unsigned next = at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0u;
        if (next < lead.low || next > lead.high)
            return kReplacement;
        c = (c << 6) | (next & 0x3Fu);
        lead.low = 0x80;
        lead.high = 0xBF;
        ++at;
    }
    return c;
}

void AppendMultibyte(std::string& bytes, char32_t c)
{
    char out[4];
    std::size_t n = 0;
    const auto put = [&](char32_t value) { out[n++] = static_cast<char>(value); };
    if (c < 0x800)
    {
        put(0xC0 | (c >> 6));
    }
    else if (c < 0x10000)
    {
        put(0xE0 | (c >> 12));
        put(0x80 | ((c >> 6) & 0x3F));
    }
    else
    {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
        put(0x80 | ((c >> 6) & 0x3F));
    }
    put(0x80 | (c & 0x3F));
    bytes.append(out, n);
}
} // namespace

char32_t NextCharacter(std::wstring_view text, std::size_t& at)
{
    const auto c = static_cast<char32_t>(text[at++]);
    if constexpr (sizeof(wchar_t) == 2)
    {
        if (c >= 0xD800 && c < 0xDC00 && at < text.size())
        {
            const auto low = static_cast<char32_t>(text[at]);
            if (low >= 0xDC00 && low < 0xE000)
            {
                ++at;
                return 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
            }
        }
    }
    return IsCharacter(c) ? c : kReplacement;
}

void AppendCharacter(std::wstring& text, char32_t character)
{
    const char32_t c = IsCharacter(character) ? character : kReplacement;
    if (sizeof(wchar_t) == 2 && c >= 0x10000)
    {
        text += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
        text += static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        return;
    }
    text += static_cast<wchar_t>(c);
}

void AppendUtf8(std::string& bytes, std::wstring_view text)
{
    std::size_t at = 0;
    while (at < text.size())
    {
        std::size_t end = at;
        while (end < text.size() && static_cast<char32_t>(text[end]) < 0x80)
            ++end;
        const std::size_t had = bytes.size();
        bytes.resize(had + (end - at));
        for (char* out = bytes.data() + had; at < end; ++at)
            *out++ = static_cast<char>(text[at]);
        while (at < text.size() && static_cast<char32_t>(text[at]) >= 0x80)
            AppendMultibyte(bytes, NextCharacter(text, at));
    }
}

std::string ToUtf8(std::wstring_view text)
{
    std::string bytes;
    AppendUtf8(bytes, text);
    return bytes;
}

std::wstring FromUtf8(std::string_view bytes)
{
    std::wstring text;
    text.reserve(bytes.size());
    std::size_t at = 0;
    while (at < bytes.size())
    {
        const std::size_t ascii = AsciiPrefix(bytes.substr(at));
        text.append(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                    bytes.begin() + static_cast<std::ptrdiff_t>(at + ascii));
        at += ascii;
        while (at < bytes.size() && static_cast<unsigned char>(bytes[at]) >= 0x80)
            AppendCharacter(text, NextMultibyte(bytes, at));
    }
    return text;
}

} // namespace platform
