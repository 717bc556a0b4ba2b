#include "sys/sys_thread_Signal.h"

#include "platform/platform_wait.h"
#include "sys/thread/ReportFailure.h"

namespace sys::thread
{

Signal::Signal(Kind kind) : handle_(platform::MakeEvent(kind != autoReset))
{
    if (!handle_)
        ReportFailure(L"CreateEvent");
}

Signal::~Signal() = default;

void Signal::Set()
{
    if (handle_ && !platform::SetSignal(*handle_.Object()))
        ReportFailure(L"SetEvent");
}

void Signal::Clear()
{
    if (handle_ && !platform::ClearSignal(*handle_.Object()))
        ReportFailure(L"ResetEvent");
}

void Signal::Wait() { (void)Wait(kInfinite); }

bool Signal::Wait(unsigned long ms)
{
    const int result = platform::WaitAny(&handle_.Object(), 1, Milliseconds(ms));
    if (result == platform::kWaitFailed)
        ReportFailure(L"WaitForSingleObject");
    return result == 0;
}

} // namespace sys::thread
