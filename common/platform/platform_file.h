/// @file
/// Single files and folders: properties, creation, copying, renaming.
///
/// Functions return 0 or the system's error number. Precondition: a path is not empty and contains
/// no zero.
#pragma once

#include <cstdint>
#include <string>

namespace platform
{

/// What the system knows of a file. Times are in 100 ns since 1601 in UTC, 0 when not known.
struct FileInfo
{
    bool folder = false;
    bool regular = false; ///< a regular file; not a folder, pipe or device
    bool link = false;
    bool readOnly = false; ///< the attribute, or no permission to write for anyone
    std::uint64_t size = 0;
    std::uint64_t created = 0, accessed = 0, written = 0;
};

/// The kinds of failure that callers distinguish.
enum class FileFault
{
    other,
    missing,
    tooLong,
    badName,
    noProgram
};

/// The kind of error number @p error.
FileFault FaultOf(unsigned long error);

/// @param follow  whether a link is followed
unsigned long GetFileInfo(const std::wstring& path, FileInfo& info, bool follow = true);

/// Creates one folder, whose parent exists.
unsigned long MakeFolder(const std::wstring& path);

/// Sets or clears the read-only attribute: every permission to write, or the owner's.
unsigned long SetReadOnlyAttribute(const std::wstring& path, bool readOnly);

/// Copies the file @p from over @p to: bytes, permissions or attributes, time of the last write.
/// The new file appears whole under its name, or not at all. A read-only target is not replaced
/// (reported in @p readOnlyTarget), nor a file by itself.
unsigned long CopyWhole(const std::wstring& from, const std::wstring& to, bool& readOnlyTarget);

/// Renames a file or folder to a name that does not exist yet; moves a file also to another disk.
unsigned long MoveWhole(const std::wstring& from, const std::wstring& to);

/// Creates an empty file with a unique name in @p folder, which only this user may open.
unsigned long MakeTemporaryFile(const std::wstring& folder, const std::wstring& prefix,
                                std::wstring& path);

} // namespace platform
