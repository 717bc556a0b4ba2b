#include "platform/platform_strings.h"

#include <algorithm>
#include <cstddef>

#include <windows.h>

namespace platform
{

const void* FindStringTable(Module module)
{
    return module != nullptr ? module : ::GetModuleHandleW(nullptr);
}

const void* FindStringTableAt(const void* address)
{
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                             GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         static_cast<const wchar_t*>(address), &module);
    return module;
}

std::wstring_view StringTableText(const void* table, unsigned code)
{
    // The system uses the low 16 bits only and would find another text.
    if (table == nullptr || code > 0xFFFF)
        return {};
    const auto module = static_cast<HINSTANCE>(const_cast<void*>(table));
    // For a buffer of size 0 the system stores the address of the text itself.
    const wchar_t* text = nullptr;
    const int length = ::LoadStringW(module, code, reinterpret_cast<wchar_t*>(&text), 0);
    return {text, std::min<std::size_t>(static_cast<std::size_t>(length), kTextLimit)};
}

} // namespace platform
