#include "RunChild.h"
#include "sys/sys_thread_Semaphore.h"
#include "sys/sys_thread_Signal.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

using namespace sys::thread;
using namespace std::chrono_literals;

namespace
{

/// Starts @p count threads that wait for @p signal and count those that it releases.
struct Waiters
{
    Waiters(Signal& signal, int count, unsigned long ms)
    {
        for (int i = 0; i < count; ++i)
            threads.emplace_back([&, ms] {
                ++arrived;
                released += signal.Wait(ms) ? 1 : 0;
            });
        while (arrived < count)
            std::this_thread::sleep_for(1ms);
        std::this_thread::sleep_for(20ms); // from the count to the wait
    }

    std::atomic<int> arrived{0}, released{0};
    std::vector<std::jthread> threads;
};

TEST(Signal, ManualResetSetAndClearedAtOnceReleasesAllWhoWait)
{
    for (int round = 0; round < 5; ++round)
    {
        Signal signal(Signal::manualReset);
        Waiters waiters(signal, 4, 20'000);
        signal.Set();
        signal.Clear();
        waiters.threads.clear();
        EXPECT_EQ(waiters.released, 4);
        EXPECT_FALSE(signal.Wait(0));
    }
}

TEST(Signal, ManualResetStaysSetUntilCleared)
{
    Signal signal(static_cast<Signal::Kind>(7)); // everything but 0
    EXPECT_FALSE(signal.Wait(0));
    signal.Set();
    signal.Wait();
    EXPECT_TRUE(signal.Wait(0));
    signal.Clear();
    EXPECT_FALSE(signal.Wait(0));
}

TEST(Signal, AutoResetReleasesOneForEachSet)
{
    Signal signal(Signal::autoReset);
    Waiters waiters(signal, 3, 20'000);
    for (int sets = 1; sets <= 3; ++sets)
    {
        signal.Set();
        std::this_thread::sleep_for(20ms);
        EXPECT_EQ(waiters.released, sets);
    }
    signal.Set();
    signal.Set(); // a set event stays set, it does not count
    EXPECT_TRUE(signal.Wait(0));
    EXPECT_FALSE(signal.Wait(0));
}

TEST(Signal, TimesOutNoEarlierThanAsked)
{
    Signal signal(Signal::autoReset);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(signal.Wait(30));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 29ms); // its clock may tick in between
}

TEST(Signal, SetThatRacesATimeOutIsNotLost)
{
    Signal signal(Signal::autoReset);
    std::mt19937 random(4711);
    int inTime = 0;
    for (int round = 0; round < 300; ++round)
    {
        std::atomic<bool> released{false};
        std::jthread waiter([&] { released = signal.Wait(1); });
        std::this_thread::sleep_for(std::chrono::microseconds(900 + random() % 400));
        signal.Set();
        waiter.join();
        inTime += released ? 1 : 0;
        // Either the waiter consumed the signal, or it is still set.
        EXPECT_NE(released, signal.Wait(0)) << round;
    }
    RecordProperty("in time", inTime);
}

TEST(Signal, LivesOnInASharedHandle)
{
    Handle shared;
    {
        Signal signal(Signal::manualReset);
        shared = signal.SharedHandle();
        signal.Set();
    }
    ASSERT_TRUE(shared);
    EXPECT_TRUE(Handle(shared).Object() == shared.Object());
    shared = Handle();
    EXPECT_FALSE(shared);
}

TEST(Semaphore, GrantsAsManyAsItHas)
{
    Semaphore semaphore(2);
    EXPECT_TRUE(semaphore.Acquire(0));
    Semaphore copy(semaphore);
    EXPECT_TRUE(copy.Acquire(0));
    EXPECT_FALSE(semaphore.Acquire(10));
    std::jthread giver([&] {
        std::this_thread::sleep_for(10ms);
        copy.Release(2);
    });
    EXPECT_TRUE(semaphore.Acquire());
    EXPECT_TRUE(semaphore.Acquire(20'000));
    EXPECT_FALSE(semaphore.Acquire(0));
}

TEST(Semaphore, TakesBackNoMoreThanItsMaximum)
{
    for (Semaphore semaphore : {Semaphore(3), Semaphore(child::Name(L"kvi test\\maximum"), 3)})
    {
        if (!semaphore.SharedHandle()) // Windows: no backslash
            semaphore = Semaphore(child::Name(L"kvi test maximum"), 3);
        ASSERT_TRUE(semaphore.Acquire(0));
        semaphore.Release(2); // refused whole, and reported
        semaphore.Release(0);
        semaphore.Release(0x80000000u);
        EXPECT_TRUE(semaphore.Acquire(0));
        EXPECT_TRUE(semaphore.Acquire(0));
        EXPECT_FALSE(semaphore.Acquire(0));
        semaphore.Release(3);
        EXPECT_TRUE(semaphore.Acquire(0));
    }
}

TEST(Semaphore, WithOneNameIsOneSemaphore)
{
    const std::wstring name = child::Name(L"kvi/test ../" + std::wstring(200, L'x'));
    {
        Semaphore first(name, 2), second(name, 5);
        EXPECT_TRUE(first.Acquire(0));
        EXPECT_TRUE(second.Acquire(0));
        EXPECT_FALSE(second.Acquire(5)) << "the first one set the count";
        std::jthread giver([&] { first.Release(); });
        EXPECT_TRUE(second.Acquire());
    }
    EXPECT_TRUE(Semaphore(name, 1).Acquire(0)) << "nothing is left of the one before";
}

TEST(Semaphore, ThatCannotBeMadeGrantsNothing)
{
    Semaphore semaphore(0);
    EXPECT_FALSE(semaphore.SharedHandle());
    EXPECT_FALSE(semaphore.Acquire(0));
    semaphore.Release();
}

TEST(Semaphore, TakesBackManyAtATime)
{
    const int most = child::IsWindows() ? 4000 : 40'000; // more than half of what a pipe takes
    const int gift = most / 19;                          // somewhat more than half of a page
    Semaphore semaphore(child::Name(L"kvi test many"), unsigned(most));
    for (int round = 0; round < 20; ++round)
    {
        for (int i = 0; i < gift; ++i)
            ASSERT_TRUE(semaphore.Acquire(0)) << round;
        semaphore.Release(unsigned(gift));
    }
    int granted = 0;
    while (semaphore.Acquire(0))
        ++granted;
    EXPECT_EQ(granted, most);
}

} // namespace
