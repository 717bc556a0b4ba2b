#include "problem/NumberText.h"

#include <charconv>

namespace percova
{
namespace
{
template <class... Format>
std::string Text(double value, Format... format)
{
    char text[400]; // the longest double with its places
    const auto [end, error] = std::to_chars(text, text + sizeof text, value, format...);
    return error == std::errc() ? std::string(text, end) : std::string("?");
}
} // namespace

std::string Short(double value, int digits)
{
    return Text(value, std::chars_format::general, digits);
}

std::string Exact(double value) { return Text(value); }

std::string Fixed(double value, int decimals)
{
    return Text(value, std::chars_format::fixed, decimals);
}

} // namespace percova
