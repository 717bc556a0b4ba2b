/// @file
/// Text utilities: trimming, replacing, joining, narrow, wide and UTF-8 text, comparison without
/// case. All for std::string and std::wstring; none depends on a locale.
///
/// There is no str::encrypt: the scheme of the texts that exist is not published, another one could
/// not read them, and secrets are better left to the system's own store.
#pragma once

#include "foundation/kvi_export.h"
#include "foundation/str_u8string.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace str
{

/// @{
/// White space: of narrow text the six ASCII ones, of wide text every one of Unicode.
KVI_API bool is_space(char c);
/// White space of Unicode.
KVI_API bool is_space(wchar_t c);
/// @}

/// @{
/// Removes white space at both ends, or at one. Instances of all templates here: std::string,
/// std::wstring.
template <class text>
KVI_API void trim(text& s);
/// Removes white space at the beginning.
template <class text>
KVI_API void trim_left(text& s);
/// Removes white space at the end.
template <class text>
KVI_API void trim_right(text& s);
/// @}

/// Removes every occurrence of @p what from @p s, in one pass from the left; text that becomes
/// adjacent is not searched again. An empty @p what changes nothing.
template <class text>
KVI_API void erase_all(text& s, const text& what);

/// Replaces every occurrence of @p what by @p with, in one pass from the left; inserted text is not
/// searched, so @p with may contain @p what. An empty @p what changes nothing. Either may be @p s
/// itself.
template <class text>
KVI_API void replace_all(text& s, const text& what, const text& with);

/// The texts of @p parts with @p separator between them; no parts give the empty text.
template <class text>
KVI_API text join(const std::vector<text>& parts, const text& separator);

/// @{
/// Between narrow text in the system's code page (UTF-8 on Linux) and wide text. Invalid input
/// becomes the code page's replacement character, in wide text mostly U+FFFD; its neighbours and
/// zeros are kept.
KVI_API std::wstring as_wstring(const std::string& narrow);
/// @param narrow  may be null when @p n is 0
KVI_API std::wstring as_wstring(const char* narrow, std::size_t n);
/// Wide text in the system's code page.
KVI_API std::string as_cstring(const std::wstring& wide);
/// @}

/// @{
/// Between UTF-8 and wide text.
/// An invalid sequence, a lone surrogate becomes U+FFFD.
KVI_API std::wstring as_wstring(const u8string& utf8);
/// Wide text as UTF-8.
KVI_API u8string as_u8string(const std::wstring& wide);
/// @}

/// @{
/// -1, 0 or 1 as @p a comes before, equals or comes after @p b ignoring case: characters are
/// compared by the code of their simple case folding (Unicode), the same in every locale. Narrow
/// text folds A to Z only.
KVI_API int compare_ignore_case(std::string_view a, std::string_view b);
/// The same for wide text.
KVI_API int compare_ignore_case(std::wstring_view a, std::wstring_view b);
/// @}

/// @p wanted, or, where @p taken has it in any letter case, @p wanted with the first number that
/// makes it unique: "Fill (2)". (The spelling is part of the name.)
KVI_API std::wstring GenerateUniqueDesriptionIgnoreCase(const std::wstring& wanted,
                                                        const std::vector<std::wstring>& taken);

/// @p s in lower case, A to Z only: the form in which names and keys are stored.
KVI_API std::string ascii_lower(std::string_view s);

} // namespace str
