/// @file
/// Text inside XML.
#pragma once

#include <string>

namespace percova
{

/// @p text with the signs that mean something in XML replaced; what is no character of XML or no
/// UTF-8 becomes U+FFFD.
std::string Escaped(const std::string& text);

} // namespace percova
