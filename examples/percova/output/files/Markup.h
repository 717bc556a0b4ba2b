/// @file
/// Text inside XML.
#pragma once

#include <string>

namespace percova
{

/// @p text with XML's special characters escaped; invalid XML characters and invalid UTF-8 become
/// U+FFFD.
std::string Escaped(const std::string& text);

} // namespace percova
