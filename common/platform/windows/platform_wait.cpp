#include "platform/platform_wait.h"

#include <algorithm>
#include <array>

#include <windows.h>

namespace platform
{

struct Waitable
{
    Waitable(HANDLE h, bool o) : handle(h), owned(o) {}
    ~Waitable()
    {
        if (owned)
            ::CloseHandle(handle);
    }
    Waitable(const Waitable&) = delete;
    Waitable& operator=(const Waitable&) = delete;

    HANDLE handle;
    bool owned;
};

namespace
{

static_assert(kWaitLimit == MAXIMUM_WAIT_OBJECTS);

WaitHandle Own(HANDLE handle)
{
    return handle == nullptr ? nullptr : std::make_shared<Waitable>(handle, true);
}

int Wait(const WaitHandle* objects, std::size_t count, BOOL all, std::uint32_t milliseconds)
{
    std::array<HANDLE, kWaitLimit> handles{};
    if (count > kWaitLimit)
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return kWaitFailed;
    }
    std::transform(objects, objects + count, handles.begin(),
                   [](const auto& object) { return object ? object->handle : nullptr; });
    const DWORD result =
        ::WaitForMultipleObjects(static_cast<DWORD>(count), handles.data(), all, milliseconds);
    if (result == WAIT_TIMEOUT)
        return kWaitTimeout;
    if (result == WAIT_FAILED)
        return kWaitFailed;
    const DWORD first = result >= WAIT_ABANDONED_0 ? WAIT_ABANDONED_0 : WAIT_OBJECT_0;
    return static_cast<int>(result - first);
}

} // namespace

WaitHandle MakeEvent(bool manualReset)
{
    return Own(::CreateEventW(nullptr, manualReset ? TRUE : FALSE, FALSE, nullptr));
}

WaitHandle MakeSemaphore(std::int32_t count)
{
    return Own(::CreateSemaphoreW(nullptr, count, count, nullptr));
}

WaitHandle MakeNamedSemaphore(const std::wstring& name, std::int32_t count)
{
    return Own(::CreateSemaphoreW(nullptr, count, count, name.c_str()));
}

WaitHandle OpenProcessEnd(int id)
{
    const HANDLE process = ::OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(id));
    if (process == nullptr && id > 0 && ::GetLastError() == ERROR_INVALID_PARAMETER)
        return Own(::CreateEventW(nullptr, TRUE, TRUE, nullptr)); // has ended
    return Own(process);
}

WaitHandle BorrowHandle(std::intptr_t systemHandle)
{
    return std::make_shared<Waitable>(reinterpret_cast<HANDLE>(systemHandle), false);
}

std::intptr_t SystemHandle(const Waitable& object)
{
    return reinterpret_cast<std::intptr_t>(object.handle);
}

bool SetSignal(Waitable& event) { return ::SetEvent(event.handle) != 0; }

bool ClearSignal(Waitable& event) { return ::ResetEvent(event.handle) != 0; }

bool ReleaseCount(Waitable& semaphore, std::int32_t count)
{
    return ::ReleaseSemaphore(semaphore.handle, count, nullptr) != 0;
}

int WaitAny(const WaitHandle* objects, std::size_t count, std::uint32_t milliseconds)
{
    return Wait(objects, count, FALSE, milliseconds);
}

int WaitAll(const WaitHandle* objects, std::size_t count, std::uint32_t milliseconds)
{
    return Wait(objects, count, TRUE, milliseconds);
}

void SleepFor(std::uint32_t milliseconds) { ::Sleep(milliseconds); }

} // namespace platform
