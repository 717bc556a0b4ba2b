#include "platform/platform_env.h"

#include "platform/platform_text.h"

#include <cstdlib>

namespace platform
{

std::optional<std::wstring> Environment(const std::wstring& name)
{
    const char* value = std::getenv(Narrow(name).c_str()); // NOLINT(concurrency-mt-unsafe)
    if (value == nullptr)
        return std::nullopt;
    return Wide(value);
}

std::optional<std::wstring> TrustedEnvironment(const std::wstring& name)
{
    const char* value = ::secure_getenv(Narrow(name).c_str());
    if (value == nullptr)
        return std::nullopt;
    return Wide(value);
}

void SetEnvironment(const std::wstring& name, const std::wstring& value)
{
    ::setenv(Narrow(name).c_str(), Narrow(value).c_str(), 1); // NOLINT(concurrency-mt-unsafe)
}

} // namespace platform
