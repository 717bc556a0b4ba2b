#include "platform/platform_error.h"

#include <memory>

#include <windows.h>

namespace platform
{
namespace
{
constexpr unsigned long kFirstNetworkError = 2100;
constexpr unsigned long kLastNetworkError = 2999;
constexpr DWORD kUserLanguage = 0x0400; // neutral language, default dialect

std::optional<std::wstring> Format(DWORD source, HMODULE module, DWORD number)
{
    wchar_t* text = nullptr;
    const DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | source, module, number,
        kUserLanguage, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    const std::unique_ptr<wchar_t, decltype(&::LocalFree)> buffer(text, &::LocalFree);
    if (length == 0)
        return std::nullopt;
    return std::wstring(text, length);
}
} // namespace

unsigned long LastErrorNumber() { return ::GetLastError(); }

void SetLastErrorNumber(unsigned long number) { ::SetLastError(number); }

unsigned long InvalidHandleNumber() { return ERROR_INVALID_HANDLE; }

std::optional<std::wstring> SystemText(unsigned long number)
{
    if (number < kFirstNetworkError || number > kLastNetworkError)
        return Format(0, nullptr, number);
    const HMODULE messages = ::LoadLibraryExW(
        L"netmsg.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_SEARCH_SYSTEM32);
    auto text = Format(FORMAT_MESSAGE_FROM_HMODULE, messages, number);
    if (messages != nullptr)
        ::FreeLibrary(messages);
    return text;
}

} // namespace platform
