#include "Process.h"

#include <cstdio>

// In this order:
// clang-format off
#include <windows.h>
#include <tlhelp32.h>
// clang-format on

Module::Module(const char* path) : handle(::LoadLibraryA(path))
{
    if (handle == nullptr)
        std::printf("LoadLibrary: %lu\n", ::GetLastError());
}

void* Module::Function(const char* name) const
{
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(handle), name));
}

void Module::Unload() { ::FreeLibrary(static_cast<HMODULE>(handle)); }

bool HasLibrary() { return ::GetModuleHandleA("KVI.dll") != nullptr; }

Holdings::Holdings() : threads(0), descriptors(0), bytes(0)
{
    const HANDLE all = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = ::Thread32First(all, &entry); more; more = ::Thread32Next(all, &entry))
        threads += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    ::CloseHandle(all);
    DWORD handles = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &handles);
    descriptors = static_cast<long>(handles);
}
