/// @file
/// Floating-point numbers from text and to text.
#pragma once

#include "foundation/kvi_export.h"

#include <string>

namespace math
{

/// How many digits a floating-point text has, and how the exact binary value is rounded to them.
/// The value itself decides: 1.005 is held as 1.00499999999999989..., so it never rounds up to
/// 1.01.
enum class RoundType
{
    /// The fewest digits that read back as the same value; the count of digits is not used.
    shortest,
    /// Significant digits, the shape of printf's "%g": no trailing zeros, and an exponent below
    /// 10^-4 or when the digits do not reach the point. Nearest, exactly half to the even digit.
    significant,
    significant_half_away, ///< the same, exactly half away from zero
    significant_truncated, ///< the same, further digits cut off

    /// Digits after the point, the shape of "%f", zeros kept. Nearest, exactly half to the even.
    decimals,
    decimals_half_away, ///< the same, exactly half away from zero
    decimals_truncated  ///< the same, further digits cut off
};

} // namespace math

namespace math::impl
{

/// Reads and writes floating-point numbers as text, to the last bit and the last digit, the same
/// under every process locale (the point is "."), rounding mode and treatment of subnormal numbers;
/// no floating-point exception is raised. T is one of float, double and long double.
template <class T>
struct KVI_API ConvertFloat
{
    /// Reads the number that is all of @p text: white space may lead, then one sign, then digits
    /// with an optional point and exponent, or "inf", "infinity" or "nan" in any case. The result
    /// is the nearest value, exactly half to the even one; past the largest it is infinity.
    /// Anything else, also trailing white space or no text at all, gives the failure value: the
    /// largest value of the type, which for double is the missing value.
    static void from_string(T& value, const std::string& text);
    /// The same for wide text.
    static void from_string(T& value, const std::wstring& text);

    /// Reads a number, as above but without leading white space, from the front of the characters
    /// from @p first to @p last, which need no terminator: the reader for files.
    /// @returns the end of the number; @p first, with @p value as it was, when there is none
    static const char* read(T& value, const char* first, const char* last);

    /// Writes @p value with @p digits digits, at most 20000; 0 significant digits count as 1. What
    /// is not finite reads "inf", "-inf", "nan" or "-nan".
    static void to_string(std::string& text, const T& value, unsigned int digits, RoundType round);
    /// The same for wide text.
    static void to_string(std::wstring& text, const T& value, unsigned int digits, RoundType round);
};

} // namespace math::impl
