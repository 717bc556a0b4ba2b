/// @file
/// Whether text may be read as a number, by the characters in it alone.
#pragma once

#include "foundation/kvi_export.h"

#include <string>

namespace gtl::impl
{

/// Whether @p text, white space at both ends aside, has no other characters than "0123456789-+.Ee".
/// Their order and number do not matter: "1-2" is valid, and so is text with nothing in it. The
/// second argument is ignored.
KVI_API bool is_float_valid_from(const std::string& text, bool);
/// The same for wide text.
KVI_API bool is_float_valid_from(const std::wstring& text, bool);

/// The same for whole numbers, with the characters "0123456789-+".
KVI_API bool is_integral_valid_from(const std::string& text, bool);
/// The same for wide text.
KVI_API bool is_integral_valid_from(const std::wstring& text, bool);

} // namespace gtl::impl
