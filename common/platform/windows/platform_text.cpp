#include "platform/platform_text.h"

#include <algorithm>

#include <windows.h>

namespace platform
{
namespace
{
// The system's calls count in int and treat 0 as a failure, so a longer text goes in pieces.
constexpr std::size_t kPiece = std::size_t{1} << 28;

bool IsHighSurrogate(wchar_t c) { return c >= 0xD800 && c < 0xDC00; }

/// The end of the last character that begins in the first @p size bytes.
std::size_t EndOfCharacter(std::string_view text, std::size_t size)
{
    if (::GetACP() == CP_UTF8)
    {
        while (size < text.size() && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80)
            ++size;
        return size;
    }
    const char* at = text.data();
    while (at < text.data() + size)
        at += ::IsDBCSLeadByteEx(CP_ACP, static_cast<BYTE>(*at)) ? 2 : 1;
    return std::min(text.size(), static_cast<std::size_t>(at - text.data()));
}
} // namespace

std::string Narrow(std::wstring_view text)
{
    std::string result;
    while (!text.empty())
    {
        std::size_t size = std::min(text.size(), kPiece);
        if (size < text.size() && IsHighSurrogate(text[size - 1]))
            ++size;
        const int in = static_cast<int>(size);
        const int room =
            ::WideCharToMultiByte(CP_ACP, 0, text.data(), in, nullptr, 0, nullptr, nullptr);
        const std::size_t had = result.size();
        result.resize(had + static_cast<std::size_t>(room));
        ::WideCharToMultiByte(CP_ACP, 0, text.data(), in, result.data() + had, room, nullptr,
                              nullptr);
        text.remove_prefix(size);
    }
    return result;
}

std::wstring Wide(std::string_view text)
{
    std::wstring result;
    while (!text.empty())
    {
        const std::size_t size = text.size() <= kPiece ? text.size() : EndOfCharacter(text, kPiece);
        const int in = static_cast<int>(size);
        const int room = ::MultiByteToWideChar(CP_ACP, 0, text.data(), in, nullptr, 0);
        const std::size_t had = result.size();
        result.resize(had + static_cast<std::size_t>(room));
        ::MultiByteToWideChar(CP_ACP, 0, text.data(), in, result.data() + had, room);
        text.remove_prefix(size);
    }
    return result;
}

} // namespace platform
