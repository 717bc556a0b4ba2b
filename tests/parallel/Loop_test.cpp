#include "parallel/For.h"
#include "parallel/TaskGroup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace parallel;
using namespace std::chrono_literals;

namespace
{

struct PoolTest : testing::Test
{
    ~PoolTest() override { SetFixedThreads(kDynamicThreads); }
};

using Counts = std::vector<std::atomic<int>>;

bool AllOnce(const Counts& counts)
{
    return std::all_of(counts.begin(), counts.end(), [](const auto& count) { return count == 1; });
}

TEST_F(PoolTest, LoopsAndGroupsDoEachNumberOnce)
{
    for (const unsigned threads : {1u, 2u, 5u, 20u})
        for (const std::size_t count : {0u, 1u, 7u, 100u, 1000u, 50'000u})
        {
            SCOPED_TRACE(testing::Message() << threads << " threads, " << count);
            SetFixedThreads(threads);
            Counts pieces(count), each(count), tasks(count);
            For(count, 16, [&](std::size_t begin, std::size_t end) {
                EXPECT_TRUE(end - begin >= 16 || end == count);
                for (std::size_t i = begin; i < end; ++i)
                    ++pieces[i];
            });
            ForEach(count, [&](std::size_t i) { ++each[i]; });
            TaskGroup group;
            std::function<void(std::size_t)> node = [&](std::size_t i) { // of a heap's tree
                ++tasks[i];
                for (const std::size_t child : {2 * i + 1, 2 * i + 2})
                    if (child < count)
                        group.Run([&node, child] { node(child); });
            };
            if (count > 0)
                group.Run([&] { node(0); });
            group.Wait();
            EXPECT_TRUE(AllOnce(pieces) && AllOnce(each) && AllOnce(tasks));
        }
}

/// Whatever the first iterations cost, no thread gets most of the long ones: not even where one
/// holds them all when a helper comes, finds nothing and goes back to sleep.
TEST_F(PoolTest, SharesLongPassesAfterCheapOnes)
{
    constexpr std::size_t kCount = 1000, kLong = 128;
    constexpr unsigned kThreads = 4;
    SetFixedThreads(kThreads);
    for (const int turns : {0, 3, 10, 30, 100}) // of a cheap one
        for (const std::size_t first : {0u, 1u, 9u, 73u, 300u, 585u, 872u})
        {
            std::mutex lock;
            std::map<std::thread::id, std::size_t> done;
            ForEach(kCount, [&](std::size_t i) {
                if (i < first || i >= first + kLong)
                {
                    for (std::atomic<int> turn = 0; turn < turns; ++turn)
                    {
                    }
                    return;
                }
                std::this_thread::sleep_for(1ms);
                const std::lock_guard guard(lock);
                ++done[std::this_thread::get_id()];
            });
            std::size_t most = 0;
            for (const auto& [id, count] : done)
                most = std::max(most, count);
            EXPECT_LE(most, kLong * 3 / 4)
                << turns << " turns in cheap ones, long ones from " << first;
        }
}

TEST_F(PoolTest, TheLimitHoldsForLoopsWithinLoops)
{
    SetFixedThreads(4);
    const ThreadLimit limit(2);
    std::atomic<int> now{0}, most{0};
    ForEach(8, [&](std::size_t) {
        EXPECT_EQ(LoopThreads(), 2u);
        const int mine = ++now;
        for (int seen = most; seen < mine && !most.compare_exchange_weak(seen, mine);)
        {
        }
        std::this_thread::sleep_for(2ms);
        --now;
    });
    EXPECT_EQ(most, 2);
}

TEST_F(PoolTest, AGroupPassesAnExceptionOnAndRunsAgain)
{
    SetFixedThreads(3);
    TaskGroup group;
    for (int round = 0; round < 20; ++round)
    {
        std::atomic<int> after{0};
        group.Run([] { throw std::runtime_error("bad"); });
        EXPECT_THROW(group.Wait(), std::runtime_error);
        group.Run([&] { group.Run([&] { ++after; }); });
        group.Wait();
        EXPECT_EQ(after, 1);
    }
}

} // namespace
