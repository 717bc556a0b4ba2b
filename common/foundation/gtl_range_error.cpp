#include "foundation/gtl_range_error.h"

#include "foundation/str_load_wstring.h"

namespace gtl
{
namespace
{
constexpr unsigned kRangeStatus = 24389;
} // namespace

std::wstring RangeStatusFormat() { return str::load_wstring(kRangeStatus); }

status RangeStatus(std::wstring_view argument1, std::wstring_view argument2,
                   std::wstring_view argument3, std::wstring_view argument4,
                   std::wstring_view argument5)
{
    return status(kRangeStatus, argument1, argument2, argument3, argument4, argument5);
}

} // namespace gtl

namespace gtl::impl
{
namespace
{
constexpr bound_kind kNone = bound_kind::none;
constexpr bound_kind kIn = bound_kind::inclusive;
constexpr bound_kind kOut = bound_kind::exclusive;

// Message code by [lower kind][upper kind], each in the order none, inclusive, exclusive.
constexpr unsigned kDescription[3][3] = {
    {21622, 20676, 20692},
    {20551, 20452, 20451},
    {20564, 20450, 20449},
};
} // namespace

std::wstring range_error::Description(std::wstring_view lower, std::wstring_view upper,
                                      bound_kind lowerKind, bound_kind upperKind)
{
    const unsigned code =
        kDescription[static_cast<int>(lowerKind) + 1][static_cast<int>(upperKind) + 1];
    // A one-sided text has one token, so the bound that exists comes first; nothing follows it.
    if (lowerKind == kNone)
        return status(code, upperKind == kNone ? std::wstring_view() : upper).as_wstring();
    return status(code, lower, upperKind == kNone ? std::wstring_view() : upper).as_wstring();
}

status range_error::OutOfBounds(std::wstring_view value, std::wstring_view lower,
                                std::wstring_view upper, bound_kind lowerKind, bound_kind upperKind)
{
    return status(23007, value, Description(lower, upper, lowerKind, upperKind));
}

std::wstring range_error::DescNoLimit() { return Description({}, {}, kNone, kNone); }
std::wstring range_error::DescGE(std::wstring_view lower)
{
    return Description(lower, {}, kIn, kNone);
}
std::wstring range_error::DescGT(std::wstring_view lower)
{
    return Description(lower, {}, kOut, kNone);
}
std::wstring range_error::DescLE(std::wstring_view upper)
{
    return Description({}, upper, kNone, kIn);
}
std::wstring range_error::DescLT(std::wstring_view upper)
{
    return Description({}, upper, kNone, kOut);
}
std::wstring range_error::DescInclusiveInclusive(std::wstring_view lower, std::wstring_view upper)
{
    return Description(lower, upper, kIn, kIn);
}
std::wstring range_error::DescInclusiveExclusive(std::wstring_view lower, std::wstring_view upper)
{
    return Description(lower, upper, kIn, kOut);
}
std::wstring range_error::DescExclusiveInclusive(std::wstring_view lower, std::wstring_view upper)
{
    return Description(lower, upper, kOut, kIn);
}
std::wstring range_error::DescExclusiveExclusive(std::wstring_view lower, std::wstring_view upper)
{
    return Description(lower, upper, kOut, kOut);
}

} // namespace gtl::impl
