#include "foundation/gtl_Convert_error_status.h"

#include "foundation/str_load_wstring.h"

namespace gtl
{

status Convert_error_status::InvalidCharStatus(std::wstring_view text, std::wstring_view typeName)
{
    return status(20218, text, typeName);
}

status Convert_error_status::NotSupportedStatus(std::wstring_view text, std::wstring_view typeName)
{
    return status(20219, text, typeName);
}

status Convert_error_status::OutOfRangeStatus(std::wstring_view text, std::wstring_view typeName)
{
    return status(20220, text, typeName);
}

status Convert_error_status::OverflowStatus(std::wstring_view text, std::wstring_view typeName)
{
    return status(20221, text, typeName);
}

std::wstring Convert_error_status::GetNumberString() { return str::load_wstring(21652); }

std::wstring Convert_error_status::GetFloatingPointString() { return str::load_wstring(20898); }

} // namespace gtl
