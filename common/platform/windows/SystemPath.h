/// @file
/// Paths as Windows' calls take them.
#pragma once

#include <string>

namespace platform::windows
{

/// @p path, with the prefix that lifts the limit of 260 characters when it is about that long.
std::wstring ToSystemPath(const std::wstring& path);

} // namespace platform::windows
