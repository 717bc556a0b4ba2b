// Processes that end at any instant while they hold something.

#include "RunChild.h"
#include "sys/SharedResource.h"
#include "sys/sys_thread_Semaphore.h"
#include "sys/sys_thread_Signal.h"
#include "sys/sys_thread_Worker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

using namespace sys::thread;
using namespace std::chrono_literals;
using impl::SystemExclusiveAccess;

namespace
{

const std::wstring kMutex = L"kvi fault mutex", kSemaphore = L"kvi fault semaphore",
                   kResource = L"kvi fault resource";

/// Ends this process, as a kill would, in @p microseconds.
std::jthread EndIn(int microseconds)
{
    return std::jthread([microseconds] {
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
        std::_Exit(9);
    });
}

TEST(FaultChild, DISABLED_DiesWhileLocking)
{
    SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Open(kMutex).ok());
    const std::jthread end = EndIn(child::Number());
    for (;;)
    {
        lock.Lock();
        lock.Unlock();
    }
}

TEST(FaultChild, DISABLED_DiesHolding)
{
    SystemExclusiveAccess lock;
    Semaphore semaphore(kSemaphore, 3);
    ASSERT_TRUE(lock.Create(kMutex).ok());
    ASSERT_TRUE(semaphore.Acquire(0));
    lock.Lock();
    std::this_thread::sleep_for(std::chrono::milliseconds(child::Number()));
    std::_Exit(9);
}

int Rounds(int usual)
{
    const char* const more = std::getenv("KVI_TEST_KILLS"); // NOLINT(concurrency-mt-unsafe)
    return more != nullptr ? std::stoi(more) : usual;
}

TEST(NamedMutex, PassesOnWhereverItsHolderDies)
{
    SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Create(kMutex).ok());
    std::atomic<bool> over{false};
    std::jthread rival([&] { // so that the child waits now and then
        SystemExclusiveAccess other;
        ASSERT_TRUE(other.Open(kMutex).ok());
        while (!over)
        {
            other.Lock();
            other.Unlock();
        }
    });
    for (int round = 0; round < Rounds(12); ++round)
    {
        EXPECT_FALSE(child::Run("FaultChild", "DiesWhileLocking", 1 + round * 137 % 4000));
        const auto start = std::chrono::steady_clock::now();
        lock.Lock();
        lock.Unlock();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 2s) << round;
    }
    over = true;
}

TEST(NamedMutex, WakesTheOneWhoWaitsAtOnce)
{
    SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Create(kMutex).ok());
    std::jthread holder([] { EXPECT_FALSE(child::Run("FaultChild", "DiesHolding", 300)); });
    const auto limit = std::chrono::steady_clock::now() + 30s;
    while (lock.TryLock() && std::chrono::steady_clock::now() < limit)
    {
        lock.Unlock(); // the child has not come so far
        std::this_thread::sleep_for(1ms);
    }
    lock.Lock(); // sleeps until the child has died
    lock.Unlock();
}

TEST(NamedSemaphore, LeavesNothingStale)
{
    EXPECT_FALSE(child::Run("FaultChild", "DiesHolding", 0));
    Semaphore fresh(kSemaphore, 2); // not the 3, less one, of the dead
    EXPECT_TRUE(fresh.Acquire(0));
    EXPECT_TRUE(fresh.Acquire(0));
    EXPECT_FALSE(fresh.Acquire(0));
    fresh.Release(2);
    EXPECT_FALSE(child::Run("FaultChild", "DiesHolding", 0));
    EXPECT_TRUE(fresh.Acquire(0));
    EXPECT_FALSE(fresh.Acquire(0)) << "what a process held when it died is not given back";
}

TEST(FaultChild, DISABLED_OpensResourcesAndDies)
{
    SharedResource resource;
    const std::jthread end = EndIn(child::Number());
    for (;;)
    {
        ASSERT_TRUE(SharedResource::Open(kResource, &resource, 0).ok());
        {
            const auto access = SharedResource::GetExclusiveAccess(kResource, true);
        }
        ASSERT_TRUE(SharedResource::Close(kResource).ok());
    }
}

TEST(SharedResource, IsFreeWhereverTheOtherProcessDies)
{
    SharedResource resource;
    for (int round = 0; round < Rounds(12); ++round)
    {
        EXPECT_FALSE(child::Run("FaultChild", "OpensResourcesAndDies", 1 + round * 173 % 5000));
        EXPECT_FALSE(SharedResource::IsOpenAnywhere(kResource));
        ASSERT_TRUE(SharedResource::Open(kResource, &resource, 0).ok());
        EXPECT_FALSE(child::Run("FaultChild", "OpensResourcesAndDies", 1 + round * 91 % 5000));
        EXPECT_TRUE(SharedResource::GetExclusiveAccess(kResource, true));
        EXPECT_TRUE(SharedResource::Close(kResource).ok());
    }
}

TEST(FaultChild, DISABLED_OutlivesItsParent) { std::this_thread::sleep_for(400ms); }

/// A program that is started while this one holds a mutex does not hold it too.
TEST(NamedMutex, IsNotInheritedByAChildProgram)
{
    SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Create(kMutex).ok());
    lock.Lock();
    std::jthread running([] { EXPECT_TRUE(child::Run("FaultChild", "OutlivesItsParent")); });
    std::this_thread::sleep_for(100ms);
    lock.Unlock();
    ASSERT_TRUE(lock.Close().ok());
    EXPECT_FALSE(lock.Open(kMutex).ok()) << "nobody has it, though the child still runs";
}

} // namespace
