#include "sys/sys_thread_ExclusiveAccess.h"

#include "foundation/KviError.h"
#include "platform/platform_error.h"
#include "platform/platform_mutex.h"
#include "platform/platform_park.h"
#include "sys/thread/ReportFailure.h"

namespace sys::thread
{
namespace task
{
namespace
{
constexpr std::uint32_t kFree = 0, kHeld = 1, kWaitedFor = 2;
constexpr int kSpins = 100; // a lock held for a few instructions is not worth a sleep
} // namespace

void ExclusiveAccess::Lock()
{
    for (int spin = 0; spin < kSpins; ++spin)
    {
        if (TryLock())
            return;
        platform::SpinPause();
    }
    // From here on the lock is marked as waited for, so its owner wakes a waiting thread.
    while (state_.exchange(kWaitedFor, std::memory_order_acquire) != kFree)
        platform::SleepOn(state_, kWaitedFor);
}

void ExclusiveAccess::Unlock()
{
    if (state_.exchange(kFree, std::memory_order_release) == kWaitedFor)
        platform::WakeOne(state_);
}

bool ExclusiveAccess::TryLock()
{
    std::uint32_t free = kFree;
    return state_.compare_exchange_strong(free, kHeld, std::memory_order_acquire,
                                          std::memory_order_relaxed);
}

} // namespace task

namespace impl
{

ProcessExclusiveAccess::ProcessExclusiveAccess()
    : section_(std::make_unique<platform::CriticalSection>())
{
}

ProcessExclusiveAccess::~ProcessExclusiveAccess() = default;

void ProcessExclusiveAccess::Lock()
{
    section_->Lock();
    ++depth_;
}

void ProcessExclusiveAccess::Unlock()
{
    --depth_;
    section_->Unlock();
}

bool ProcessExclusiveAccess::TryLock()
{
    if (!section_->TryLock())
        return false;
    ++depth_;
    return true;
}

SystemExclusiveAccess::SystemExclusiveAccess() = default;

SystemExclusiveAccess::~SystemExclusiveAccess() { (void)Close(); } // cannot fail

SystemExclusiveAccess::SystemExclusiveAccess(const SystemExclusiveAccess& other)
    : mutex_(other.mutex_)
{
}

SystemExclusiveAccess& SystemExclusiveAccess::operator=(const SystemExclusiveAccess& other)
{
    if (this != &other)
    {
        mutex_ = other.mutex_;
        depth_ = 0;
    }
    return *this;
}

gtl::status SystemExclusiveAccess::Create(const std::wstring& name)
{
    auto mutex = platform::NamedMutex::Create(name);
    if (mutex == nullptr)
        return KviError::err_sysserv(L"CreateMutex");
    mutex_ = std::move(mutex);
    depth_ = 0;
    return {};
}

gtl::status SystemExclusiveAccess::Open(const std::wstring& name)
{
    auto mutex = platform::NamedMutex::Open(name);
    if (mutex == nullptr)
        return KviError::err_sysserv(L"CreateMutex"); // intended: both calls report this name
    mutex_ = std::move(mutex);
    depth_ = 0;
    return {};
}

gtl::status SystemExclusiveAccess::Close()
{
    mutex_.reset();
    depth_ = 0;
    return {};
}

bool SystemExclusiveAccess::Acquire(bool wait)
{
    if (mutex_ == nullptr)
    {
        platform::SetLastErrorNumber(platform::InvalidHandleNumber());
        ReportFailure(L"WaitForSingleObject");
        return false;
    }
    const auto outcome = mutex_->Acquire(wait);
    if (outcome == platform::NamedMutex::Outcome::failed)
        ReportFailure(L"WaitForSingleObject");
    if (outcome != platform::NamedMutex::Outcome::owned)
        return false;
    depth_.fetch_add(1, std::memory_order_relaxed);
    return true;
}

void SystemExclusiveAccess::Lock() { (void)Acquire(true); }

bool SystemExclusiveAccess::TryLock() { return Acquire(false); }

void SystemExclusiveAccess::Unlock()
{
    depth_.fetch_sub(1, std::memory_order_relaxed);
    if (mutex_ == nullptr)
        platform::SetLastErrorNumber(platform::InvalidHandleNumber());
    if (mutex_ == nullptr || !mutex_->Release())
        ReportFailure(L"ReleaseMutex");
}

} // namespace impl
} // namespace sys::thread
