#include "platform/platform_env.h"

#include <windows.h>

namespace platform
{

std::optional<std::wstring> Environment(const std::wstring& name)
{
    std::wstring value;
    // A variable that is set but empty gives length 0 as well; only the error number distinguishes
    // them. Another thread may lengthen the variable between two calls, so repeat until it fits.
    for (DWORD room = 1;;)
    {
        value.resize(room);
        ::SetLastError(ERROR_SUCCESS);
        const DWORD length = ::GetEnvironmentVariableW(name.c_str(), value.data(), room);
        if (length == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND)
            return std::nullopt;
        if (length < room)
        {
            value.resize(length);
            return value;
        }
        room = length + 1;
    }
}

std::optional<std::wstring> TrustedEnvironment(const std::wstring& name)
{
    return Environment(name); // programs get more rights than their caller only by consent
}

void SetEnvironment(const std::wstring& name, const std::wstring& value)
{
    ::SetEnvironmentVariableW(name.c_str(), value.c_str());
}

} // namespace platform
