/// @file
/// Errors about texts that cannot be read as numbers and the like.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <string>
#include <string_view>

namespace gtl
{

/// Each error names the text and, as a word of the application's language, the type wanted.
struct KVI_API Convert_error_status
{
    /// The text holds a character that the type cannot have (code 20218).
    static status InvalidCharStatus(std::wstring_view text, std::wstring_view typeName);
    /// The text is of a form that is not read (code 20219).
    static status NotSupportedStatus(std::wstring_view text, std::wstring_view typeName);
    /// The text is well formed but names no value of the type (code 20220).
    static status OutOfRangeStatus(std::wstring_view text, std::wstring_view typeName);
    /// The number is too large for the type (code 20221).
    static status OverflowStatus(std::wstring_view text, std::wstring_view typeName);

    /// The word for integers (code 21652).
    static std::wstring GetNumberString();
    /// The word for floating-point numbers (code 20898).
    static std::wstring GetFloatingPointString();
};

} // namespace gtl
