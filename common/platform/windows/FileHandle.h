/// @file
/// Handles with an owner, times and names of files.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include <windows.h>

namespace platform::windows
{

/// Closes the handle that it holds.
class Handle
{
public:
    explicit Handle(HANDLE handle = INVALID_HANDLE_VALUE) : handle_(handle) {}
    ~Handle() { Close(); }
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
    Handle& operator=(Handle&& other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }

    HANDLE Get() const { return handle_; }
    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    void Close()
    {
        const HANDLE handle = std::exchange(handle_, INVALID_HANDLE_VALUE);
        if (handle != INVALID_HANDLE_VALUE)
            ::CloseHandle(handle);
    }

private:
    HANDLE handle_;
};

inline std::uint64_t Joined(DWORD high, DWORD low) { return (std::uint64_t{high} << 32) | low; }

inline std::uint64_t Ticks(const FILETIME& time)
{
    return Joined(time.dwHighDateTime, time.dwLowDateTime);
}

/// Opens @p path for asking about it; a folder as well.
Handle OpenToAsk(const std::wstring& path);

/// Copies the access rights of @p from to @p to, if @p from exists and this user may.
void CopyAccessRights(const std::wstring& from, const std::wstring& to);

/// Random letters and digits, unpredictable.
std::wstring RandomName();

} // namespace platform::windows
