#include "platform/platform_library.h"

#include "platform/platform_error.h"
#include "platform/platform_path.h"

#include <windows.h>

namespace platform
{

Module LoadModule(const std::wstring& path, SymbolScope, std::wstring* error)
{
    const bool hasFolder = path.find_first_of(L"\\/:") != std::wstring::npos;
    std::wstring full = path;
    if (hasFolder && AbsolutePath(path, full) != 0)
        full = path;
    // Neither the current folder nor PATH is searched, for the library or for those it needs.
    const DWORD folders =
        LOAD_LIBRARY_SEARCH_DEFAULT_DIRS | (hasFolder ? LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR : 0);
    Module const module = ::LoadLibraryExW(full.c_str(), nullptr, folders);
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

std::wstring ModulePathAt(const void* address)
{
    HMODULE module = nullptr;
    const DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (::GetModuleHandleExW(flags, static_cast<const wchar_t*>(address), &module) == 0)
        return {};
    return ModulePath(module);
}

void* Symbol(Module module, const char* name)
{
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(module), name));
}

} // namespace platform
