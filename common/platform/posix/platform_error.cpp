#include "platform/platform_error.h"

#include <cerrno>
#include <cstring>
#include <limits>
#include <string_view>

namespace platform
{

unsigned long LastErrorNumber() { return static_cast<unsigned long>(errno); }

void SetLastErrorNumber(unsigned long number) { errno = static_cast<int>(number); }

unsigned long InvalidHandleNumber() { return EBADF; }

std::optional<std::wstring> SystemText(unsigned long number)
{
    if (number > static_cast<unsigned long>(std::numeric_limits<int>::max()))
        return std::nullopt;
    // Unlike strerror_r, this reports an unknown number and uses no process locale.
    const char* const text = ::strerrordesc_np(static_cast<int>(number));
    if (text == nullptr)
        return std::nullopt;
    const std::string_view ascii = text;
    return std::wstring(ascii.begin(), ascii.end());
}

} // namespace platform
