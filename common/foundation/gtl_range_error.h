/// @file
/// Errors about values outside their bounds.
#pragma once

#include "foundation/gtl_range.h"
#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <string>
#include <string_view>

namespace gtl::impl
{

/// Words for a range, and the error for a value outside it. Bounds come as finished texts; the text
/// of an absent bound is not used.
struct KVI_API range_error
{
    /// What a value must be, such as "greater than 0", for the two kinds of bounds.
    static std::wstring Description(std::wstring_view lower, std::wstring_view upper,
                                    bound_kind lowerKind, bound_kind upperKind);
    /// The error of code 23007: the value's text and the description of its bounds.
    static status OutOfBounds(std::wstring_view value, std::wstring_view lower,
                              std::wstring_view upper, bound_kind lowerKind, bound_kind upperKind);

    /// "any number"
    static std::wstring DescNoLimit();
    /// "at least" @p lower
    static std::wstring DescGE(std::wstring_view lower);
    /// "greater than" @p lower
    static std::wstring DescGT(std::wstring_view lower);
    /// "at most" @p upper
    static std::wstring DescLE(std::wstring_view upper);
    /// "less than" @p upper
    static std::wstring DescLT(std::wstring_view upper);
    /// "at least" @p lower "and at most" @p upper
    static std::wstring DescInclusiveInclusive(std::wstring_view lower, std::wstring_view upper);
    /// "at least" @p lower "and less than" @p upper
    static std::wstring DescInclusiveExclusive(std::wstring_view lower, std::wstring_view upper);
    /// "greater than" @p lower "and at most" @p upper
    static std::wstring DescExclusiveInclusive(std::wstring_view lower, std::wstring_view upper);
    /// "greater than" @p lower "and less than" @p upper
    static std::wstring DescExclusiveExclusive(std::wstring_view lower, std::wstring_view upper);
};

} // namespace gtl::impl
