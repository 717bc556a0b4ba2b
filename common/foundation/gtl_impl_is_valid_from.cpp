#include "foundation/gtl_impl_is_valid_from.h"

#include "foundation/number/NumberPrinter.h"

#include <algorithm>
#include <string_view>

namespace gtl::impl
{
namespace
{

constexpr std::string_view kFloat = "0123456789-+.Ee", kIntegral = "0123456789-+";

template <class Char>
bool HasOnly(const std::basic_string<Char>& text, std::string_view allowed)
{
    auto first = text.begin(), last = text.end();
    while (first != last && foundation::IsSpace(*first))
        ++first;
    while (first != last && foundation::IsSpace(last[-1]))
        --last;
    return std::all_of(first, last, [allowed](Char c) {
        return std::any_of(allowed.begin(), allowed.end(), [c](char a) { return c == Char(a); });
    });
}

} // namespace

bool is_float_valid_from(const std::string& text, bool) { return HasOnly(text, kFloat); }
bool is_float_valid_from(const std::wstring& text, bool) { return HasOnly(text, kFloat); }
bool is_integral_valid_from(const std::string& text, bool) { return HasOnly(text, kIntegral); }
bool is_integral_valid_from(const std::wstring& text, bool) { return HasOnly(text, kIntegral); }

} // namespace gtl::impl
