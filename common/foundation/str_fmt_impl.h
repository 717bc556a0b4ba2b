/// @file
/// What the formatter's sources share, and the door for message templates. Not installed.
#pragma once

#include "foundation/str_fmt.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace str::fmt::impl
{

/// One conversion of a format.
struct Token
{
    bool left = false, plus = false, space = false, alternate = false, zero = false;
    int width = 0;
    int precision = -1; ///< -1: none given
    char conversion = 0;
};

/// Reads the conversion that begins with the "%" at format[at].
/// @returns the position behind it, or @p at when it is none ("%%" is none either)
template <class C>
std::size_t ParseToken(std::basic_string_view<C> format, std::size_t at, Token& token);

/// @p format with its conversions filled by @p count texts in their order, each inserted as it is.
/// Conversions left over stand as written.
std::wstring FillTemplate(const std::wstring& format, const std::wstring* args, unsigned count);

} // namespace str::fmt::impl
