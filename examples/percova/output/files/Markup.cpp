#include "output/files/Markup.h"

#include "KVI.h"

namespace percova
{
namespace
{

/// @p text, which is UTF-8, with U+FFFD instead of U+FFFE and U+FFFF.
std::string Legal(std::string text)
{
    for (std::size_t at = 0; (at = text.find("\xEF\xBF", at)) != std::string::npos; at += 3)
        if (at + 2 < text.size() && static_cast<unsigned char>(text[at + 2]) >= 0xBE)
            text[at + 2] = '\xBD';
    return text;
}

} // namespace

std::string Escaped(const std::string& text)
{
    // Through wide text and back: bytes that are no UTF-8 become U+FFFD on the way.
    const str::u8string clean = str::as_u8string(str::as_wstring(str::u8string(text)));
    std::string escaped;
    for (const char c : Legal(clean.bytes()))
        switch (c)
        {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += static_cast<unsigned char>(c) < ' ' ? std::string("\xEF\xBF\xBD")
                                                           : std::string(1, c);
        }
    return escaped;
}

} // namespace percova
