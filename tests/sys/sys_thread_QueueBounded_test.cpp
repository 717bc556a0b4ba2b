#include "support/Numbers.h"
#include "sys/sys_thread_QueueBounded.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

using sys::thread::QueueBounded;
using namespace std::chrono_literals;

namespace
{

int Popped(QueueBounded& queue)
{
    int item = -1;
    queue.Pop(&item, sizeof item);
    return item;
}

TEST(QueueBounded, HoldsOneLessThanItsCapacity)
{
    QueueBounded queue(4, sizeof(int), 1);
    EXPECT_TRUE(queue.IsEmpty());
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_FALSE(queue.IsFull(0));
        queue.Push(0, &i, sizeof i);
    }
    EXPECT_TRUE(queue.IsFull(0));
    std::atomic<bool> pushed{false};
    std::jthread writer([&] {
        const int last = 3;
        queue.Push(0, &last, sizeof last);
        pushed = true;
    });
    std::this_thread::sleep_for(30ms); // long enough to fall asleep
    EXPECT_FALSE(pushed);
    EXPECT_EQ(Popped(queue), 0);
    writer.join();
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ(Popped(queue), i);
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(QueueBounded, HoldsAMillion)
{
    QueueBounded queue(1'000'000, sizeof(int), 1);
    for (int i = 0; i < 999'999; ++i)
        queue.Push(0, &i, sizeof i);
    EXPECT_TRUE(queue.IsFull(0));
    int i = 0;
    while (i < 999'999 && Popped(queue) == i)
        ++i;
    EXPECT_EQ(i, 999'999);
}

TEST(QueueBounded, ServesWritersInTurn)
{
    QueueBounded queue(8, 4, 3); // the first turn is the one after writer 0
    for (const int item : {0, 10, 20, 1, 21, 2})
        queue.Push(unsigned(item / 10), &item, sizeof item);
    for (const int expected : {10, 20, 0, 21, 1, 2})
        EXPECT_EQ(Popped(queue), expected);
}

TEST(QueueBounded, ReaderWaitsForAnyWriter)
{
    QueueBounded queue;
    EXPECT_EQ(Popped(queue), -1) << "nobody can ever write";
    for (unsigned w = 0; w < 70; ++w) // more than one wait of the system takes
        EXPECT_EQ(queue.AddWriter(2, 4), w);
    std::jthread writer([&] {
        std::this_thread::sleep_for(30ms);
        const int item = 69;
        queue.Push(69, &item, sizeof item);
    });
    EXPECT_EQ(Popped(queue), 69);
}

TEST(QueueBounded, CopiesItemsOfAnySize)
{
    QueueBounded queue(0, 0, 1); // raised to what can hold an item
    for (const std::size_t size : {0u, 1u, 8u, 100'000u, 3u})
    {
        std::string sent(size, '\0'), got(size + 4, '#');
        std::iota(sent.begin(), sent.end(), 'a');
        queue.Push(0, sent.data(), size);
        queue.Pop(got.data(), size);
        EXPECT_EQ(got, sent + "####");
    }
    for (const unsigned size : {1u, 8u, 24u, 40u, 64u, 200u}) // no slot touches another
    {
        QueueBounded full(100, size, 1);
        const auto item = [&](int i) { return std::string(size, char(i)); };
        for (int i = 0; i < 99; ++i)
            full.Push(0, item(i).data(), size);
        for (int i = 0; i < 99; ++i)
        {
            std::string got(size, '#');
            full.Pop(got.data(), size);
            EXPECT_EQ(got, item(i)) << "size " << size;
        }
    }
    char room[64];
    std::fill(std::begin(room), std::end(room), '#');
    QueueBounded small(2, 8, 1);
    small.Push(0, "12345678", 8);
    small.Pop(room, sizeof room); // no further than its slot
    EXPECT_EQ(std::string(room, sizeof room), "12345678" + std::string(56, '#'));
}

TEST(QueueBounded, ReaderAndWriterSleepWhenIdle)
{
    if (std::filesystem::path::preferred_separator == L'\\')
        GTEST_SKIP() << "its clock() counts the time of day";
    QueueBounded queue(2, 4, 2);
    const int item = 1;
    std::jthread reader([&] { Popped(queue), Popped(queue); });
    std::this_thread::sleep_for(30ms);
    const std::clock_t start = std::clock();
    std::this_thread::sleep_for(200ms);
    EXPECT_LT(double(std::clock() - start) / CLOCKS_PER_SEC, 0.02);
    queue.Push(0, &item, sizeof item);
    queue.Push(1, &item, sizeof item);
    reader.join();
    queue.Push(0, &item, sizeof item);
    std::jthread writer([&] { queue.Push(0, &item, sizeof item); });
    std::this_thread::sleep_for(30ms);
    const std::clock_t asleep = std::clock();
    std::this_thread::sleep_for(200ms);
    EXPECT_LT(double(std::clock() - asleep) / CLOCKS_PER_SEC, 0.02);
    Popped(queue);
}

/// Items of 3 to 40 words: writer, number, count of words, then words that identify their position.
struct Item
{
    static constexpr unsigned kMost = 40;
    unsigned words[kMost];

    static Item Make(unsigned writer, unsigned number)
    {
        Item item{{writer, number, 3 + (number * 7 + writer) % (kMost - 2)}};
        for (unsigned i = 3; i < item.words[2]; ++i)
            item.words[i] = number * 31 + i + writer;
        return item;
    }
    std::size_t Size() const { return words[2] * sizeof(unsigned); }
    bool Equals(const Item& other) const
    {
        return std::equal(words, words + words[2], other.words, other.words + other.words[2]);
    }
};

void Pause(std::mt19937& random)
{
    if (const unsigned dice = random() % 4096; dice == 0)
        std::this_thread::sleep_for(
            std::chrono::microseconds(random() % 400)); // longer than the back-off
    else if (dice < 8)
        std::this_thread::yield();
}

TEST(QueueBounded, LosesDoublesAndTearsNothing)
{
    const unsigned writers = 8,
                   each = unsigned(support::Rounds("KVI_TEST_ITEMS", 160'000)) / writers;
    QueueBounded queue;
    for (unsigned w = 0; w < writers; ++w)
        queue.AddWriter(2 + 9 * w, 16);
    std::vector<std::jthread> threads;
    for (unsigned w = 0; w < writers; ++w)
        threads.emplace_back([&queue, w, each] {
            std::mt19937 random(w);
            for (unsigned i = 0; i < each; ++i)
            {
                const Item item = Item::Make(w, i);
                queue.Push(w, &item, item.Size());
                Pause(random);
            }
        });
    std::vector<unsigned> next(writers, 0);
    std::mt19937 random(99);
    for (unsigned i = 0; i < each * writers; ++i)
    {
        Item item{};
        queue.Pop(&item, sizeof item);
        const unsigned writer = item.words[0];
        ASSERT_LT(writer, writers);
        ASSERT_TRUE(item.Equals(Item::Make(writer, next[writer]++))) << "item " << i;
        Pause(random);
    }
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(next, std::vector<unsigned>(writers, each));
}

} // namespace
