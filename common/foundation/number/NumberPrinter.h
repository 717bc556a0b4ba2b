/// @file
/// The number printer behind every text of the library. Callers hold a platform::FloatEnvGuard:
/// all functions but ShortFixed raise exceptions, and want rounding to nearest.
#pragma once

#include <cstdint>
#include <string>

namespace foundation
{

/// What str::is_space gives, inline for the loops that read numbers: the characters with Unicode's
/// property White_Space, all of them in the first plane, in narrow text those of ASCII. The C
/// library's answer would change with the process locale.
constexpr bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool IsSpace(wchar_t c)
{
    if (c < 0x80)
        return c == L' ' || (c >= L'\t' && c <= L'\r');
    return c == 0x85 || c == 0xa0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200a) || c == 0x2028 ||
           c == 0x2029 || c == 0x202f || c == 0x205f || c == 0x3000;
}

/// Buffer size that the fast printers may write to, larger than their text.
constexpr int kFastRoom = 64;

/// Writes @p value as printf's "%.*f" with @p decimals places, when that can be done in a few
/// operations without loss of exactness: at most 15 decimals, less than 2^52 units of the last.
/// @returns the end of the text, or null when nothing was written
char* FastFixed(char* out, double value, int decimals);

/// Writes the same without the trailing zeros after the first @p keep decimals (0 to @p decimals),
/// when there are 1 to 6 decimals and at most 7 digits before the point. Overwrites 16 characters,
/// the last one with 0. Computes with integers alone, in any floating-point environment.
/// @returns the length of the text, at most 15; 0 when nothing was written
int ShortFixed(char* out, double value, int decimals, int keep);

/// Writes @p value as printf's "%.*g" with @p digits significant digits, 1 to 12.
/// @returns the end of the text, or null when the last digit is in doubt and nothing was written
char* FastSignificant(char* out, double value, int digits);

/// Writes @p value as printf's "%.*e" with @p decimals places, 0 to 11.
/// @returns the end of the text, or null when the last digit is in doubt and nothing was written
char* FastScientific(char* out, double value, int decimals);

/// @name Exact text for every value and any number of places, appended to @p text
/// Byte for byte what printf writes in the C locale, with "nan", "-nan", "inf", "-inf". A
/// negative count of places is taken as 6.
void AppendFixed(std::string& text, double value, int decimals);      // "%.*f"
void AppendSignificant(std::string& text, double value, int digits);  // "%.*g"
void AppendScientific(std::string& text, double value, int decimals); // "%.*e"
/// @}

} // namespace foundation
