#include "sys/sys_thread_Semaphore.h"

#include "platform/platform_wait.h"
#include "sys/thread/ReportFailure.h"

#include <cstdint>

namespace sys::thread
{

Semaphore::Semaphore(unsigned count)
    : handle_(platform::MakeSemaphore(static_cast<std::int32_t>(count)))
{
    if (!handle_)
        ReportFailure(L"CreateSemaphore");
}

Semaphore::Semaphore(const std::wstring& name, unsigned count)
    : handle_(platform::MakeNamedSemaphore(name, static_cast<std::int32_t>(count)))
{
    if (!handle_)
        ReportFailure(L"CreateSemaphore");
}

bool Semaphore::Acquire(unsigned ms)
{
    const int result = platform::WaitAny(&handle_.Object(), 1, Milliseconds(ms));
    if (result == platform::kWaitFailed)
        ReportFailure(L"WaitForSingleObject");
    return result == 0;
}

void Semaphore::Release(unsigned count)
{
    if (handle_ && !platform::ReleaseCount(*handle_.Object(), static_cast<std::int32_t>(count)))
        ReportFailure(L"ReleaseSemaphore");
}

} // namespace sys::thread
