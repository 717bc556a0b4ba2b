/// @file
/// Wide text and the system's narrow text: the ANSI code page on Windows, UTF-8 on Linux.
#pragma once

#include <string>
#include <string_view>

namespace platform
{

/// The narrow text of @p text. Characters that the code page lacks become its replacement character
/// ("?", or U+FFFD where the code page is UTF-8). Zeros are kept.
std::string Narrow(std::wstring_view text);

/// The wide text of @p text. Bytes invalid in the code page become U+FFFD or the code page's
/// substitute; their neighbours and zeros are kept.
std::wstring Wide(std::string_view text);

} // namespace platform
