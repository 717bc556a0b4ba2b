// A forked child of a process whose threads hold, wait and write.

#include "RunChild.h"
#include "support/ForkedChild.h"
#include "sys/SharedResource.h"
#include "sys/sys_file_folder.h"
#include "sys/sys_reg_key.h"
#include "sys/sys_thread_Semaphore.h"
#include "sys/sys_thread_Signal.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using namespace sys::thread;
using impl::SystemExclusiveAccess;
using support::InChild;
using ForkedChild = sys_test::RegistryTest;

namespace
{
const std::wstring kName = child::Name(L"kvi fork");

/// Runs @p body again and again on threads of its own while @p check forks.
template <class Body, class Check>
void While(int threads, Body body, Check check)
{
    std::atomic<bool> done{false};
    std::vector<std::jthread> running;
    for (int t = 0; t < threads; ++t)
        running.emplace_back([&] {
            while (!done)
                body();
        });
    check();
    done = true;
}
} // namespace

TEST_F(ForkedChild, OwnsNoLockAndTakesThemAll)
{
    SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Create(kName).ok());
    Semaphore semaphore(kName, 1);
    lock.Lock();
    ASSERT_TRUE(semaphore.Acquire(0));
    EXPECT_EQ(InChild([&] {
                  const bool kept = lock.TryLock() || semaphore.Acquire(0);
                  lock.Unlock(); // not owned by the child
                  SystemExclusiveAccess same;
                  return !kept && same.Open(kName).ok() && !same.TryLock();
              }),
              0);
    // After Unlock the child does not keep it, though it shares every descriptor.
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::alarm(60);
        ::pause();
        ::_exit(1);
    }
    lock.Unlock();
    semaphore.Release();
    EXPECT_EQ(InChild([&] {
                  const bool owned = lock.TryLock() && semaphore.Acquire(0);
                  semaphore.Release();
                  return owned;
              }),
              0);
    EXPECT_TRUE(lock.TryLock());
    lock.Unlock();
    EXPECT_TRUE(semaphore.Acquire(0)) << "the children's ends changed nothing";
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST_F(ForkedChild, OwnsTheProcessLocksOfItsThread)
{
    impl::ProcessExclusiveAccess lock;
    lock.Lock();
    lock.Lock();
    EXPECT_EQ(InChild([&] {
                  if (!lock.TryLock() || lock.Depth() != 3)
                      return false;
                  for (int i = 0; i < 3; ++i)
                      lock.Unlock();
                  bool isFree = false;
                  std::thread([&] { isFree = lock.TryLock(); }).join();
                  return isFree && !lock.TryLock(); // another thread has it now
              }),
              0);
    lock.Unlock();
    lock.Unlock();
}

TEST_F(ForkedChild, MeetsNoLockOfAThreadItDoesNotHave)
{
    sys::reg::Registry32 key(path);
    ASSERT_TRUE(key.WriteInt(L"n", 5, false).ok());
    Semaphore named(kName, 4), counts(4);
    Signal signal(Signal::autoReset);
    const auto live = [&] {
        static std::atomic<int> number{0};
        thread_local const std::wstring own = kName + std::to_wstring(number++);
        SystemExclusiveAccess lock;
        SharedResource resource;
        (void)lock.Create(kName);
        lock.Lock();
        (void)SharedResource::Open(own, &resource, 0);
        (void)sys::reg::Registry32(path).ReadInt(L"n", 0);
        (void)signal.Wait(1); // leaves a thread that the child's signals must not go to
        if (named.Acquire(0))
            named.Release();
        lock.Unlock();
        (void)SharedResource::Close(own);
    };
    const int rounds = 50;
    While(3, live, [&] {
        for (int round = 0; round < rounds && !HasFailure(); ++round)
            EXPECT_EQ(InChild([&] {
                          SystemExclusiveAccess lock;
                          SharedResource resource;
                          bool right = lock.Create(kName).ok();
                          lock.Lock(); // of whichever thread of the parent
                          right = right && lock.Depth() == 1;
                          lock.Unlock();
                          signal.Set();
                          right = right && signal.Wait(0) && counts.Acquire(0);
                          right = right && SharedResource::Open(kName, &resource, 0).ok();
                          right = right && SharedResource::Close(kName).ok();
                          right = right && key.ReadInt(L"n", 7) == 5;
                          return right && key.WriteInt(L"child", round, false).ok();
                      }),
                      0)
                << round;
    });
    EXPECT_EQ(key.ReadInt(L"child", -1), rounds - 1);
}

/// Starting programs, which briefly share descriptors, neither keeps a mutex locked nor makes
/// locking fail.
TEST_F(ForkedChild, StartingProgramsDoesNotDisturbAMutex)
{
    SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Create(kName).ok());
    int refused = 0;
    const auto start = [] {
        const pid_t program = ::vfork();
        if (program == 0)
        {
            ::execl("/bin/true", "true", nullptr);
            ::_exit(127);
        }
        ::waitpid(program, nullptr, 0);
    };
    While(1, start, [&] {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
        while (std::chrono::steady_clock::now() < end)
        {
            if (lock.TryLock())
                lock.Unlock();
            else
                ++refused;
        }
    });
    EXPECT_EQ(refused, 0);
}
