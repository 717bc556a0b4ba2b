/// @file
/// The separators of a locale, held for its readers and writers. Not installed.
#pragma once

#include "foundation/str_locale.h"

namespace str::locale
{

struct ID::Record
{
    explicit Record(std::uint32_t number);

    std::uint32_t identifier;
    std::wstring decimal;
    std::wstring thousands;
    std::wstring list;
    std::locale object;

    /// What separates list items: no number contains it.
    std::wstring Between() const { return list.empty() || list == decimal ? L";" : list; }
};

/// The form of a time in a format, which is also the word for its type; null for a format that
/// times do not have.
const wchar_t* TimeForm(format::Type how);
/// The word for the type of a truth value.
inline constexpr const wchar_t* kTruthForm = L"true/false";

/// Whether the fields that the format @p how shows are those of a day or time that exists, in the
/// years 0 to 9999.
bool IsTime(const std::tm& value, format::Type how);

} // namespace str::locale
