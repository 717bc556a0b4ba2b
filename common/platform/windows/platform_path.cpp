#include "platform/platform_path.h"

#include "platform/windows/SystemPath.h"

#include <windows.h>

namespace platform
{
namespace
{
constexpr std::size_t kShort = 240; // folders must leave room for a short file name
} // namespace

namespace windows
{

std::wstring ToSystemPath(const std::wstring& path)
{
    std::wstring full;
    if (path.size() < kShort || path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\.\\") ||
        AbsolutePath(path, full) != 0)
        return path;
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

} // namespace windows

SystemString SystemPath(const std::wstring& path) { return windows::ToSystemPath(path); }

unsigned long AbsolutePath(const std::wstring& path, std::wstring& absolute)
{
    // The system would let ".." of a path such as "\\?\C:\..\a" leave the drive or the share.
    if (path.size() > 3 && IsSeparator(path[0]) && IsSeparator(path[1]) && path[2] == L'?' &&
        IsSeparator(path[3]))
    {
        absolute = Normalised(path);
        return 0;
    }
    std::wstring full;
    // Another thread may change the current folder between two calls, so repeat until it fits.
    for (DWORD room = MAX_PATH;;)
    {
        full.resize(room);
        const DWORD length = ::GetFullPathNameW(path.c_str(), room, full.data(), nullptr);
        if (length == 0)
            return ::GetLastError();
        if (length < room)
        {
            full.resize(length);
            absolute = std::move(full);
            return 0;
        }
        room = length + 1;
    }
}

bool NamesIgnoreCase() { return true; }

unsigned PathLimit() { return 32767; }

} // namespace platform
