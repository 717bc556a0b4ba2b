#include "platform/platform_locale.h"

#include <windows.h>

namespace platform
{
namespace
{

std::string Info(std::uint32_t id, LCTYPE item)
{
    char text[256];
    const int size = ::GetLocaleInfoA(id, item, text, sizeof text);
    return size > 0 ? std::string(text) : std::string();
}

} // namespace

std::uint32_t UserLocale() { return ::GetUserDefaultLCID(); }

bool IsLocaleInstalled(std::uint32_t id) { return ::IsValidLocale(id, LCID_INSTALLED) != 0; }

std::string LocaleText(std::uint32_t id, LocaleItem item)
{
    // Every locale has a decimal separator: an empty one means that the number is unknown.
    const bool known = !Info(id, LCTYPE(LocaleItem::decimal)).empty();
    return Info(known ? id : kInvariantLocale, LCTYPE(item));
}

std::string LocaleName(std::uint32_t id)
{
    // MinGW's standard library has no other locale, and throws at every other name.
    return id == kInvariantLocale ? "C" : "";
}

} // namespace platform
