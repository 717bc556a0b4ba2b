#include "platform/platform_inputfile.h"
#include "platform/platform_utf8.h"
#include "sys/file/FileErrors.h"
#include "sys/sys_file.h"

#include <new>
#include <stdexcept>
#include <string_view>

namespace sys::file
{
namespace
{
constexpr std::size_t kPiece = std::size_t{1} << 20;

/// All bytes of a file; also of one that reports no size, or grows.
std::string Bytes(const std::wstring& path)
{
    platform::InputFile file;
    std::string bytes;
    if (!IsUsable(path) || file.Open(path, true) != 0)
        return bytes;
    for (std::size_t got = 1; got > 0;)
    {
        const std::size_t had = bytes.size();
        bytes.resize(had + kPiece);
        const unsigned long error = file.Read(bytes.data() + had, kPiece, got);
        bytes.resize(had + got);
        if (error != 0)
            return {};
    }
    return bytes;
}

/// Units of UTF-16; @p high is the place of the high byte in each pair.
std::wstring FromUtf16(std::string_view bytes, std::size_t high)
{
    const auto unit = [&](std::size_t at) {
        return static_cast<char32_t>(static_cast<unsigned char>(bytes[at + high]) << 8 |
                                     static_cast<unsigned char>(bytes[at + 1 - high]));
    };
    std::wstring text;
    std::size_t at = 0;
    for (; at + 1 < bytes.size(); at += 2)
    {
        char32_t c = unit(at);
        if (c >= 0xD800 && c < 0xDC00 && at + 3 < bytes.size())
        {
            const char32_t low = unit(at + 2);
            if (low >= 0xDC00 && low < 0xE000)
            {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                at += 2;
            }
        }
        platform::AppendCharacter(text, c); // a lone surrogate becomes U+FFFD
    }
    if (at < bytes.size())
        platform::AppendCharacter(text, 0xFFFD);
    return text;
}
} // namespace

std::wstring ReadTextFile(const std::wstring& path)
try
{
    const std::string bytes = Bytes(path);
    const std::string_view text = bytes;
    if (text.starts_with("\xFF\xFE"))
        return FromUtf16(text.substr(2), 1);
    if (text.starts_with("\xFE\xFF"))
        return FromUtf16(text.substr(2), 0);
    return platform::FromUtf8(text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text);
}
catch (const std::bad_alloc&)
{
    return {}; // larger than this process can hold
}
catch (const std::length_error&)
{
    return {};
}

} // namespace sys::file
