#include "RunChild.h"
#include "sys/sys_thread_ExclusiveAccess.h"
#include "sys/sys_thread_Semaphore.h"
#include "sys/sys_thread_Signal.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

using namespace sys::thread;
using namespace std::chrono_literals;
using impl::SystemExclusiveAccess;

namespace
{

/// What TryLock gives in another thread, which unlocks again.
template <class Lock>
bool FreeElsewhere(Lock& lock)
{
    bool free = false;
    std::jthread([&] {
        free = lock.TryLock();
        if (free)
            lock.Unlock();
    }).join();
    return free;
}

TEST(ExclusiveAccess, DoesNotReenter)
{
    task::ExclusiveAccess lock;
    lock.Lock();
    EXPECT_FALSE(lock.TryLock());
    EXPECT_FALSE(FreeElsewhere(lock));
    lock.Unlock();
    EXPECT_TRUE(FreeElsewhere(lock));
}

TEST(ProcessExclusiveAccess, ReentersAndCounts)
{
    impl::ProcessExclusiveAccess lock;
    EXPECT_EQ(lock.Depth(), 0);
    lock.Lock();
    EXPECT_TRUE(lock.TryLock());
    EXPECT_EQ(lock.Depth(), 2);
    lock.Unlock();
    EXPECT_FALSE(FreeElsewhere(lock));
    lock.Unlock();
    EXPECT_TRUE(FreeElsewhere(lock));
    EXPECT_EQ(lock.Depth(), 0);
}

struct CreatedMutex : SystemExclusiveAccess
{
    CreatedMutex() { EXPECT_TRUE(Create(child::Name(L"kvi test counting")).ok()); }
};

template <class Lock>
void ExpectExclusion(int rounds)
{
    ExclusiveAccessOf<int, Lock> counter(0);
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&] {
                for (int i = 0; i < rounds; ++i)
                    *counter.Access() += 1;
            });
    }
    EXPECT_EQ(counter.data, 4 * rounds);
}

TEST(ExclusiveAccessOf, KeepsThreadsApart)
{
    ExpectExclusion<task::ExclusiveAccess>(20'000);
    ExpectExclusion<impl::ProcessExclusiveAccess>(20'000);
    ExpectExclusion<CreatedMutex>(500);
}

TEST(SystemExclusiveAccess, ReentersAlsoThroughASecondObject)
{
    SystemExclusiveAccess first, second;
    ASSERT_TRUE(first.Create(child::Name(L"kvi test reenter")).ok());
    ASSERT_TRUE(second.Open(child::Name(L"kvi test reenter")).ok());
    first.Lock();
    EXPECT_TRUE(second.TryLock());
    EXPECT_EQ(first.Depth() + second.Depth(), 2);
    first.Unlock();
    EXPECT_FALSE(FreeElsewhere(first));
    second.Unlock();
    EXPECT_TRUE(FreeElsewhere(first));

    SystemExclusiveAccess copy(first);
    copy.Lock();
    EXPECT_EQ(copy.Depth(), 1);
    EXPECT_EQ(first.Depth(), 0);
    EXPECT_FALSE(FreeElsewhere(second));
    copy.Unlock();
    EXPECT_TRUE(first.Close().ok());
    EXPECT_FALSE(first.IsReady());
    EXPECT_TRUE(copy.TryLock());
    copy.Unlock();
}

TEST(SystemExclusiveAccess, ReportsCreateAndOpenUnderOneName)
{
    SystemExclusiveAccess lock;
    EXPECT_FALSE(lock.IsReady());
    const gtl::status missing = lock.Open(child::Name(L"kvi test nobody has this one"));
    ASSERT_FALSE(missing.ok());
    EXPECT_EQ(missing.details()->argument(1), L"CreateMutex");
    EXPECT_FALSE(missing.details()->argument(2).empty());
    EXPECT_FALSE(lock.IsReady());
    EXPECT_FALSE(lock.TryLock()); // reported, not fatal
    lock.Lock();
    EXPECT_EQ(lock.Depth(), 0);
}

TEST(SystemExclusiveAccess, UnlockByAnotherThreadChangesNothing)
{
    SystemExclusiveAccess lock, other;
    ASSERT_TRUE(lock.Create(child::Name(L"kvi test foreign")).ok());
    ASSERT_TRUE(other.Create(child::Name(L"kvi test foreign")).ok());
    lock.Lock();
    std::jthread([&] { other.Unlock(); }).join();
    EXPECT_FALSE(FreeElsewhere(lock));
    lock.Unlock();
    EXPECT_TRUE(FreeElsewhere(lock));
}

TEST(SystemExclusiveAccess, PassesOnWhenItsThreadEnds)
{
    SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Create(child::Name(L"kvi test thread")).ok());
    std::jthread([&] { lock.Lock(); }).join();
    SystemExclusiveAccess next(lock);
    std::jthread([&] {
        next.Lock();
        next.Unlock();
    }).join();
}

TEST(SystemExclusiveAccess, TakesAnyName)
{
    const std::wstring longName(300, L'n');
    const std::wstring names[] = {L"a/b",          L"../../etc",    L"a/c", L"%h",   longName,
                                  longName + L"1", L"\x4e2d\x00e9", L" ",   L"a%2fb"};
    for (const std::wstring& name : names)
    {
        SystemExclusiveAccess lock;
        const std::wstring full = child::Name(L"kvi test " + name);
        ASSERT_TRUE(lock.Create(full).ok());
        lock.Lock();
        for (const std::wstring& other : names)
        {
            SystemExclusiveAccess second;
            ASSERT_TRUE(second.Create(child::Name(L"kvi test " + other)).ok());
            EXPECT_EQ(FreeElsewhere(second), other != name) << second.Depth();
        }
        lock.Unlock();
    }
}

TEST(LockChild, DISABLED_FindsItTaken)
{
    SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Open(child::Name(L"kvi test processes")).ok());
    EXPECT_FALSE(lock.TryLock());
    EXPECT_FALSE(Semaphore(child::Name(L"kvi test processes too"), 9).Acquire(0));
}

TEST(LockChild, DISABLED_FindsItMissing)
{
    SystemExclusiveAccess lock;
    EXPECT_FALSE(lock.Open(child::Name(L"kvi test processes")).ok());
}

TEST(SystemExclusiveAccess, KeepsProcessesApart)
{
    {
        SystemExclusiveAccess lock;
        ASSERT_TRUE(lock.Create(child::Name(L"kvi test processes")).ok());
        Semaphore semaphore(child::Name(L"kvi test processes too"), 1);
        lock.Lock();
        ASSERT_TRUE(semaphore.Acquire(0));
        EXPECT_TRUE(child::Run("LockChild", "FindsItTaken"));
        lock.Unlock();
    }
    EXPECT_TRUE(child::Run("LockChild", "FindsItMissing"));
}

} // namespace
