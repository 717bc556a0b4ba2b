#include "platform/platform_thread.h"

#include <bit>
#include <cstdint>
#include <process.h>

#include <windows.h>

namespace platform
{
namespace
{

struct Start
{
    Thread::Entry entry;
    void* argument;
};

unsigned __stdcall Run(void* object)
{
    const std::unique_ptr<Start> start(static_cast<Start*>(object));
    start->entry(start->argument);
    return 0;
}

class WindowsThread : public Thread
{
public:
    WindowsThread(HANDLE handle, unsigned number) : handle_(handle), number_(number) {}
    ~WindowsThread() override { ::CloseHandle(handle_); }

    void Resume() override { ::ResumeThread(handle_); }
    unsigned long Number() override { return number_; }
    bool IsActive() override
    {
        DWORD code = 0;
        return ::GetExitCodeThread(handle_, &code) != 0 && code == STILL_ACTIVE;
    }
    void Join() override { ::WaitForSingleObject(handle_, INFINITE); }

private:
    HANDLE handle_;
    unsigned number_;
};

} // namespace

std::shared_ptr<Thread> Thread::Start(Entry entry, void* argument, unsigned stackSize)
{
    auto start = std::make_unique<platform::Start>(platform::Start{entry, argument});
    unsigned number = 0;
    const std::uintptr_t handle =
        ::_beginthreadex(nullptr, stackSize, &Run, start.get(), CREATE_SUSPENDED, &number);
    if (handle == 0)
        return nullptr;
    (void)start.release(); // Run owns it now
    return std::make_shared<WindowsThread>(reinterpret_cast<HANDLE>(handle), number);
}

unsigned ProcessorCount()
{
    DWORD_PTR mine = 0, all = 0;
    if (::GetProcessAffinityMask(::GetCurrentProcess(), &mine, &all) != 0 && mine != 0)
        return static_cast<unsigned>(std::popcount(static_cast<std::uint64_t>(mine)));
    SYSTEM_INFO info{};
    ::GetSystemInfo(&info);
    return info.dwNumberOfProcessors > 0 ? info.dwNumberOfProcessors : 1;
}

} // namespace platform
