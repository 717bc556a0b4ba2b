/// @file
/// Paths as text: roots, parts, and the form without "." and "..". The separator is the backslash
/// on every platform; a slash is read as one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace platform
{

/// The beginning of a path that ".." cannot leave: "C:", "C:\", "\", "\\server\share\", "\\?\C:\".
struct PathRoot
{
    std::size_t length; ///< characters of the path that belong to it; 0 for a relative path
    bool fixed;         ///< leads to one place; "C:" leads to the drive's current folder
    bool whole;         ///< names the drive or server too; "\" alone does not
};

/// Whether @p c is a separator.
constexpr bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

/// The root of @p path.
PathRoot RootOf(std::wstring_view path);

/// The parts of @p path between separators, empty ones left out.
std::vector<std::wstring_view> PartsOf(std::wstring_view path);

/// @p path with backslashes, without "." and "..", each ".." taking the part before it; a separator
/// at the end stays. ".." above a fixed root is dropped, above any other kept.
/// @param[out] above  when not null: whether something was dropped
std::wstring Normalised(std::wstring_view path, bool* above = nullptr);

/// A path as the system's own functions take it.
using SystemString = std::conditional_t<sizeof(wchar_t) == 2, std::wstring, std::string>;
SystemString SystemPath(const std::wstring& path);

/// @p folder and @p name with one separator between them.
std::wstring Joined(std::wstring_view folder, std::wstring_view name);

/// The full path of @p path from the current folder, normalised; the file need not exist.
/// @returns 0, or the system's error number
unsigned long AbsolutePath(const std::wstring& path, std::wstring& absolute);

/// Whether the file system ignores case.
bool NamesIgnoreCase();

/// The most characters that a path may have.
unsigned PathLimit();

} // namespace platform
