#include "problem/Shown.h"

#include "KVI.h"

#include <algorithm>

namespace percova
{
namespace
{

bool IsHarmful(wchar_t c)
{
    return c < L' ' || (c >= 0x7F && c <= 0x9F) || c == 0x61C || c == 0x200E || c == 0x200F ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

} // namespace

std::string Shown(std::string_view text)
{
    bool isPlain = true;
    for (const char c : text)
        isPlain = isPlain && c >= ' ' && c < 0x7F;
    if (isPlain)
        return std::string(text);
    constexpr wchar_t kInvalid = 0xFFFD;
    std::wstring wide = str::as_wstring(str::u8string(std::string(text)));
    for (wchar_t& c : wide)
        if (IsHarmful(c) || c == kInvalid)
            c = L'?';
    return str::as_u8string(wide).bytes();
}

std::string Shortened(std::string_view text, std::size_t most)
{
    if (text.size() <= most)
        return Shown(text);
    while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80)
        --most; // whole characters
    return Shown(text.substr(0, most)) + "...";
}

void SafeBuffer::Pass(std::size_t size)
{
    std::string_view rest = std::string_view(line_).substr(0, size);
    while (!rest.empty())
    {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        out_ << Shown(rest.substr(0, end));
        if (end < rest.size())
            out_ << '\n';
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    line_.erase(0, size);
}

std::streamsize SafeBuffer::xsputn(const char* text, std::streamsize count)
{
    line_.append(text, static_cast<std::size_t>(count));
    constexpr std::size_t kLong = 65536; // not kept until the line ends
    if (const std::size_t end = line_.rfind('\n'); end != std::string::npos)
        Pass(end + 1);
    else if (line_.size() > kLong)
        Pass(line_.size());
    return out_ ? count : 0;
}

SafeBuffer::int_type SafeBuffer::overflow(int_type c)
{
    const char one = traits_type::to_char_type(c);
    return xsputn(&one, 1) == 1 ? traits_type::not_eof(c) : traits_type::eof();
}

int SafeBuffer::sync()
{
    Pass(line_.size());
    out_.flush();
    return out_ ? 0 : -1;
}

} // namespace percova
