/// @file
/// Paths as the library spells them, and whole files as text.
#pragma once

#include "foundation/str.h"

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

/// The path in wide text (fs::path::wstring goes through the process's locale).
inline std::wstring Wide(const fs::path& path)
{
    return str::as_wstring(str::u8string(path.u8string()));
}

inline std::string ReadAll(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::vector<std::string> ReadLines(const fs::path& path)
{
    std::vector<std::string> lines;
    std::istringstream text(ReadAll(path));
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

} // namespace support
