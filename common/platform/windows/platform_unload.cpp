#include "platform/platform_unload.h"

#include <windows.h>

/// Called by the system when the library is loaded or goes; @p ending is null for FreeLibrary.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID ending)
{
    if (reason == DLL_PROCESS_DETACH && ending == nullptr)
        platform::impl::BeginUnload();
    return TRUE;
}
