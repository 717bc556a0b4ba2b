#include "foundation/kvi_feature.h"

#include "platform/platform_env.h"

namespace kvi::feature
{

std::wstring DiagnosticMode()
{
    std::wstring mode = platform::Environment(L"STRATIVO_DIAG_MODE").value_or(L"");
    return mode.empty() ? platform::Environment(L"KVI_DIAG").value_or(L"") : mode;
}

bool IsDiagnosticMode()
{
    return platform::Environment(L"STRATIVO_DIAG_MODE") || platform::Environment(L"KVI_DIAG");
}

bool IsDiagnosticFpuTrapsEnabled()
{
    const std::wstring value = platform::Environment(L"KVI_FPUTRAP").value_or(L"");
    return !value.empty() && value != L"0";
}

} // namespace kvi::feature
