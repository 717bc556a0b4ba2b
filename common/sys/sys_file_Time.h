/// @file
/// The time of a file.
#pragma once

#include "foundation/kvi_export.h"

#include <compare>
#include <cstdint>
#include <string>

namespace sys::file
{

/// A moment, in steps of 100 ns since 1601 in UTC; 0 when it is not known.
struct Time
{
    std::uint64_t ticks = 0; ///< steps of 100 ns

    /// Earlier is less.
    auto operator<=>(const Time&) const = default;
};

} // namespace sys::file

namespace str
{

/// @p time in local time as @p format says, in English whatever the locale. The format takes
/// strftime's Y y m d j H I M S p A a B b F T D R and %; another letter behind "%" stays as it is.
/// Null stands for "%Y-%m-%d %H:%M:%S". A time that is not known gives the empty text.
KVI_API std::string as_cstring(const sys::file::Time& time, const char* format);

} // namespace str
