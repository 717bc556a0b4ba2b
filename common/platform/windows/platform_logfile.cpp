#include "platform/platform_logfile.h"

#include "platform/platform_utf8.h"
#include "platform/windows/FileHandle.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

namespace platform
{
using windows::HandleOf;

namespace
{
// Attempts to get the lock below; then the write proceeds without it.
constexpr int kLockTries = 100;

WriteResult WriteAll(HANDLE file, std::string_view bytes)
{
    std::size_t written = 0;
    while (written < bytes.size())
    {
        const auto piece =
            static_cast<DWORD>(std::min<std::size_t>(bytes.size() - written, 1u << 30));
        DWORD n = 0;
        if (!::WriteFile(file, bytes.data() + written, piece, &n, nullptr))
            return {::GetLastError(), written};
        if (n == 0)
            return {ERROR_DISK_FULL, written};
        written += n;
    }
    return {0, written};
}

/// Serialises processes where appends are not atomic (Wine, some network drives), by locking a byte
/// far past the end of the file.
class AppendLock
{
public:
    explicit AppendLock(HANDLE file) : file_(file)
    {
        for (int tries = 0; tries < kLockTries; ++tries)
        {
            OVERLAPPED at = Far();
            locked_ = ::LockFileEx(file_, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1,
                                   0, &at) != FALSE;
            if (locked_ || ::GetLastError() != ERROR_LOCK_VIOLATION)
                return;
            ::Sleep(tries < 20 ? 0 : 1);
        }
    }
    ~AppendLock()
    {
        OVERLAPPED at = Far();
        if (locked_)
            ::UnlockFileEx(file_, 0, 1, 0, &at);
    }
    AppendLock(const AppendLock&) = delete;
    AppendLock& operator=(const AppendLock&) = delete;

private:
    static OVERLAPPED Far()
    {
        OVERLAPPED at{};
        at.OffsetHigh = 0x7FFFFFFF;
        return at;
    }

    HANDLE file_;
    bool locked_ = false;
};

windows::Handle OpenPath(const std::wstring& path, DWORD access, DWORD creation)
{
    // Full sharing, so that others may read, rename and remove a log in use.
    return windows::Handle(::CreateFileW(path.c_str(), access,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool Identify(HANDLE file, std::uint64_t& device, std::uint64_t& number)
{
    BY_HANDLE_FILE_INFORMATION about;
    if (!::GetFileInformationByHandle(file, &about) || about.nNumberOfLinks == 0)
        return false;
    device = about.dwVolumeSerialNumber;
    number = (std::uint64_t{about.nFileIndexHigh} << 32) | about.nFileIndexLow;
    return true;
}

bool IsDeletePending(HANDLE file)
{
    FILE_STANDARD_INFO about;
    return ::GetFileInformationByHandleEx(file, FileStandardInfo, &about, sizeof about) &&
           (about.DeletePending || about.NumberOfLinks == 0);
}
} // namespace

unsigned long LogFile::Open()
{
    file_ = OpenPath(path_, FILE_APPEND_DATA | FILE_READ_DATA | SYNCHRONIZE, OPEN_ALWAYS);
    if (!file_.IsOpen())
        return ::GetLastError();
    const HANDLE file = HandleOf(file_);
    regular_ = ::GetFileType(file) == FILE_TYPE_DISK && Identify(file, device_, number_);
    return 0;
}

bool LogFile::IsCurrent() const
{
    if (!regular_)
        return true;
    if (IsDeletePending(HandleOf(file_)))
        return false;
    const windows::Handle named = OpenPath(path_, FILE_READ_ATTRIBUTES, OPEN_EXISTING);
    std::uint64_t device = 0, number = 0;
    return named.IsOpen() && Identify(named.Get(), device, number) && device == device_ &&
           number == number_;
}

bool LogFile::IsRemoved() const { return regular_ && IsDeletePending(HandleOf(file_)); }

void LogFile::FindSizeLimit() {} // the system has none

const std::int64_t LogFile::kLookEvery = 1000;

WriteResult LogFile::WriteRaw(std::string_view bytes)
{
    std::optional<AppendLock> lock;
    if (regular_)
        lock.emplace(HandleOf(file_));
    return WriteAll(HandleOf(file_), bytes);
}

WriteResult WriteToConsole(bool toError, std::string_view bytes)
{
    std::fflush(toError ? stderr : stdout);
    const HANDLE stream = ::GetStdHandle(toError ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    if (stream == nullptr || stream == INVALID_HANDLE_VALUE)
        return {ERROR_INVALID_HANDLE, 0};
    DWORD mode = 0;
    if (!::GetConsoleMode(stream, &mode))
        return WriteAll(stream, bytes);
    const std::wstring text = FromUtf8(bytes);
    DWORD n = 0;
    if (!::WriteConsoleW(stream, text.data(), static_cast<DWORD>(text.size()), &n, nullptr))
        return {::GetLastError(), 0};
    return {0, bytes.size()};
}

unsigned long ThreadNumber() { return ::GetCurrentThreadId(); }

} // namespace platform
