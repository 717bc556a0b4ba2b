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
    if (event_ != nullptr)
        return ::WaitForSingleObject(event_, milliseconds) == WAIT_OBJECT_0;
    // There was no handle for an event: a bed must hold all the same.
    const ULONGLONG start = ::GetTickCount64();
    while (awake_.exchange(0, std::memory_order_acquire) == 0)
    {
        if (milliseconds != kForever && ::GetTickCount64() - start >= milliseconds)
            return false;
        ::Sleep(1);
    }
    return true;
}

void Parking::Wake()
{
    if (event_ != nullptr)
        ::SetEvent(event_);
    else
        awake_.store(1, std::memory_order_release);
}

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
