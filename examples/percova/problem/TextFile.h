/// @file
/// Whole files: read at once, written whole or not at all; and their paths.
///
/// Inside percova a path is wide text in the library's manner, its parts separated by backslashes.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

namespace gtl
{
class status;
}

namespace percova
{

constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30; ///< that is read [bytes]

/// Reads a regular file; a pipe or a device is neither waited for nor read.
/// @param most  bytes; a larger file is refused
/// @returns false with @p reason when @p path cannot be read
bool ReadWhole(const std::wstring& path, std::string& text, std::string& reason,
               std::uint64_t most = kLargestFile);

/// Lets @p write fill a file that gets the name @p path when it is complete. On failure nothing is
/// left and a file that was there before is as it was; a link of that name is replaced, not
/// followed.
/// @returns false with @p reason, the file's name in it, when that failed
bool WriteWhole(const std::wstring& path, const std::function<void(std::ostream&)>& write,
                std::string& reason);
/// The same for a new file: one that has the name when it is complete is kept, and that is a
/// failure. A killed process may leave a file of that name with ".part" behind it.
bool WriteNew(const std::wstring& path, const std::function<void(std::ostream&)>& write,
              std::string& reason);
/// The system's words for what has failed, or else the library's, without a line break at the end.
/// @param argument  of the failure that has them: behind one path or two
std::string ReasonOf(const gtl::status& failed, int argument = 2);
/// Removes a file, if it is there and can be removed.
void RemoveFile(const std::wstring& path);

/// UTF-8 as a path; slashes become backslashes. On Linux a letter with a colon is no drive.
std::wstring PathOf(const std::string& text);
/// A path for people: UTF-8 with the system's own separators.
std::string TextOf(const std::wstring& path);
/// The folder of a file with the separator at its end; empty for the current one.
std::wstring FolderOf(const std::wstring& path);
/// What is behind the folder.
std::wstring NameOf(const std::wstring& path);
/// The file that @p name means as seen from the folder of @p file; @p name may have a root.
std::wstring Beside(const std::wstring& file, const std::string& name);

} // namespace percova
