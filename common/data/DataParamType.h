/// @file
/// The catalogue of every quantity that parameter tables carry.
#pragma once

#include "foundation/gtl_range.h"
#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <cstdint>
#include <vector>

/// The quantities, numbered densely from 0; the numbers are stored in documents. The members are
/// listed in DataParamType.def as Param0000 to Param0603; dataparam_alias.h has descriptive names.
enum class DataParamType : std::int32_t
{
    None = -1, ///< no quantity; not a member
/// @cond  the list, read by the preprocessor
// NOLINTNEXTLINE(bugprone-macro-parentheses): an enumerator
#define KVI_PARAM(number, name, method, category, range) name = number,
#include "data/DataParamType.def"
#undef KVI_PARAM
    /// @endcond
};

/// Number of members.
constexpr int kDataParamTypeCount = 604;

/// The family of a quantity. Families are identified by number only.
enum class DataParamCategory : std::int32_t
{
    // clang-format off
    Category00 = 0, Category01, Category02, Category03, Category04, Category05, Category06,
    Category07, Category08, Category09, Category10, Category11, Category12, Category13,
    Category14, Category15, Category16, Category17, Category18, Category19, Category20,
    Category21, Category22, Category23, Category24, Category25, Category26, Category27,
    Category28, Category29, Category30, Category31, Category32, Category33, Category34,
    Category35, Category36, Category37, Category38, Category39, Category40, Category41,
    Category42
    // clang-format on
};

/// Number of families.
constexpr int kDataParamCategoryCount = 43;

/// Properties of the quantities. The tables are constants, so any thread may read them at any time.
/// A member outside 0 to 603 is not detected.
namespace dataparamtype
{

/// How a quantity is obtained.
struct CalculationMethod
{
    /// How a quantity is obtained. Methods are identified by number only.
    enum Type : std::int32_t
    {
        MethodNone = -1,
        Method0 = 0,
        Method1 = 1,
        Method2 = 2
    };
};

/// How @p param is obtained; MethodNone for an input quantity.
KVI_API CalculationMethod::Type GetCalculationMethod(DataParamType param);
/// The family of @p param. Only those of members 0 to 39 and 598 to 602 are the documented ones, as
/// is how many members each family has. The other members are assigned in ascending order to meet
/// those numbers: code must not draw conclusions from their families.
/// @param param  not member 603, which has no category
KVI_API DataParamCategory GetCategory(DataParamType param);
/// The interval of valid values of @p param; the reference stays valid.
KVI_API const gtl::range<double>& GetRangeChecker(DataParamType param);

/// Whether @p value is valid for @p param. The missing value always is; a NaN only if the quantity
/// has no bounds.
/// @returns ok, or the error 23007 with the value and its bounds in 8 digits
KVI_API gtl::status IsRangeValid(DataParamType param, double value);

/// @{
/// Members of either list. Here and below every member of the result occurs once, in the order of
/// its first occurrence, that of @p a before that of @p b.
KVI_API std::vector<DataParamType> ListUnion(const std::vector<DataParamType>& a,
                                             const std::vector<DataParamType>& b);
/// Members of @p a that are not in @p b.
KVI_API std::vector<DataParamType> ListDifference(const std::vector<DataParamType>& a,
                                                  const std::vector<DataParamType>& b);
/// Members of @p a that are in @p b too.
KVI_API std::vector<DataParamType> ListIntersection(const std::vector<DataParamType>& a,
                                                    const std::vector<DataParamType>& b);

} // namespace dataparamtype
