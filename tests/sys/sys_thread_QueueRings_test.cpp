#include "SimulatedMachine.h"
#include "sys/sys_thread_QueueRings_impl.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>
#include <string>

namespace
{

struct Outcome
{
    bool ended;
    unsigned long steps;
    std::vector<std::vector<int>> received; // of each writer
};

/// @p writers hand @p items each to one reader, on a machine that @p seed drives.
Outcome Transfer(unsigned seed, int writers, int items, bool barrier = true)
{
    SimulatedMachine machine(seed, barrier);
    sys::thread::impl::QueueRings<SimulatedMachine> rings(machine);
    Outcome outcome{false, 0, std::vector<std::vector<int>>(std::size_t(writers))};
    std::vector<std::function<void()>> programs;
    for (int w = 0; w < writers; ++w)
    {
        rings.AddWriter(2 + seed % 3, 4); // one to three items; those of 8 bytes make slots grow
        programs.push_back([&rings, w, items] {
            for (int i = 0; i < items; ++i)
            {
                const int item[2] = {w, i};
                rings.Push(unsigned(w), item, sizeof item);
            }
        });
    }
    programs.push_back([&] {
        for (int i = 0; i < writers * items; ++i)
        {
            int item[2] = {};
            rings.Pop(item, sizeof item);
            outcome.received[std::size_t(item[0])].push_back(item[1]);
        }
    });
    outcome.ended = machine.Run(programs);
    outcome.steps = machine.Steps();
    return outcome;
}

unsigned Seeds(unsigned usual)
{
    const char* const more = std::getenv("KVI_TEST_SEEDS"); // NOLINT(concurrency-mt-unsafe)
    return more != nullptr ? unsigned(std::stoul(more)) : usual;
}

TEST(QueueRings, LoseNothingUnderAnySchedule)
{
    std::vector<int> inOrder(15);
    std::iota(inOrder.begin(), inOrder.end(), 0);
    for (unsigned seed = 1; seed <= Seeds(60); ++seed)
    {
        const int writers = 1 + int(seed % 3);
        const Outcome outcome = Transfer(seed, writers, 15);
        ASSERT_TRUE(outcome.ended) << "a wake-up was lost; replay with seed " << seed;
        for (const auto& received : outcome.received)
            ASSERT_EQ(received, inOrder) << "seed " << seed;
    }
}

TEST(QueueRings, ReplayTheSameStepsForASeed)
{
    EXPECT_EQ(Transfer(7, 2, 15).steps, Transfer(7, 2, 15).steps);
}

TEST(QueueRings, NeedTheBarrierOfTheSideThatSleeps)
{
    unsigned lost = 0;
    for (unsigned seed = 1; seed <= 200 && lost == 0; ++seed)
        lost += Transfer(seed, 1, 15, false).ended ? 0 : 1;
    EXPECT_GT(lost, 0u) << "the machine does not show what the barrier is for";
}

} // namespace
