#include "platform/platform_inputfile.h"

#include "platform/windows/FileHandle.h"
#include "platform/windows/SystemPath.h"

#include <algorithm>
#include <utility>

namespace platform
{
using windows::HandleOf;

unsigned long InputFile::Open(const std::wstring& path, bool shared)
{
    const DWORD others =
        shared ? FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE : FILE_SHARE_READ;
    windows::Handle file(::CreateFileW(windows::ToSystemPath(path).c_str(), GENERIC_READ, others,
                                       nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.IsOpen())
        return ::GetLastError();
    if (::GetFileType(file.Get()) != FILE_TYPE_DISK)
        return ERROR_SEEK_ON_DEVICE;
    file_ = std::move(file);
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
        if (!::ReadFile(HandleOf(file_), static_cast<char*>(buffer) + got, piece, &n, &at))
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
    if (!::GetFileSizeEx(HandleOf(file_), &bytes))
        return ::GetLastError();
    size = static_cast<std::uint64_t>(bytes.QuadPart);
    return 0;
}

} // namespace platform
