#include "data/DataParamType.h"

#include "foundation/MissingValue.h"
#include "foundation/gtl_range_error.h"
#include "foundation/str_locale.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

namespace dataparamtype
{
namespace
{
using gtl::bound;
using gtl::bound_kind;
using Range = gtl::range<double>;

// The seven intervals that DataParamType.def names.
constexpr Range Any = {};
constexpr Range AtLeast0 = {{0.0, bound_kind::inclusive}, {}};
constexpr Range Above0 = {{0.0, bound_kind::exclusive}, {}};
constexpr Range From0To1 = {{0.0, bound_kind::inclusive}, {1.0, bound_kind::inclusive}};
constexpr Range From0To100 = {{0.0, bound_kind::inclusive}, {100.0, bound_kind::inclusive}};
constexpr Range From0To049 = {{0.0, bound_kind::inclusive}, {0.49, bound_kind::inclusive}};
constexpr Range Below0 = {{}, {0.0, bound_kind::exclusive}};

#define KVI_PARAM(number, name, method, category, range) number,
constexpr int kNumbers[] = {
#include "data/DataParamType.def"
};
#undef KVI_PARAM

#define KVI_PARAM(number, name, method, category, range) CalculationMethod::Type{method},
constexpr CalculationMethod::Type kMethods[] = {
#include "data/DataParamType.def"
};
#undef KVI_PARAM

#define KVI_PARAM(number, name, method, category, range) DataParamCategory{category},
constexpr DataParamCategory kCategories[] = {
#include "data/DataParamType.def"
};
#undef KVI_PARAM

#define KVI_PARAM(number, name, method, category, range) range,
constexpr Range kRanges[] = {
#include "data/DataParamType.def"
};
#undef KVI_PARAM

constexpr bool NumberedDensely()
{
    for (int i = 0; i < static_cast<int>(std::size(kNumbers)); ++i)
    {
        if (kNumbers[i] != i)
            return false;
    }
    return std::size(kNumbers) == kDataParamTypeCount;
}
static_assert(NumberedDensely());

// Member 603 has no category.
constexpr int kCategorisedCount = kDataParamTypeCount - 1;

constexpr auto CategoryCount(int category)
{
    return std::count(kCategories, kCategories + kCategorisedCount, DataParamCategory{category});
}
static_assert(CategoryCount(0) == 162 && CategoryCount(13) == 75 && CategoryCount(24) == 36 &&
              CategoryCount(39) == 35 && CategoryCount(19) == 28 && CategoryCount(27) == 28 &&
              CategoryCount(16) == 22);

constexpr bool OtherCategoriesAreUsedLess()
{
    constexpr int common[] = {0, 13, 16, 19, 24, 27, 39};
    std::ptrdiff_t sum = 0;
    for (int category = 0; category < kDataParamCategoryCount; ++category)
    {
        const auto count = CategoryCount(category);
        sum += count;
        if (std::find(std::begin(common), std::end(common), category) == std::end(common) &&
            (count < 1 || count >= 22))
            return false;
    }
    return sum == kCategorisedCount; // none above the last
}
static_assert(OtherCategoriesAreUsedLess());

constexpr bool FixedCategoriesHold()
{
    constexpr int first[] = {0,  0,  0,  0,  0,  0,  7,  0,  7,  2,  2,  2,  24, 24,
                             24, 13, 13, 13, 13, 0,  0,  22, 23, 25, 25, 25, 23, 23,
                             13, 13, 13, 13, 13, 13, 13, 14, 14, 14, 3,  3};
    constexpr int last[] = {0, 19, 24, 24, 24};
    const auto equal = [](int fixed, DataParamCategory category) {
        return DataParamCategory{fixed} == category;
    };
    return std::equal(std::begin(first), std::end(first), kCategories, equal) &&
           std::equal(std::begin(last), std::end(last), kCategories + 598, equal);
}
static_assert(FixedCategoriesHold());

/// A bound or value as the error shows it: 8 significant digits in the user's locale.
std::wstring NumberText(double value)
{
    namespace locale = str::locale;
    std::wstring text;
    // Cannot fail: neither width nor number of digits is out of range.
    (void)locale::to_string(text, value, locale::native(), locale::kNoWidth, 8,
                            locale::floatformat::general);
    return text;
}

bool IsIn(const std::vector<DataParamType>& list, DataParamType param)
{
    return std::find(list.begin(), list.end(), param) != list.end();
}

/// Members of @p list for which @p isSelected holds, each once.
template <class Predicate>
std::vector<DataParamType> Select(const std::vector<DataParamType>& list, Predicate isSelected)
{
    std::vector<DataParamType> selected;
    for (const DataParamType param : list)
    {
        if (isSelected(param) && !IsIn(selected, param))
            selected.push_back(param);
    }
    return selected;
}
} // namespace

CalculationMethod::Type GetCalculationMethod(DataParamType param)
{
    return kMethods[static_cast<int>(param)];
}

DataParamCategory GetCategory(DataParamType param) { return kCategories[static_cast<int>(param)]; }

const gtl::range<double>& GetRangeChecker(DataParamType param)
{
    return kRanges[static_cast<int>(param)];
}

gtl::status IsRangeValid(DataParamType param, double value)
{
    const Range& range = GetRangeChecker(param);
    if (IsMissingValue(value) || range.Contains(value))
        return {};
    return gtl::impl::range_error::OutOfBounds(NumberText(value), NumberText(range.lower.value),
                                               NumberText(range.upper.value), range.lower.kind,
                                               range.upper.kind);
}

std::vector<DataParamType> ListUnion(const std::vector<DataParamType>& a,
                                     const std::vector<DataParamType>& b)
{
    std::vector<DataParamType> both = a;
    both.insert(both.end(), b.begin(), b.end());
    return Select(both, [](DataParamType) { return true; });
}

std::vector<DataParamType> ListDifference(const std::vector<DataParamType>& a,
                                          const std::vector<DataParamType>& b)
{
    return Select(a, [&b](DataParamType param) { return !IsIn(b, param); });
}

std::vector<DataParamType> ListIntersection(const std::vector<DataParamType>& a,
                                            const std::vector<DataParamType>& b)
{
    return Select(a, [&b](DataParamType param) { return IsIn(b, param); });
}

} // namespace dataparamtype
