#include "platform/platform_park.h"

#include <windows.h>

namespace platform
{
namespace
{

/// Where threads sleep on a word: a few buckets for all words.
struct WaitBucket
{
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
};

WaitBucket& BucketOf(const void* word)
{
    constexpr std::size_t kBuckets = 64;
    static WaitBucket buckets[kBuckets];
    return buckets[reinterpret_cast<std::uintptr_t>(word) / 16 % kBuckets];
}

} // namespace

Parker::Parker() : event_(::CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

Parker::~Parker()
{
    if (event_ != nullptr)
        ::CloseHandle(event_);
}

bool Parker::Sleep(std::uint32_t milliseconds)
{
    if (event_ != nullptr)
        return ::WaitForSingleObject(event_, milliseconds) == WAIT_OBJECT_0;
    // No event could be created: parking must work all the same.
    const ULONGLONG start = ::GetTickCount64();
    while (awake_.exchange(0, std::memory_order_acquire) == 0)
    {
        if (milliseconds != kForever && ::GetTickCount64() - start >= milliseconds)
            return false;
        ::Sleep(1);
    }
    return true;
}

void Parker::Wake()
{
    if (event_ != nullptr)
        ::SetEvent(event_);
    else
        awake_.store(1, std::memory_order_release);
}

bool SleepOn(std::atomic<std::uint32_t>& word, std::uint32_t value, std::uint32_t milliseconds)
{
    WaitBucket& bucket = BucketOf(&word);
    ::AcquireSRWLockExclusive(&bucket.lock);
    const bool inTime =
        word.load() != value ||
        ::SleepConditionVariableSRW(&bucket.changed, &bucket.lock, milliseconds, 0) != 0;
    ::ReleaseSRWLockExclusive(&bucket.lock);
    return inTime;
}

void WakeAll(std::atomic<std::uint32_t>& word)
{
    WaitBucket& bucket = BucketOf(&word);
    // A thread that has seen the old value is asleep when the lock is free.
    ::AcquireSRWLockExclusive(&bucket.lock);
    ::ReleaseSRWLockExclusive(&bucket.lock);
    ::WakeAllConditionVariable(&bucket.changed);
}

void WakeOne(std::atomic<std::uint32_t>& word) { WakeAll(word); } // others may sleep there too

bool HasProcessBarrier()
{
    // Wine 8 has the function, but it does nothing.
    static const bool has =
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr;
    return has;
}

void ProcessBarrier() { ::FlushProcessWriteBuffers(); }

void SpinPause() { YieldProcessor(); }

void YieldThread() { ::SwitchToThread(); }

} // namespace platform
