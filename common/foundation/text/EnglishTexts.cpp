// The English texts of host/, compiled in as a fallback for hosts without texts.

#include "foundation/App.h"

#include <algorithm>
#include <iterator>

namespace
{
struct Row
{
    unsigned code;
    std::wstring_view text;
};

constexpr Row kTexts[] = {
#define KVI_TEXT(code, text) {code, L##text},
#include "kvi_messages.strings"
#undef KVI_TEXT
};

constexpr bool Before(const Row& a, const Row& b) { return a.code < b.code; }
static_assert(std::is_sorted(std::begin(kTexts), std::end(kTexts), Before));
} // namespace

std::wstring_view AppImpl::EnglishText(unsigned code)
{
    const Row* const row =
        std::lower_bound(std::begin(kTexts), std::end(kTexts), Row{code, {}}, Before);
    return row != std::end(kTexts) && row->code == code ? row->text : std::wstring_view();
}
