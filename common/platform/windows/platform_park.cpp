#include "platform/platform_park.h"

#include <windows.h>

namespace platform
{
namespace
{

/// Where threads sleep on a word: a few places for all words.
struct Lot
{
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
};

Lot& LotOf(const void* word)
{
    constexpr std::size_t kLots = 64;
    static Lot lots[kLots];
    return lots[reinterpret_cast<std::uintptr_t>(word) / 16 % kLots];
}

} // namespace

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

bool SleepOn(std::atomic<std::uint32_t>& word, std::uint32_t value, std::uint32_t milliseconds)
{
    Lot& lot = LotOf(&word);
    ::AcquireSRWLockExclusive(&lot.lock);
    const bool inTime = word.load() != value ||
                        ::SleepConditionVariableSRW(&lot.changed, &lot.lock, milliseconds, 0) != 0;
    ::ReleaseSRWLockExclusive(&lot.lock);
    return inTime;
}

void WakeAll(std::atomic<std::uint32_t>& word)
{
    Lot& lot = LotOf(&word);
    // Who has seen the old value is asleep when the lock is free.
    ::AcquireSRWLockExclusive(&lot.lock);
    ::ReleaseSRWLockExclusive(&lot.lock);
    ::WakeAllConditionVariable(&lot.changed);
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

void GiveWay() { ::SwitchToThread(); }

} // namespace platform
