#include "platform/platform_library.h"

#include "platform/platform_error.h"

#include <windows.h>

namespace platform
{

Module LoadModule(const std::wstring& path, SymbolScope, std::wstring* error)
{
    Module const module = ::LoadLibraryW(path.c_str());
    if (module == nullptr && error != nullptr)
    {
        const unsigned long number = ::GetLastError();
        *error = SystemText(number).value_or(L"");
    }
    return module;
}

void UnloadModule(Module module) { ::FreeLibrary(static_cast<HMODULE>(module)); }

std::wstring ModulePath(Module module)
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;)
    {
        const auto room = static_cast<DWORD>(path.size());
        const DWORD used = ::GetModuleFileNameW(static_cast<HMODULE>(module), path.data(), room);
        if (used < room)
        {
            path.resize(used);
            return path;
        }
        path.resize(path.size() * 2); // was cut
    }
}

void* Symbol(Module module, const char* name)
{
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(module), name));
}

} // namespace platform
