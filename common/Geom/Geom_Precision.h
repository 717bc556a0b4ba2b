/// @file
/// The tolerance of a computation, and the process-wide one.
#pragma once

#include "foundation/kvi_export.h"

namespace Geom
{

/// The tolerance of one computation on the axes x, y, z. Every tolerant test of the geometry uses
/// the half-epsilons; the digits are informative.
struct KVI_API Precision3D
{
    int digits[3] = {4, 4, 4};                  ///< decimal places that count
    double epsilon[3] = {1e-4, 1e-4, 1e-4};     ///< 10 to the minus digits
    double halfEpsilon[3] = {5e-5, 5e-5, 5e-5}; ///< always half of epsilon

    /// 4 digits on every axis.
    constexpr Precision3D() = default;
    /// Sets digits, epsilon = 10^-digits (0 from 321 digits on, infinite from -309 downwards) and
    /// half-epsilon of each axis.
    void Set(const int newDigits[3]);
    /// Multiplies the epsilons by @p factor. Digits become minus the truncation toward zero of
    /// (log10(epsilon) + 0.5): 3, not 4, for an epsilon of 1e-4. That is intended: digits are
    /// informative, the epsilons are exact. An epsilon of 0 has 2147483647 digits, an infinite one
    /// -2147483647, a negative or NaN one 0.
    void ScaleEpsilon(double factor);
    /// Compares the digits only.
    bool operator==(const Precision3D& other) const;
};

/// The precision of every operation that takes none: 4 digits until SetCompPrecision.
KVI_API const Precision3D& Precision();
/// Replaces the process-wide precision, all of it. Not locked: no other thread may compute
/// geometry meanwhile.
KVI_API void SetCompPrecision(const Precision3D& precision);

} // namespace Geom
