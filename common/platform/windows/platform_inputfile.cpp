#include "platform/platform_inputfile.h"

#include "platform/windows/SystemPath.h"

#include <algorithm>

#include <windows.h>

namespace platform
{
namespace
{
HANDLE Handle(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }
} // namespace

InputFile::~InputFile()
{
    if (handle_ != -1)
        ::CloseHandle(Handle(handle_));
}

unsigned long InputFile::Open(const std::wstring& path, bool shared)
{
    const DWORD others =
        shared ? FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE : FILE_SHARE_READ;
    const HANDLE file = ::CreateFileW(windows::ToSystemPath(path).c_str(), GENERIC_READ, others,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return ::GetLastError();
    if (::GetFileType(file) != FILE_TYPE_DISK)
    {
        ::CloseHandle(file);
        return ERROR_SEEK_ON_DEVICE;
    }
    if (handle_ != -1)
        ::CloseHandle(Handle(handle_));
    handle_ = reinterpret_cast<std::intptr_t>(file);
    position_ = 0;
    return 0;
}

unsigned long InputFile::Read(void* buffer, std::size_t size, std::size_t& got)
{
    got = 0;
    while (got < size)
    {
        OVERLAPPED at{};
        at.Offset = static_cast<DWORD>(position_);
        at.OffsetHigh = static_cast<DWORD>(position_ >> 32);
        DWORD n = 0;
        const auto piece = static_cast<DWORD>(std::min<std::size_t>(size - got, 1u << 30));
        if (!::ReadFile(Handle(handle_), static_cast<char*>(buffer) + got, piece, &n, &at))
        {
            const unsigned long error = ::GetLastError();
            if (error == ERROR_HANDLE_EOF)
                break;
            return error;
        }
        if (n == 0)
            break;
        got += n;
        position_ += n;
    }
    return 0;
}

unsigned long InputFile::Size(std::uint64_t& size) const
{
    LARGE_INTEGER bytes;
    if (!::GetFileSizeEx(Handle(handle_), &bytes))
        return ::GetLastError();
    size = static_cast<std::uint64_t>(bytes.QuadPart);
    return 0;
}

} // namespace platform
