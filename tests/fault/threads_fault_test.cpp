// Processes that end at any instant while they hold something.

#include "RunChild.h"
#include "support/Numbers.h"
#include "sys/SharedResource.h"
#include "sys/sys_thread_ParallelFor.h"
#include "sys/sys_thread_QueueBounded.h"
#include "sys/sys_thread_Semaphore.h"
#include "sys/sys_thread_Signal.h"
#include "sys/sys_thread_Worker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include <unistd.h>

using namespace sys::thread;
using namespace std::chrono_literals;
using impl::SystemExclusiveAccess;

namespace
{

const std::wstring kMutex = child::Name(L"kvi fault mutex"),
                   kResource = child::Name(L"kvi fault resource");

TEST(FaultChild, DISABLED_DiesHolding)
{
    SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Create(kMutex).ok());
    lock.Lock();
    std::this_thread::sleep_for(std::chrono::milliseconds(child::Number()));
    child::Die();
}

TEST(NamedMutex, WakesTheOneWhoWaitsAtOnce)
{
    SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Create(kMutex).ok());
    std::jthread holder([] { EXPECT_FALSE(child::Run("FaultChild", "DiesHolding", 300)); });
    const auto limit = std::chrono::steady_clock::now() + 30s;
    while (lock.TryLock() && std::chrono::steady_clock::now() < limit)
    {
        lock.Unlock(); // the child has not got that far
        std::this_thread::sleep_for(1ms);
    }
    lock.Lock(); // sleeps until the child has died
    EXPECT_EQ(lock.Depth(), 1);
    lock.Unlock();
}

TEST(FaultChild, DISABLED_OpensResourcesAndDies)
{
    SharedResource resource;
    const std::jthread end([] {
        std::this_thread::sleep_for(std::chrono::microseconds(child::Number()));
        child::Die();
    });
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
    for (int round = 0; round < support::Rounds("KVI_TEST_KILLS", 12); ++round)
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

const std::string kProcess = KVI_TEST_TEMP "/threads fault process";

TEST(FaultChild, DISABLED_RunsUntilItsFileIsGone)
{
    std::ofstream(kProcess) << ::getpid() << '\n';
    for (int i = 0; i < 20'000 && std::filesystem::exists(kProcess); ++i)
        std::this_thread::sleep_for(1ms);
}

TEST(MonitorProcess, ReportsWhenAnotherProcessEnds)
{
    std::filesystem::create_directories(KVI_TEST_TEMP);
    std::filesystem::remove(kProcess);
    std::jthread running([] { EXPECT_TRUE(child::Run("FaultChild", "RunsUntilItsFileIsGone")); });
    int process = 0;
    for (char end = 0; end != '\n'; std::this_thread::sleep_for(1ms))
        std::ifstream(kProcess) >> process >> std::noskipws >> end;
    Signal ended(Signal::manualReset);
    const auto handle = MonitorProcess(process, [&] { ended.Set(); });
    EXPECT_FALSE(ended.Wait(50)) << "it still runs";
    std::filesystem::remove(kProcess);
    EXPECT_TRUE(ended.Wait(20'000));
    EXPECT_TRUE(Worker::Join(handle, kInfinite));
}

/// Of a folder of /proc, where there is one.
std::ptrdiff_t Entries(const char* folder)
{
    return child::IsWindows() ? 0 : std::distance(std::filesystem::directory_iterator(folder), {});
}

/// Pages of memory in use, likewise.
long Pages()
{
    long all = 0, resident = 0;
    if (!child::IsWindows())
        std::ifstream("/proc/self/statm") >> all >> resident;
    return resident;
}

/// One of everything.
void Live(SharedResource& resource)
{
    static const std::wstring name = L"kvi fault life " + std::to_wstring(::getpid());
    Semaphore semaphore(1), named(name + L" s", 1);
    Signal signal(Signal::manualReset);
    SystemExclusiveAccess lock;
    ASSERT_TRUE(semaphore.Acquire(0) && named.Acquire(0) && lock.Create(name).ok());
    lock.Lock();
    QueueBounded queue(2, 8, 1);
    const Worker::Handle worker = Worker::RunInstance(
        [&] {
            signal.Wait();
            const std::int64_t item = 7;
            queue.Push(0, &item, sizeof item);
        },
        65536);
    ASSERT_FALSE(Worker::Join(worker, 0));
    signal.Set();
    std::int64_t item = 0;
    queue.Pop(&item, sizeof item);
    ASSERT_TRUE(Worker::Join(worker, kInfinite) && item == 7);
    ASSERT_TRUE(SharedResource::Open(name + L" r", &resource, 0).ok());
    ASSERT_TRUE(SharedResource::Close(name + L" r").ok());
    lock.Unlock();
}

TEST(Lives, LeaveNothing)
{
    SharedResource resource;
    std::ptrdiff_t descriptors = 0, threads = 0;
    long pages = 0;
    const int warm = 100, lives = warm + support::Rounds("KVI_TEST_LIVES", 300);
    for (int life = 0; life < lives; ++life)
    {
        if (life == warm)
        {
            descriptors = Entries("/proc/self/fd");
            threads = Entries("/proc/self/task");
            pages = Pages();
        }
        Live(resource);
        if (life % 50 == 0)
        {
            task::ParallelFor({0, 9999}, [](unsigned) { return true; });
            task::Finalize();
            task::Initialize();
        }
    }
    for (int i = 0; i < 1000 && Entries("/proc/self/task") > threads; ++i)
        std::this_thread::sleep_for(1ms); // the last worker signals its end before its thread ends
    EXPECT_EQ(Entries("/proc/self/fd"), descriptors);
    EXPECT_LE(Entries("/proc/self/task"), threads);
    EXPECT_LT(Pages() - pages, 8192) << "32 MiB: 32 bytes of each of a million lives";
}

} // namespace
