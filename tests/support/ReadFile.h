/// @file
/// Paths as the library spells them, and whole files as text.
#pragma once

#include "foundation/str.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace support
{
namespace fs = std::filesystem;

constexpr bool kWindows = fs::path::preferred_separator == L'\\';

/// ASCII as wide text.
inline std::wstring Widened(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

/// The path in wide text with backslashes (fs::path::wstring goes through the process's locale).
inline std::wstring Wide(const fs::path& path)
{
    std::wstring text = str::as_wstring(str::u8string(path.u8string()));
    std::replace(text.begin(), text.end(), L'/', L'\\');
    return text;
}

inline void Write(const fs::path& path, std::string_view bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), std::ssize(bytes));
}

inline std::string ReadAll(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

inline std::vector<std::string> ReadLines(const fs::path& path) { return LinesOf(ReadAll(path)); }

/// How many entries a folder has.
inline std::ptrdiff_t Count(const fs::path& folder)
{
    return std::distance(fs::directory_iterator(folder), {});
}

} // namespace support
