/// @file
/// Reading and writing whole files; written under another name first.
#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>

namespace percova
{

/// @returns false with @p reason when @p path cannot be read
bool ReadWhole(const std::filesystem::path& path, std::string& text, std::string& reason);

/// Lets @p write fill a file beside @p path and then renames it to @p path. On failure nothing is
/// left and an existing file is unchanged.
/// @returns false with @p reason, the file's name in it, when that failed
bool WriteWhole(const std::filesystem::path& path, const std::function<void(std::ostream&)>& write,
                std::string& reason);

/// A file name as UTF-8, and back.
std::string TextOf(const std::filesystem::path& path);
std::filesystem::path PathOf(const std::string& text);
/// Conversion to and from the library's paths with backslash separators.
std::wstring LibraryPath(const std::filesystem::path& path);
std::filesystem::path PathOf(std::wstring libraryPath);

} // namespace percova
