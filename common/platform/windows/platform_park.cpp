#include "platform/platform_park.h"

#include <windows.h>

namespace platform
{

Parking::Parking() : event_(::CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

Parking::~Parking()
{
    if (event_ != nullptr)
        ::CloseHandle(event_);
}

bool Parking::Sleep(std::uint32_t milliseconds)
{
    return ::WaitForSingleObject(event_, milliseconds) == WAIT_OBJECT_0;
}

void Parking::Wake() { ::SetEvent(event_); }

bool HasProcessBarrier()
{
    // Wine 8 has the function, but it does nothing.
    static const bool has =
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr;
    return has;
}

void ProcessBarrier() { ::FlushProcessWriteBuffers(); }

void SpinPause() { YieldProcessor(); }

void GiveWay() { ::SwitchToThread(); }

} // namespace platform
