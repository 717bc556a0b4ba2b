/// @file
/// Fixed-point text without its trailing zeros.
#pragma once

#include "foundation/kvi_export.h"

#include <string>

namespace str
{

/// @p value as printf's "%.*f" with @p decimals places in the C locale, right to the last digit,
/// then without trailing zeros as below. A negative count of decimals is taken as 6.
KVI_API std::string fmt_float_cstring(double value, int decimals, int keep);

/// @p text without its trailing zeros, except for the first @p keep characters after the point.
/// The point itself stays: "1.000" with keep 0 gives "1.".
///
/// Zeros are erased while their index is above p + keep, p being that of the first point; the sum
/// is formed in 32 bits. Without a point p is 0xffffffff, so the sum wraps: keep 0 then erases
/// nothing, but keep k >= 1 erases down to index k - 1, and "100" with keep 1 gives "1". This is
/// meant: callers rely on it.
KVI_API std::string fmt_float_cstring(const std::string& text, int keep);

} // namespace str
