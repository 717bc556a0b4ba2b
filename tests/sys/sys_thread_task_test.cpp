#include "support/RecordingSink.h"
#include "sys/sys_thread_Signal.h"
#include "sys/sys_thread_affinity.h"
#include "sys/sys_thread_task.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace sys::thread;
using namespace std::chrono_literals;
using task::Range;

namespace
{

TEST(range, CountsRunsWithoutTheStep)
{
    struct Row
    {
        Range range;
        std::uint64_t runs;
        bool valid;
    };
    const Row rows[] = {
        {{5, 5, 1}, 1, true},
        {{0, 9, 10}, 10, true},
        {{0, 9, 11}, 10, false},
        {{6, 5, 1}, 0, false},
        {{0, 0xffffffff, 7}, 0x100000000, true},
    };
    for (const auto& [range, runs, valid] : rows)
    {
        EXPECT_EQ(task::range::TotalRuns(range), runs) << range.first;
        EXPECT_EQ(task::range::IsValid(range), valid) << range.first;
    }
}

TEST(pool, HasAtLeastOneWorker)
{
    EXPECT_GE(task::pool::TotalSystemWorkers(), 1u);
    EXPECT_GE(task::pool::LocalThreads(), 1u);
    task::pool::SetLocalThreads(50);
    task::pool::BookkeepLocalThreads();
    task::pool::Rebalance();
    EXPECT_EQ(task::pool::Workers(), task::pool::LocalThreads());
}

/// Marks the numbers it is called for; waits at the begin of each part, throws at one number.
struct Marks : task::ITask
{
    explicit Marks(std::size_t size) : marks(size) {}

    void Run(const Range& part) override
    {
        const int mine = ++now;
        for (int seen = most; seen < mine && !most.compare_exchange_weak(seen, mine);)
        {
        }
        if (gate != nullptr)
            gate->Wait();
        parents = affinity::ParentId();
        for (std::uint64_t i = part.first; i <= part.last; i += part.step)
        {
            ++marks.at(std::size_t(i));
            if (i == bad)
                throw std::out_of_range("bad");
        }
        --now;
    }
    int Sum() const
    {
        int sum = 0;
        for (const auto& mark : marks)
            sum += mark;
        return sum;
    }

