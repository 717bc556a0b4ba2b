/// @file
/// Whole numbers from text and to text.
#pragma once

#include "foundation/kvi_export.h"

#include <string>

namespace math::impl
{

/// Reads and writes whole numbers as text, the same under every process locale.
///
/// Reading never fails: text that is no number gives the failure value, the largest value of the
/// type. `long` and `unsigned long` are 32 bits wide in every rule here, whatever their size is,
/// so their failure values are 0x7fffffff and 0xffffffff on every platform.
///
/// T is one of char, unsigned char, short, unsigned short, int, unsigned int, long,
/// unsigned long, long long, unsigned long long; the char types are numbers here, not letters.
template <class T>
struct KVI_API ConvertInt
{
    /// Reads the decimal number that is all of @p text: white space may lead, then one sign, then
    /// digits to the very end. Anything else, also trailing white space or no text at all, gives
    /// the failure value; a sign alone is 0. Digits beyond the type's range wrap around.
    static void from_string(T& value, const std::string& text);
    /// The same for wide text.
    static void from_string(T& value, const std::wstring& text);

    /// Reads as the C library's strtol and wcstol do with a 32-bit long: white space and a sign may
    /// lead, base 16 allows "0x", base 0 takes the base from the text, and reading stops without an
    /// error at the first character that is no digit. What does not fit saturates at the ends of
    /// the signed range, also for the unsigned types, so that 2147483647 is the most they can read;
    /// the two long long types saturate at the ends of the signed 64-bit range, and the types
    /// narrower than 32 bits keep the low bits. Empty text gives the failure value; text without
    /// digits, or a base outside 0 and 2 to 36, gives 0.
    static void from_string(T& value, const std::string& text, int base);
    /// The same for wide text.
    static void from_string(T& value, const std::wstring& text, int base);

    /// Writes @p value with digits 0 to 9 and a to z, "-" before a negative value in every base.
    /// A base outside 2 to 36 leaves @p text empty.
    static void to_string(std::string& text, const T& value, int base);
    /// The same for wide text.
    static void to_string(std::wstring& text, const T& value, int base);
};

} // namespace math::impl
