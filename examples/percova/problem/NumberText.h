/// @file
/// Numbers as text, independent of the locale.
#pragma once

#include <string>

namespace percova
{

/// At most @p digits significant digits, for display.
std::string Short(double value, int digits = 6);
/// The shortest text that reads back as the same number.
std::string Exact(double value);
/// Exactly @p decimals places.
std::string Fixed(double value, int decimals);

} // namespace percova
