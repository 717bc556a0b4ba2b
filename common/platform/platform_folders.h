/// @file
/// Folders that the system or the user has chosen, and opening a file with its program.
#pragma once

#include <cstdint>
#include <string>

namespace platform
{

/// The folder to which relative paths refer.
unsigned long CurrentFolder(std::wstring& path);
unsigned long SetCurrentFolder(const std::wstring& path);

/// The user's folder for temporary files, ending with a separator; it exists.
unsigned long TemporaryFolder(std::wstring& path);

/// The 128-bit identifier of a Windows known folder.
struct FolderNumber
{
    std::uint32_t data1;
    std::uint16_t data2, data3;
    std::uint8_t data4[8];

    bool operator==(const FolderNumber&) const = default;
};

/// The path of a known folder, whether it exists or not; empty when the system has none.
std::wstring KnownFolder(const FolderNumber& folder);

/// Opens @p path, which is absolute, with the program that the user's desktop has for it. No shell
/// reads the path. Waits a second at most for the desktop's answer.
/// @param window  the owner of windows that appear (an HWND), or null
unsigned long OpenWithProgram(const std::wstring& path, void* window);

/// The system's local time of a time in 100 ns since 1601 in UTC.
struct LocalTime
{
    int year, month, day, hour, minute, second;
};
LocalTime ToLocalTime(std::uint64_t time);

} // namespace platform
