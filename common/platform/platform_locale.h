/// @file
/// A locale's data in the operating system: its separators, and its name in the standard library.
/// The process's own C locale is not used.
#pragma once

#include <cstdint>
#include <string>

namespace platform
{

/// Locales are named by the numbers that Windows gives them, on every platform.
inline constexpr std::uint32_t kInvariantLocale = 0x7f;
inline constexpr std::uint32_t kUserLocale = 0x400; ///< the user's own, when it has no number here

enum class LocaleItem : std::uint32_t
{
    list = 12,
    decimal = 14,
    thousands = 15
};

/// The number of the locale that the user has chosen.
std::uint32_t UserLocale();

/// Whether the system has the data of locale @p id.
bool IsLocaleInstalled(std::uint32_t id);

/// A separator of locale @p id in the system's narrow text. For locales that are not installed
/// there is a small built-in table; all others give the separators of the invariant locale.
std::string LocaleText(std::uint32_t id, LocaleItem item);

/// The name of locale @p id for a std::locale, as "French_Canada" or "fr_CA.UTF-8"; empty when
/// the system or the standard library knows no such locale.
std::string LocaleName(std::uint32_t id);

} // namespace platform
