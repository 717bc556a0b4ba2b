/// @file
/// Conversion between paths with backslashes and the system's file names.
#pragma once

#include <string>
#include <string_view>

namespace platform::posix
{

/// The system's bytes of @p path: UTF-8, with a slash for each backslash. What FromSystemPath wrote
/// for bytes without a meaning becomes these bytes again.
std::string ToSystemPath(std::wstring_view path);

/// The path of the system's @p bytes. A name may hold any byte: one that is not UTF-8, and the
/// backslash, becomes the lone surrogate 0xDC00 + byte, which no text holds, so every file can be
/// named.
std::wstring FromSystemPath(std::string_view bytes);

} // namespace platform::posix
