#include "sys/sys_thread_CallOnce.h"
#include "sys/sys_thread_Signal.h"
#include "sys/sys_thread_Worker.h"
#include "sys/sys_thread_affinity.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include <unistd.h>

using namespace sys::thread;
using namespace std::chrono_literals;

namespace
{

/// Records the results of Sleep, one call for each length in @p lengths.
class Sleeper : public Worker
{
public:
    Sleeper(std::vector<unsigned long> lengths, std::vector<int>& reasons,
            std::atomic<std::size_t>& done, Signal& start)
        : lengths_(std::move(lengths)), reasons_(reasons), done_(done), start_(start)
    {
    }
    using Worker::AddWaitHandle;

private:
    void Run() override
    {
        start_.Wait();
        for (const unsigned long ms : lengths_)
        {
            reasons_.push_back(Sleep(ms));
            ++done_;
        }
    }

    std::vector<unsigned long> lengths_;
    std::vector<int>& reasons_;
    std::atomic<std::size_t>& done_;
    Signal& start_;
};

TEST(Worker, SleepsForExitBeforeWakeBeforeOthers)
{
    Signal start(Signal::manualReset), extra(Signal::autoReset), never(Signal::autoReset);
    std::vector<int> reasons;
    std::atomic<std::size_t> done{0};
    auto* const sleeper =
        new Sleeper({kInfinite, kInfinite, 5, kInfinite, 0, 0}, reasons, done, start);
    sleeper->AddWaitHandle(never.SharedHandle());
    sleeper->AddWaitHandle(extra.SharedHandle());
    EXPECT_FALSE(sleeper->InstanceHandle().IsValid());
    const Worker::Handle handle = Worker::RunInstance(sleeper, 0);
    EXPECT_TRUE(Worker::IsRunning(handle));
    Worker::NotifyWake(handle);
    extra.Set();
    start.Set();
    while (done < 3)
        std::this_thread::sleep_for(1ms);
    Worker::NotifyExit(handle);
    Worker::NotifyWake(handle);
    EXPECT_TRUE(Worker::Join(handle, kInfinite));
    // Woken and then the second extra handle; nothing; exit, for good, though a wake is there too.
    EXPECT_EQ(reasons, (std::vector<int>{1, 5, 3, 2, 2, 2}));
    EXPECT_FALSE(Worker::IsRunning(handle));
}

TEST(Worker, HandleIsRightThoughItHasEnded)
{
    int last = -1;
    for (int i = 0; i < 500; ++i)
    {
        const Worker::Handle handle = Worker::RunInstance([] {}, 0);
        EXPECT_GT(handle.Value(), last);
        last = handle.Value();
    }
    EXPECT_TRUE(Worker::Join(Worker::Handle(last), kInfinite));
    Worker::NotifyWake(Worker::Handle(last)); // nobody there
    Worker::NotifyExit(Worker::Handle());
    EXPECT_TRUE(Worker::Join(Worker::Handle(), kInfinite));
    EXPECT_FALSE(Worker::IsRunning(Worker::Handle(123456789)));
}

/// Its destructor calls the registry back.
class CallsBack : public Worker
{
public:
    explicit CallsBack(std::atomic<int>& after) : after_(after) {}
    ~CallsBack() override
    {
        NotifyWake(InstanceHandle());
        EXPECT_FALSE(IsRunning(InstanceHandle())) << "it is not registered any more";
        RunInstance([&after = after_] { after = 1; }, 0);
    }

private:
    void Run() override
    {
        EXPECT_TRUE(Join(InstanceHandle(), kInfinite)) << "a worker does not wait for itself";
        EXPECT_NE(ID(), 0u);
    }
    std::atomic<int>& after_;
};

TEST(Worker, DestructorMayCallBack)
{
    std::atomic<int> after{0};
    EXPECT_TRUE(Worker::Join(Worker::RunInstance(new CallsBack(after), 1 << 20), kInfinite));
    while (after == 0)
        std::this_thread::yield();
}

TEST(Worker, JoinThatTimedOutLeavesAnEventThatIsStillSet)
{
    Signal go(Signal::manualReset);
    const Worker::Handle handle = Worker::RunInstance([&] { go.Wait(); }, 0);
    EXPECT_FALSE(Worker::Join(handle, 5));
    EXPECT_FALSE(Worker::Join(std::vector{handle, handle}, 5));
    go.Set();
    EXPECT_TRUE(Worker::Join(handle, kInfinite));
}

TEST(Worker, JoinTakesAnyNumber)
{
    Signal go(Signal::manualReset);
    std::atomic<int> ended{0};
    std::vector<Worker::Handle> handles;
    for (int i = 0; i < 150; ++i)
        handles.push_back(Worker::RunInstance(
            [&] {
                go.Wait();
                ++ended;
            },
            65536));
    EXPECT_FALSE(Worker::Join(handles, 10));
    go.Set();
    EXPECT_TRUE(Worker::Join(handles, 60'000));
    EXPECT_EQ(ended, 150);
}

TEST(Worker, EndsWithAnException)
{
    const auto handle = Worker::RunInstance([] { throw std::runtime_error("100 %s of it"); }, 0);
    EXPECT_TRUE(Worker::Join(handle, kInfinite));
    EXPECT_TRUE(Worker::Join(Worker::RunInstance([] { throw 7; }, 0), kInfinite));
}

TEST(MonitorProcess, ReportsAProcessThatIsGone)
{
    Signal gone(Signal::manualReset);
    const auto handle = MonitorProcess(0x3ffffffc, [&] { gone.Set(); });
    EXPECT_TRUE(gone.Wait(20'000));
    EXPECT_TRUE(Worker::Join(handle, kInfinite));
    EXPECT_FALSE(MonitorProcess(-1, [] {}).IsValid());
}

TEST(MonitorProcess, StopsWhenAsked)
{
    bool called = false;
    const auto handle = MonitorProcess(::getpid(), [&] { called = true; });
    Worker::NotifyWake(handle); // ignored
    EXPECT_FALSE(Worker::Join(handle, 20));
    Worker::NotifyExit(handle);
    EXPECT_TRUE(Worker::Join(handle, kInfinite));
    EXPECT_FALSE(called);
}

TEST(CallOnce, CallsOnceAndRetriesAfterAnException)
{
    static OnceFlag flag;
    std::atomic<int> calls{0};
    EXPECT_THROW(CallOnce(flag, [] { throw 1; }), int);
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 8; ++t)
            threads.emplace_back([&] {
                CallOnce(flag, [&] {
                    std::this_thread::sleep_for(5ms);
                    ++calls;
                });
                EXPECT_EQ(calls, 1) << "nobody returns before it is done";
            });
    }
    EXPECT_EQ(calls, 1);
}

TEST(affinity, NumbersThreadsAfterThePrimary)
{
    using namespace affinity;
    EXPECT_EQ(CurrentId(), 0u) << "no primary thread is set";
    EXPECT_EQ(UniqueId(), 0u);
    const unsigned system = SetCurrentId(77);
    EXPECT_NE(system, 0u);
    SetPrimaryId(77);
    EXPECT_TRUE(IsCurrentPrimary());
    EXPECT_EQ(UniqueId(), 0u);
    unsigned first = 0, second = 0;
    std::jthread([&] {
        EXPECT_FALSE(IsCurrentPrimary());
        EXPECT_NE(CurrentId(), 0u);
        first = UniqueId();
        EXPECT_EQ(UniqueId(), first);
        EXPECT_FALSE(SetFutureOwnership(true));
        EXPECT_TRUE(affinity::impl::FutureOwnership());
        SetParentId(5);
        EXPECT_EQ(ParentId(), 5u);
        EXPECT_FALSE(DeclareThreadSafe(true));
    }).join();
    std::jthread([&] { second = UniqueId(); }).join();
    EXPECT_EQ(first, 1u);
    EXPECT_EQ(second, 2u);
    EXPECT_FALSE(affinity::impl::FutureOwnership());
    EXPECT_EQ(ParentId(), 0u);
    EXPECT_TRUE(DeclareThreadSafe(false)) << "one for the process";
    EXPECT_TRUE(IsPrimaryThreadId(0));
    EXPECT_FALSE(IsPrimaryThreadId(77));
    EXPECT_TRUE(TestThreadSafeModify({9}, 3));
    EXPECT_EQ(SetCurrentId(system), 77u);
    SetPrimaryId(0);
}

template <class T>
void ExpectAtomic()
{
    T value = std::numeric_limits<T>::max();
    EXPECT_EQ(sys::thread::impl::AtomicData<T>::Increment(value), std::numeric_limits<T>::min());
    EXPECT_EQ(sys::thread::impl::AtomicData<T>::Exchange(value, 5), std::numeric_limits<T>::min());
    EXPECT_EQ(value, T(5));
}

TEST(AtomicData, WrapsAndReturnsAsTheSystemsOwn)
{
    ExpectAtomic<int>();
    ExpectAtomic<unsigned>();
    ExpectAtomic<long>();
    ExpectAtomic<unsigned long>();
    int one = 1, two = 2, *pointer = &one;
    EXPECT_EQ(sys::thread::impl::AtomicPointerOperations::Exchange(pointer, &two), &one);
    EXPECT_EQ(pointer, &two);
}

} // namespace