    std::vector<std::atomic<int>> marks;
    std::atomic<unsigned> parents{0};
    std::atomic<int> now{0}, most{0}; // parts at once
    std::uint64_t bad = ~0ull;
    Signal* gate = nullptr;
};

TEST(job, RunsItsRangeOnceEachTime)
{
    const auto marks = std::make_shared<Marks>(1000);
    task::job::Handle job = task::job::Create(marks, {1, 999, 2}, 3);
    task::job::Run(job);
    EXPECT_EQ(marks->Sum(), 500);
    task::job::SetRange(job, {0, 999, 2});
    task::job::Run(job);
    EXPECT_EQ(marks->Sum(), 1000);
    EXPECT_TRUE(
        std::all_of(marks->marks.begin(), marks->marks.end(), [](auto& m) { return m == 1; }));
    task::job::SetRange(job, {9, 3, 1});
    task::job::Run(job);
    task::job::RunAsync(job);
    task::job::Wait(job);
    EXPECT_EQ(marks->Sum(), 1000);
    task::job::Release(job);
    EXPECT_EQ(job, nullptr);
    task::Run(marks, {0, 9, 1}, 0);
    EXPECT_EQ(marks->Sum(), 1010);
    EXPECT_EQ(marks.use_count(), 1);
}

TEST(job, RunsInThePoolWhileItsCallerGoesOn)
{
    for (const int workers : {1, 2, 3})
        for (const bool waits : {false, true}) // while the parts do; then it helps, if it may
        {
            Signal gate(Signal::manualReset);
            const auto marks = std::make_shared<Marks>(5000);
            marks->gate = &gate;
            affinity::SetPrimaryId(1);
            const auto job = task::job::Create(marks, {0, 4999, 1}, unsigned(workers));
            task::job::Wait(job); // not begun
            task::job::RunAsync(job);
            while (marks->now == 0) // by somebody else
                std::this_thread::sleep_for(1ms);
            EXPECT_EQ(marks->Sum(), 0) << "the parts wait at the gate";
            std::jthread opener([&] {
                std::this_thread::sleep_for(waits ? 30ms : 0ms);
                gate.Set();
            });
            while (!waits && marks->Sum() == 0)
                std::this_thread::sleep_for(1ms);
            EXPECT_TRUE(waits || marks->parents == affinity::CurrentId());
            task::job::Wait(job);
            EXPECT_EQ(marks->Sum(), 5000);
            EXPECT_LE(marks->most, workers);
            affinity::SetPrimaryId(0);
        }
}

TEST(job, GoesOnWhenReleased)
{
    Signal gate(Signal::manualReset);
    const auto marks = std::make_shared<Marks>(100);
    marks->gate = &gate;
    auto job = task::job::Create(marks, {0, 99, 1}, 2);
    task::job::RunAsync(job);
    task::job::Release(job);
    gate.Set();
    while (marks.use_count() > 1)
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(marks->Sum(), 100);
}

TEST(job, PassesAnExceptionOn)
{
    const auto marks = std::make_shared<Marks>(100'000);
    marks->bad = 40;
    const auto job = task::job::Create(marks, {0, 99'999, 1}, 2);
    EXPECT_THROW(task::job::Run(job), std::out_of_range);
    task::job::RunAsync(job);
    EXPECT_THROW(task::job::Wait(job), std::out_of_range);
}

/// Each of several jobs waits for the next one: all must have a thread, whatever the pool's size.
TEST(job, MayWaitForAnother)
{
    struct Waits : task::ITask
    {
        void Run(const Range&) override
        {
            begun.Set();
            if (next != nullptr)
                EXPECT_TRUE(next->done.Wait(20'000));
            done.Set();
        }
        Signal begun{Signal::manualReset}, done{Signal::manualReset};
        Waits* next = nullptr;
    };
    for (const unsigned variant : {1u, 2u, 4u, 8 + 1u, 8 + 2u, 8 + 4u})
    {
        const bool forOlder = variant > 8;
        task::pool::SetFixedWorkers(variant % 8);
        std::vector<std::shared_ptr<Waits>> tasks(4);
        std::vector<task::job::Handle> jobs;
        for (auto& one : tasks)
            one = std::make_shared<Waits>();
        for (std::size_t i = 0; i + 1 < tasks.size(); ++i)
            tasks[forOlder ? i + 1 : i]->next = tasks[forOlder ? i : i + 1].get();
        for (const auto& one : tasks)
            jobs.push_back(task::job::Create(one, {0, 0, 1}, 1));
        task::job::RunAsync(jobs[1]);
        if (!forOlder) // then the pool's thread and the one in Wait may both be at tasks that wait
            EXPECT_TRUE(tasks[1]->begun.Wait(20'000));
        for (const std::size_t i : {0, 2, 3})
            task::job::RunAsync(jobs[i]);
        for (const auto& job : jobs)
            task::job::Wait(job);
        task::Finalize();
        task::Initialize();
    }
    task::pool::SetDynamicWorkers();
}

TEST(job, LogsWhatItThrewWhenNobodyWaited)
{
    support::RecordingSink sink;
    const auto marks = std::make_shared<Marks>(100);
    marks->bad = 40;
    auto job = task::job::Create(marks, {0, 99, 1}, 2);
    task::job::RunAsync(job);
    task::job::Release(job);
    while (marks.use_count() > 1)
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(sink.TakeText(), L"a job without a waiting thread threw: bad\n");
}

TEST(job, IsDoneByWaitWhereThePoolHasNoThread)
{
    task::Finalize();
    const auto marks = std::make_shared<Marks>(100);
    const auto job = task::job::Create(marks, {0, 99, 1}, 2);
    task::job::RunAsync(job);
    EXPECT_EQ(marks->Sum(), 0);
    task::job::Wait(job);
    EXPECT_EQ(marks->Sum(), 100);
    task::Initialize();
}

} // namespace
