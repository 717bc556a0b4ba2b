/// @file
/// An interval whose ends may be missing, included or excluded.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace gtl
{

/// Whether a bound itself belongs to the range.
enum class bound_kind : std::int32_t
{
    none = -1,
    inclusive = 0,
    exclusive = 1
};

/// One end of a range. It is absent exactly when its value is 0 and its kind is none.
template <class T>
struct bound
{
    T value = T();                      ///< where the range ends
    bound_kind kind = bound_kind::none; ///< whether the value belongs to it

    /// Whether the range ends here at all.
    constexpr bool IsPresent() const { return value != T() || kind != bound_kind::none; }
    friend constexpr bool operator==(const bound&, const bound&) = default; ///< same value and kind
};

/// The values between two bounds. Comparisons are the plain ones: a NaN is within no bound.
template <class T>
struct range
{
    bound<T> lower; ///< the lower end
    bound<T> upper; ///< the upper end

    /// Whether @p value lies within both bounds.
    constexpr bool Contains(const T& value) const
    {
        return (!lower.IsPresent() || value > lower.value || IsOn(lower, value)) &&
               (!upper.IsPresent() || value < upper.value || IsOn(upper, value));
    }
    friend constexpr bool operator==(const range&, const range&) = default; ///< same bounds

private:
    static constexpr bool IsOn(const bound<T>& end, const T& value)
    {
        return value == end.value && end.kind == bound_kind::inclusive;
    }
};

/// The application's message template for a value out of range (code 24389).
KVI_API std::wstring RangeStatusFormat();

/// An error with that template and the caller's arguments.
KVI_API status RangeStatus(std::wstring_view argument1 = {}, std::wstring_view argument2 = {},
                           std::wstring_view argument3 = {}, std::wstring_view argument4 = {},
                           std::wstring_view argument5 = {});

} // namespace gtl
