#include "support/Numbers.h"
#include "sys/SimulatedMachine.h"
#include "sys/thread/QueueRings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>
#include <string>

namespace
{

struct Outcome
{
    bool ended;
    unsigned long steps, timeouts;          // those to their end
    std::vector<std::vector<int>> received; // of each writer
};

unsigned Slots(unsigned seed) { return 2 + seed % 7; }

/// @p writers hand @p items each to one reader, on a machine that @p seed drives.
Outcome Transfer(unsigned seed, int writers, int items, bool barrier = true)
{
    SimulatedMachine machine(seed, barrier);
    sys::thread::QueueRings<SimulatedMachine> rings(machine);
    Outcome outcome{false, 0, 0, std::vector<std::vector<int>>(std::size_t(writers))};
    std::vector<std::function<void()>> programs;
    for (int w = 0; w < writers; ++w)
    {
        rings.AddWriter(Slots(seed), 4); // the items have 8 bytes and make slots grow
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
    outcome.timeouts = machine.Timeouts();
    return outcome;
}

unsigned Seeds(int usual) { return unsigned(support::Rounds("KVI_TEST_SEEDS", usual)); }

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
        ASSERT_EQ(outcome.timeouts, 0u) << "a writer overslept; replay with seed " << seed;
    }
}

TEST(QueueRings, LetWritersInWhenTheReaderPopsNoMore)
{
    for (unsigned seed = 1; seed <= Seeds(60); ++seed)
        for (unsigned pops = 1; pops <= Slots(seed) / 2; ++pops)
        {
            SimulatedMachine machine(seed);
            sys::thread::QueueRings<SimulatedMachine> rings(machine);
            SimulatedMachine::Word clock(machine);
            rings.AddWriter(Slots(seed), 4);
            const auto writer = [&] {
                for (unsigned i = 0; i < Slots(seed); ++i) // one more than there is room for
                    rings.Push(0, &i, sizeof i);
            };
            const auto reader = [&] {
                for (int i = 0; i < 400; ++i) // until the writer is asleep
                    (void)clock.Load();
                for (unsigned i = 0, item = 0; i < pops; ++i)
                    rings.Pop(&item, sizeof item);
            };
            ASSERT_TRUE(machine.Run({writer, reader})) << "replay with seed " << seed;
            const bool timesOut = !machine.Hurries() && pops < Slots(seed) / 2;
            ASSERT_EQ(machine.Timeouts(), timesOut ? 1u : 0u) << "seed " << seed;
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
