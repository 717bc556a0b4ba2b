#include "RunChild.h"
#include "sys/sys_thread_ExclusiveAccess.h"
#include "sys/sys_thread_ParallelFor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cfenv>
#include <chrono>
#include <cstdlib>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace sys::thread;
using namespace std::chrono_literals;
using task::ParallelFor;
using task::Range;

namespace
{

struct ParallelForTest : testing::Test
{
    ~ParallelForTest() override { task::pool::SetDynamicWorkers(); }
};

using Counts = std::vector<std::atomic<int>>;

bool AllOnce(const Counts& counts)
{
    return std::all_of(counts.begin(), counts.end(), [](const auto& count) { return count == 1; });
}

TEST_F(ParallelForTest, VisitsEachIndexOnce)
{
    struct Row
    {
        Range range;
        std::size_t count;
    };
    const Row rows[] = {
        {{0, 0, 1}, 1},
        {{5, 5, 1}, 1},
        {{0, 1, 1}, 2},
        {{0, 199'999, 1}, 200'000},
        {{3, 1000, 7}, 143},
        {{0, 2, 5}, 1},
        {{0xfffffff0, 0xffffffff, 1}, 16},
        {{0xffff0000, 0xffffffff, 3}, 21846},
        {{0, 0xffffffff, 0x10000}, 65536},
        {{1, 0xffffffff, 0xfffffffe}, 2},
        {{7, 3, 1}, 0},
        {{0, 10, 0}, 11},
    };
    for (const unsigned workers : {1u, 2u, 5u, 20u})
        for (const auto& [range, count] : rows)
        {
            SCOPED_TRACE(testing::Message() << workers << " workers, " << range.first << " to "
                                            << range.last << " by " << range.step);
            task::pool::SetFixedWorkers(workers);
            Counts counts(count);
            EXPECT_TRUE(ParallelFor(range, [&, r = range](unsigned i) {
                const unsigned step = std::max(r.step, 1u);
                EXPECT_TRUE(i >= r.first && i <= r.last && (i - r.first) % step == 0) << i;
                ++counts.at((i - r.first) / step);
                return true;
            }));
            EXPECT_TRUE(AllOnce(counts));
        }
}

TEST_F(ParallelForTest, IsFalseWhenOneIs)
{
    for (const unsigned odd : {0u, 77'777u, 99'999u, 100'000u})
    {
        std::atomic<int> calls{0};
        EXPECT_EQ(ParallelFor({0, 99'999},
                              [&](unsigned i) {
                                  ++calls;
                                  return i != odd;
                              }),
                  odd == 100'000);
        EXPECT_EQ(calls, 100'000);
    }
}

TEST_F(ParallelForTest, PassesAnExceptionOn)
{
    task::pool::SetFixedWorkers(3);
    for (const unsigned bad : {0u, 500u, 60'000u})
    {
        Counts counts(100'000);
        EXPECT_THROW(ParallelFor({0, 99'999},
                                 [&](unsigned i) {
                                     ++counts[i];
                                     return i == bad ? throw std::runtime_error("bad") : true;
                                 }),
                     std::runtime_error);
        EXPECT_EQ(counts[bad], 1);
        EXPECT_TRUE(std::none_of(counts.begin(), counts.end(), [](auto& c) { return c > 1; }));
    }
    // Out of another thread than the caller's, which then begins no other.
    const auto caller = std::this_thread::get_id();
    std::atomic<int> calls{0};
    EXPECT_THROW(ParallelFor({0, 199},
                             [&](unsigned) {
                                 ++calls;
                                 std::this_thread::sleep_for(5ms);
                                 return std::this_thread::get_id() == caller ? true : throw 7;
                             }),
                 int);
    EXPECT_LT(calls, 100);
    EXPECT_TRUE(ParallelFor({0, 99'999}, [](unsigned) { return true; }));
}

TEST_F(ParallelForTest, NestsAndRunsWithLocksHeld)
{
    task::pool::SetFixedWorkers(4);
    std::atomic<int> inner{0};
    int guarded = 0;
    task::ExclusiveAccess lock;
    ParallelFor({0, 19}, [&](unsigned) {
        ParallelFor({0, 19}, [&](unsigned) {
            lock.Lock();
            ParallelFor({0, 499}, [&](unsigned) { return ++inner > 0; });
            ++guarded;
            lock.Unlock();
            return true;
        });
        return true;
    });
    EXPECT_EQ(inner, 20 * 20 * 500);
    EXPECT_EQ(guarded, 400);
}

TEST_F(ParallelForTest, ServesManyCallersAtOnce)
{
    task::pool::SetFixedWorkers(3);
    std::vector<std::jthread> callers;
    for (unsigned c = 0; c < 4; ++c)
        callers.emplace_back([c] {
            for (unsigned round = 0; round < 400; ++round)
            {
                const unsigned last = (round * 97 + c * 13) % 5000;
                std::atomic<std::uint64_t> sum{0};
                ParallelFor({0, last}, [&](unsigned i) { return sum.fetch_add(i) < ~0ull; });
                ASSERT_EQ(sum, std::uint64_t{last} * (last + 1) / 2);
            }
        });
}

/// The most bodies that ran at once.
int MostAtOnce(unsigned last)
{
    std::atomic<int> now{0}, most{0};
    ParallelFor({0, last}, [&](unsigned) {
        const int mine = ++now;
        for (int seen = most; seen < mine && !most.compare_exchange_weak(seen, mine);)
        {
        }
        std::this_thread::sleep_for(5ms);
        --now;
        return true;
    });
    return most;
}

TEST_F(ParallelForTest, UsesAsManyWorkersAsSet)
{
    if (task::pool::LocalThreads() == 1)
        GTEST_SKIP() << "one processor: loops are serial";
    for (const unsigned workers : {3u, 1u, 2u, 0u})
    {
        task::pool::SetFixedWorkers(workers);
        EXPECT_EQ(task::pool::Workers(), std::max(1u, workers));
        EXPECT_EQ(MostAtOnce(19), std::max(1, int(workers)));
    }
}

TEST_F(ParallelForTest, ComputesInTheCallersArithmetic)
{
    task::pool::SetFixedWorkers(2);
    for (const int mode : {FE_UPWARD, FE_TONEAREST})
    {
        std::fesetround(mode);
        EXPECT_TRUE(ParallelFor({0, 7}, [&](unsigned) {
            std::this_thread::sleep_for(2ms);
            return std::fegetround() == mode;
        }));
    }
}

TEST_F(ParallelForTest, PiecesCoverTheRange)
{
    task::pool::SetFixedWorkers(3);
    for (const std::size_t size : {0u, 1u, 15u, 16u, 1000u, 100'000u})
    {
        Counts counts(size);
        task::ParallelForPieces(5, 5 + size, 16, [&](std::size_t begin, std::size_t end) {
            EXPECT_TRUE(end - begin >= 16 || end == 5 + size);
            for (std::size_t i = begin; i < end; ++i)
                ++counts.at(i - 5);
        });
        EXPECT_TRUE(AllOnce(counts)) << size;
    }
    std::atomic<std::uint64_t> sum{0};
    constexpr std::size_t kMany = SIZE_MAX > 0xffffffff ? SIZE_MAX >> 30 : SIZE_MAX;
    task::ParallelForPieces(0, kMany, 1,
                            [&](std::size_t begin, std::size_t end) { sum += end - begin; });
    EXPECT_EQ(sum, kMany);
}

TEST_F(ParallelForTest, IsSerialAfterFinalizeAndHelpedAfterInitialize)
{
    task::pool::SetFixedWorkers(2);
    for (int round = 0; round < 50; ++round)
    {
        ParallelFor({0, 9999}, [](unsigned) { return true; });
        task::Finalize();
        task::Finalize();
        const auto caller = std::this_thread::get_id();
        EXPECT_TRUE(
            ParallelFor({0, 4}, [&](unsigned) { return std::this_thread::get_id() == caller; }));
        task::Initialize();
    }
    std::jthread other([] {
        for (int i = 0; i < 500; ++i)
            EXPECT_TRUE(ParallelFor({0, 20'000}, [](unsigned) { return true; }));
    });
    const auto turn = [] { // while loops run, and from two threads
        for (int i = 0; i < 100; ++i)
        {
            task::Finalize();
            task::Initialize();
        }
    };
    std::jthread second(turn);
    turn();
}

TEST(PoolChild, DISABLED_RunsSerially)
{
    EXPECT_EQ(task::pool::LocalThreads(), 1u);
    task::pool::SetFixedWorkers(8);
    EXPECT_EQ(MostAtOnce(8), 1);
    task::ITask* const none = nullptr;
    task::Run(task::TaskHandle(none), {0, 3}, 4);
}

TEST(PoolChild, DISABLED_HasSevenThreads) { EXPECT_EQ(task::pool::LocalThreads(), 7u); }

TEST(PoolChild, DISABLED_RunsOnOneProcessor)
{
    EXPECT_EQ(task::pool::TotalSystemWorkers(), 1u);
    task::pool::SetFixedWorkers(4);
    std::atomic<unsigned> sum{0};
    for (int round = 0; round < 200; ++round)
        ParallelFor({0, 9'999}, [&](unsigned) { return ++sum > 0; });
    EXPECT_EQ(sum, 2'000'000u);
}

TEST_F(ParallelForTest, HeedsTheEnvironment)
{
    const std::string set = child::IsWindows() ? "set OMP_NUM_THREADS=" : "OMP_NUM_THREADS=";
    const std::string go = child::IsWindows() ? "&& " : " ";
    EXPECT_TRUE(child::Run("PoolChild", "RunsSerially", 0, set + "0" + go));
    EXPECT_TRUE(child::Run("PoolChild", "RunsSerially", 0, set + "x7" + go));
    EXPECT_TRUE(child::Run("PoolChild", "HasSevenThreads", 0, set + "7,2" + go));
    if (child::IsWindows())
        return;
    const std::string bound = "taskset -c 0 ";
    EXPECT_TRUE(child::Run("PoolChild", "RunsSerially", 0, bound));
    EXPECT_TRUE(child::Run("PoolChild", "RunsOnOneProcessor", 0, set + "4 " + bound));
}

/// What a container with a share of processors sees: the files of its control group.
TEST_F(ParallelForTest, HeedsTheShareOfAContainer)
{
    const std::string aside = "unshare --map-root-user --mount sh -c 'mount -t tmpfs none "
                              "/sys/fs/cgroup && cd /sys/fs/cgroup && ";
    if (child::IsWindows() || std::system((aside + "true' 2>&1 >/dev/null").c_str()) != 0)
        GTEST_SKIP() << "no file may be put in the place of the system's";
    for (const std::string share : {"echo 100000 100000 >cpu.max", "echo 30000 100000 >cpu.max",
                                    "mkdir cpu && echo 50000 >cpu/cpu.cfs_quota_us && "
                                    "echo 100000 >cpu/cpu.cfs_period_us"})
        EXPECT_TRUE(child::Run("PoolChild", "RunsOnOneProcessor", 0,
                               "OMP_NUM_THREADS=4 " + aside + share + " && exec \"$0\" \"$@\"' "))
            << share;
}

} // namespace
