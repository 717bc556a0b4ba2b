#include "platform/platform_strings.h"

#include <windows.h>

namespace platform
{

const void* FindStringTable(Module module)
{
    return module != nullptr ? module : ::GetModuleHandleW(nullptr);
}

std::wstring StringTableText(const void* table, unsigned code)
{
    // The system looks at the low 16 bits only and would find another text.
    if (table == nullptr || code > 0xFFFF)
        return {};
    wchar_t buffer[kTextLimit + 1];
    const auto module = static_cast<HINSTANCE>(const_cast<void*>(table));
    const int length = ::LoadStringW(module, code, buffer, static_cast<int>(kTextLimit + 1));
    return {buffer, static_cast<std::size_t>(length)};
}

} // namespace platform
