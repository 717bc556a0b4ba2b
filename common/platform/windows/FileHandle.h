/// @file
/// Handles with an owner, times and names of files.
#pragma once

#include "platform/platform_openfile.h"

#include <cstdint>
#include <string>

#include <windows.h>

namespace platform::windows
{

inline HANDLE HandleOf(const OpenFile& file) { return reinterpret_cast<HANDLE>(file.Number()); }

/// An open file as a handle; INVALID_HANDLE_VALUE, the number -1, means none.
class Handle : public OpenFile
{
public:
    explicit Handle(HANDLE handle = INVALID_HANDLE_VALUE)
        : OpenFile(reinterpret_cast<std::intptr_t>(handle))
    {
    }
    HANDLE Get() const { return HandleOf(*this); }
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
