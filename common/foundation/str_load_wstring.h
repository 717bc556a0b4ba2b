/// @file
/// The application's texts, by message code.
#pragma once

#include "foundation/kvi_export.h"

#include <string>
#include <vector>

namespace str
{

/// The text of message @p code as the application has it now, or else the library's own English
/// one, with its conversions unfilled; empty when there is neither.
KVI_API std::wstring load_wstring(unsigned int code);

/// The texts of @p codes, in their order.
KVI_API std::vector<std::wstring> load_wstrings(const std::vector<unsigned int>& codes);

/// @p parts as a list in the user's manner: the list separator of str::locale::native() and a blank
/// between them ("a; b; c" or "a, b, c").
KVI_API std::wstring joinLanguage(const std::vector<std::wstring>& parts);

} // namespace str
