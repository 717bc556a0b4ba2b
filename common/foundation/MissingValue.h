/// @file
/// The value that means "no value" in tables, functions, ranges and geometry.
#pragma once

#include <limits>

/// The value of type T that means "no value"; each type that has one specialises this.
template <class T>
T MissingValue();

/// 1.7976931348623157e308, the largest finite double.
template <>
constexpr double MissingValue<double>()
{
    return std::numeric_limits<double>::max();
}

/// Whether @p value is the missing value, exactly.
constexpr bool IsMissingValue(double value) { return value == MissingValue<double>(); }
