/// @file
/// Decimal exponents, and the tolerance within which two numbers count as equal.
#pragma once

#include "foundation/kvi_export.h"

#include <limits>

namespace math::algorithm
{

/// Powers of ten by table, for a floating-point type.
template <class T>
struct FloatCommon;

/// Powers of ten by table, for double.
template <>
struct KVI_API FloatCommon<double>
{
    /// 10 to the @p n: the nearest double, by table; infinity above 308, 0 from -321 downwards.
    static double Pow10(int n);
    /// The decimal exponent of @p value: the largest e for which the double nearest to 10^e is at
    /// most |value|; exact, and without a floating-point exception. 0 for 0, NaN and infinity.
    static int Exp10(double value);
};

/// When two numbers are equal: within so many significant digits, or within a floor.
///
/// The tolerance at v is the larger of the floor and 5 x 10^(Exp10(v) - digits); two values are
/// equal when they differ by at most the larger of their two tolerances. NaN equals nothing.
template <class T>
struct Tolerance;

/// When two doubles are equal.
template <>
struct KVI_API Tolerance<double>
{
    /// The digit count that means "the floor alone".
    static constexpr int kAbsolute = std::numeric_limits<int>::max();

    /// Absolute: |u - v| <= @p floorValue.
    explicit Tolerance(double floorValue) : digits(kAbsolute), floor(floorValue) {}
    /// @param digitCount significant digits, 0 to 16, or kAbsolute
    Tolerance(int digitCount, double floorValue) : digits(digitCount), floor(floorValue) {}

    /// The tolerance at @p value.
    double At(double value) const;
    /// Whether @p u and @p v are equal.
    bool Equal(double u, double v) const;

    int digits;   ///< significant digits, or kAbsolute
    double floor; ///< the least tolerance
};

} // namespace math::algorithm
