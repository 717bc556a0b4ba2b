#include "platform/platform_folders.h"

// shellapi.h wants windows.h in front.
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

namespace platform
{

unsigned long OpenWithProgram(const std::wstring& path, void* window)
{
    SHELLEXECUTEINFOW order{};
    order.cbSize = sizeof order;
    order.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
    order.hwnd = static_cast<HWND>(window);
    order.lpVerb = nullptr; // what a double click does
    order.lpFile = path.c_str();
    order.nShow = SW_SHOWNORMAL;
    return ::ShellExecuteExW(&order) ? 0 : ::GetLastError();
}

} // namespace platform
