#include "platform/platform_text.h"

#include "platform/platform_utf8.h"

namespace platform
{

std::string Narrow(std::wstring_view text) { return ToUtf8(text); }

std::wstring Wide(std::string_view text) { return FromUtf8(text); }

} // namespace platform
