/// @file
/// UTF-8 and wide text, the same on every target.
#pragma once

#include <string>
#include <string_view>

namespace platform
{

/// The UTF-8 bytes of @p text. Wide text is UTF-16 or UTF-32 by the size of wchar_t; a lone
/// surrogate, or a value that is no character, becomes U+FFFD. Zeros are kept.
std::string ToUtf8(std::wstring_view text);

/// The wide text of UTF-8 bytes. Each maximal incomplete sequence, and each byte that begins none,
/// becomes one U+FFFD; neighbouring characters are kept.
std::wstring FromUtf8(std::string_view bytes);

/// Appends what ToUtf8 gives to @p bytes.
void AppendUtf8(std::string& bytes, std::wstring_view text);

/// Reads the character at @p at and moves @p at past it (at least by one); U+FFFD for an invalid
/// one. @p at is less than the text's size.
char32_t NextCharacter(std::wstring_view text, std::size_t& at);

/// Appends @p character as one or two wide characters; U+FFFD when it is none.
void AppendCharacter(std::wstring& text, char32_t character);

} // namespace platform
