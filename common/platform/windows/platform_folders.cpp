#include "platform/platform_folders.h"

#include <array>
#include <cstring>
#include <shlobj.h>

#include <windows.h>

namespace platform
{

unsigned long CurrentFolder(std::wstring& path)
{
    std::array<wchar_t, 32768> buffer;
    const DWORD length = ::GetCurrentDirectoryW(static_cast<DWORD>(buffer.size()), buffer.data());
    if (length == 0)
        return ::GetLastError();
    path.assign(buffer.data(), length);
    return 0;
}

unsigned long SetCurrentFolder(const std::wstring& path)
{
    return ::SetCurrentDirectoryW(path.c_str()) ? 0 : ::GetLastError();
}

unsigned long TemporaryFolder(std::wstring& path)
{
    std::array<wchar_t, MAX_PATH + 1> buffer;
    const DWORD length = ::GetTempPathW(static_cast<DWORD>(buffer.size()), buffer.data());
    if (length == 0)
        return ::GetLastError();
    const DWORD attributes = ::GetFileAttributesW(buffer.data());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return ::GetLastError();
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return ERROR_DIRECTORY;
    path.assign(buffer.data(), length);
    return 0;
}

std::wstring KnownFolder(const FolderNumber& folder)
{
    static_assert(sizeof(GUID) == sizeof folder);
    GUID number;
    std::memcpy(&number, &folder, sizeof number);
    wchar_t* text = nullptr;
    std::wstring path;
    if (SUCCEEDED(::SHGetKnownFolderPath(number, KF_FLAG_DONT_VERIFY, nullptr, &text)))
        path = text;
    ::CoTaskMemFree(text);
    return path;
}

LocalTime ToLocalTime(std::uint64_t time)
{
    const FILETIME ticks{static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
    SYSTEMTIME utc{}, local{};
    if (!::FileTimeToSystemTime(&ticks, &utc) ||
        !::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local))
        local = utc;
    return {local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond};
}

} // namespace platform
