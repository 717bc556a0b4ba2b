#include "platform/platform_path.h"

#include "platform/platform_folders.h"
#include "platform/platform_utf8.h"
#include "platform/posix/SystemPath.h"

#include <climits>

namespace platform
{
namespace
{
constexpr char32_t kByte = 0xDC00;

/// Length of the UTF-8 sequence that @p bytes begins with; 0 when it is none.
std::size_t SequenceLength(std::string_view bytes)
{
    const auto lead = static_cast<unsigned char>(bytes[0]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    const std::string_view sequence = bytes.substr(0, length);
    return sequence.size() == length && ToUtf8(FromUtf8(sequence)) == sequence ? length : 0;
}
} // namespace

namespace posix
{

std::string ToSystemPath(std::wstring_view path)
{
    std::string bytes;
    for (const wchar_t& c : path)
    {
        const auto code = static_cast<char32_t>(c);
        if (c == L'\\')
            bytes += '/';
        else if (code >= kByte && code <= kByte + 0xFF && code != kByte)
            bytes += static_cast<char>(code - kByte);
        else
            AppendUtf8(bytes, {&c, 1});
    }
    return bytes;
}

std::wstring FromSystemPath(std::string_view bytes)
{
    std::wstring path;
    while (!bytes.empty())
    {
        const std::size_t length = SequenceLength(bytes);
        if (bytes[0] == '/')
            path += L'\\';
        else if (length == 0 || bytes[0] == '\\')
            path += static_cast<wchar_t>(kByte + static_cast<unsigned char>(bytes[0]));
        else
            path += FromUtf8(bytes.substr(0, length));
        bytes.remove_prefix(length == 0 ? 1 : length);
    }
    return path;
}

} // namespace posix

SystemString SystemPath(const std::wstring& path) { return posix::ToSystemPath(path); }

unsigned long AbsolutePath(const std::wstring& path, std::wstring& absolute)
{
    if (const PathRoot root = RootOf(path); root.length > 0)
    {
        if (!root.fixed) // no drive has a current folder here
        {
            absolute =
                Normalised(Joined(path.substr(0, root.length) + L'\\', path.substr(root.length)));
            return 0;
        }
        absolute = Normalised(path);
        return 0;
    }
    std::wstring folder;
    if (const unsigned long error = CurrentFolder(folder); error != 0)
        return error;
    absolute = Normalised(Joined(folder, path));
    return 0;
}

bool NamesIgnoreCase() { return false; }

unsigned PathLimit() { return PATH_MAX - 1; }

} // namespace platform
