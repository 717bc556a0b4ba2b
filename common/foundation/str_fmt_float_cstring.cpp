#include "foundation/str_fmt_float_cstring.h"

#include "foundation/str_number_impl.h"

#include <cstdint>

namespace str
{
namespace
{

// How much of a text of @p size characters, its first point at @p point, is left.
std::size_t Trimmed(const char* text, std::size_t size, std::size_t point, int keep)
{
    const std::size_t limit = std::uint32_t(point) + std::uint32_t(keep);
    while (size > 0 && size - 1 > limit && text[size - 1] == '0')
        --size;
    return size;
}

} // namespace

std::string fmt_float_cstring(double value, int decimals, int keep)
{
    char room[impl::kFastRoom];
    if (char* const end = impl::FastFixed(room, value, decimals))
    {
        const auto size = std::size_t(end - room);
        const std::size_t point =
            decimals > 0 ? size - 1 - std::size_t(decimals) : std::string::npos;
        return std::string(room, Trimmed(room, size, point, keep));
    }
    std::string text;
    impl::AppendFixed(text, value, decimals);
    return fmt_float_cstring(text, keep);
}

std::string fmt_float_cstring(const std::string& text, int keep)
{
    return text.substr(0, Trimmed(text.data(), text.size(), text.find('.'), keep));
}

} // namespace str
