#include "foundation/str_fmt_float_cstring.h"

#include "foundation/number/NumberPrinter.h"
#include "platform/platform_fpu.h"

#include <algorithm>
#include <cstdint>

namespace str
{
namespace
{

// How much of @p text is left.
std::size_t Trimmed(const std::string& text, int keep)
{
    const std::size_t limit = std::uint32_t(text.find('.')) + std::uint32_t(keep);
    std::size_t size = text.size();
    while (size > 0 && size - 1 > limit && text[size - 1] == '0')
        --size;
    return size;
}

} // namespace

std::string fmt_float_cstring(double value, int decimals, int keep)
{
    std::string text("***************"); // the most that a string holds by itself
    int size = 0;
    if (keep >= 0)
        size = foundation::ShortFixed(text.data(), value, decimals, std::min(keep, decimals));
    text.erase(std::size_t(size));
    if (size == 0)
    {
        const platform::FloatEnvGuard plain;
        foundation::AppendFixed(text, value, decimals);
        text.erase(Trimmed(text, keep));
    }
    return text;
}

std::string fmt_float_cstring(const std::string& text, int keep)
{
    return text.substr(0, Trimmed(text, keep));
}

} // namespace str
