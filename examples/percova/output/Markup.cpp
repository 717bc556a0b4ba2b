#include "output/Markup.h"

#include "KVI.h"

namespace percova
{

std::string Escaped(const std::string& text)
{
    // Through wide text and back: bytes that are no UTF-8 become U+FFFD on the way.
    const str::u8string clean = str::as_u8string(str::as_wstring(str::u8string(text)));
    std::string escaped;
    for (const char c : clean.bytes())
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
