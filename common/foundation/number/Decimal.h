/// @file
/// Decimal numbers of any length: exact, for the values and rounding rules that the fast printers
/// do not handle. Hidden: used by the sources of foundation, never installed.
#pragma once

#include <string>

namespace foundation
{

/// What happens to the digits after the last one kept.
enum class Ending
{
    nearestEven, ///< to the nearest, exactly half to the even digit
    nearestAway, ///< to the nearest, exactly half away from zero
    cut          ///< dropped
};

/// A number 0.d1 d2 d3 ... * 10^point that is not negative; zero has no digits.
struct Decimal
{
    std::string digits; ///< '0' to '9', the first and the last of them not '0'
    long point = 0;

    /// Every digit of @p value, which is finite; its sign is dropped.
    static Decimal Exact(long double value);

    /// Takes a number without a sign, as "12", ".5", "1.5e-3", from the front of a text.
    /// @returns the end of it, or @p first when there is none
    const char* Read(const char* first, const char* last);

    /// Keeps the first @p kept digits; with a negative count, none: rounds at a digit before the
    /// first.
    void Round(long kept, Ending ending);

    /// The nearest long double, exactly half to the even one; infinity past the largest.
    long double Nearest() const;

    /// As printf's "%.*f" writes it, with zeros where the digits end.
    std::string Fixed(long decimals) const;
    /// As printf's "%.*g" writes it: with an exponent below 10^-4 and from 10^ @p most on.
    std::string General(long most) const;
};

} // namespace foundation
