#include "platform/platform_mutex.h"

#include <new>

#include <windows.h>

namespace platform
{

struct CriticalSection::Section
{
    CRITICAL_SECTION section;
};

CriticalSection::CriticalSection() : section_(std::make_unique<Section>())
{
    ::InitializeCriticalSection(&section_->section);
}

CriticalSection::~CriticalSection() { ::DeleteCriticalSection(&section_->section); }

void CriticalSection::Lock() { ::EnterCriticalSection(&section_->section); }

bool CriticalSection::TryLock() { return ::TryEnterCriticalSection(&section_->section) != 0; }

void CriticalSection::Unlock() { ::LeaveCriticalSection(&section_->section); }

namespace
{

class KernelMutex : public NamedMutex
{
public:
    explicit KernelMutex(HANDLE handle) : handle_(handle) {}
    ~KernelMutex() override { ::CloseHandle(handle_); }

    Outcome Acquire(bool wait) override
    {
        switch (::WaitForSingleObject(handle_, wait ? INFINITE : 0))
        {
        case WAIT_OBJECT_0:
        case WAIT_ABANDONED:
            return Outcome::owned;
        case WAIT_TIMEOUT:
            return Outcome::busy;
        default:
            return Outcome::failed;
        }
    }

    bool Release() override { return ::ReleaseMutex(handle_) != 0; }

private:
    HANDLE handle_;
};

std::shared_ptr<NamedMutex> Own(HANDLE handle)
try
{
    return handle == nullptr ? nullptr : std::make_shared<KernelMutex>(handle);
}
catch (const std::bad_alloc&)
{
    ::CloseHandle(handle);
    throw;
}

} // namespace

std::shared_ptr<NamedMutex> NamedMutex::Create(const std::wstring& name)
{
    return Own(::CreateMutexW(nullptr, FALSE, name.c_str()));
}

std::shared_ptr<NamedMutex> NamedMutex::Open(const std::wstring& name)
{
    // Needs no right to change the mutex; ReleaseMutex asks for none.
    return Own(::OpenMutexW(SYNCHRONIZE, FALSE, name.c_str()));
}

} // namespace platform
