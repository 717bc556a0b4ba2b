// Queues from one, two and four writers to one reader, and the way there and back between two
// threads. Items carry their writer and number, which the reader checks.

#include "platform/platform_park.h"
#include "sys/sys_thread_QueueBounded.h"

#include <benchmark/benchmark.h>
#include <tbb/concurrent_queue.h>

#include <array>
#include <atomic>
#include <boost/lockfree/spsc_queue.hpp>
#include <chrono>
#include <concurrentqueue/blockingconcurrentqueue.h>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr unsigned kCapacity = 1024;

template <std::size_t Size>
struct Item
{
    std::uint32_t writer, number;
    std::array<char, Size - 8> rest;
};

template <>
struct Item<8>
{
    std::uint32_t writer, number;
};

template <class T>
class KviQueue
{
public:
    explicit KviQueue(unsigned writers) : queue_(kCapacity, sizeof(T), writers) {}
    void Push(unsigned writer, const T& item) { queue_.Push(writer, &item, sizeof item); }
    void Pop(T& item) { queue_.Pop(&item, sizeof item); }

private:
    sys::thread::QueueBounded queue_;
};

template <class T>
class MutexDeque
{
public:
    explicit MutexDeque(unsigned) {}
    void Push(unsigned, const T& item)
    {
        {
            std::unique_lock lock(mutex_);
            notFull_.wait(lock, [this] { return items_.size() < kCapacity; });
            items_.push_back(item);
        }
        notEmpty_.notify_one();
    }
    void Pop(T& item)
    {
        {
            std::unique_lock lock(mutex_);
            notEmpty_.wait(lock, [this] { return !items_.empty(); });
            item = items_.front();
            items_.pop_front();
        }
        notFull_.notify_one();
    }

private:
    std::mutex mutex_;
    std::condition_variable notFull_, notEmpty_;
    std::deque<T> items_;
};

template <class T>
class TbbQueue
{
public:
    explicit TbbQueue(unsigned) { queue_.set_capacity(kCapacity); }
    void Push(unsigned, const T& item) { queue_.push(item); }
    void Pop(T& item) { queue_.pop(item); }

private:
    tbb::concurrent_bounded_queue<T> queue_;
};

/// Unbounded: its writers never wait.
template <class T>
class Moodycamel
{
public:
    explicit Moodycamel(unsigned writers)
    {
        for (unsigned i = 0; i < writers; ++i)
            tokens_.emplace_back(queue_);
    }
    void Push(unsigned writer, const T& item) { queue_.enqueue(tokens_[writer], item); }
    void Pop(T& item) { queue_.wait_dequeue(item); }

private:
    moodycamel::BlockingConcurrentQueue<T> queue_;
    std::vector<moodycamel::ProducerToken> tokens_;
};

/// A ring for each writer; both sides spin and yield, and never sleep.
template <class T>
class BoostRings
{
public:
    explicit BoostRings(unsigned writers)
    {
        for (unsigned i = 0; i < writers; ++i)
            rings_.push_back(std::make_unique<Ring>(kCapacity));
    }
    void Push(unsigned writer, const T& item)
    {
        for (int spin = 0; !rings_[writer]->push(item); ++spin)
            Wait(spin);
    }
    void Pop(T& item)
    {
        for (int spin = 0;; ++spin)
        {
            for (std::size_t i = 0; i < rings_.size(); ++i)
            {
                next_ = next_ + 1 < rings_.size() ? next_ + 1 : 0;
                if (rings_[next_]->pop(item))
                    return;
            }
            Wait(spin);
        }
    }

private:
    using Ring = boost::lockfree::spsc_queue<T>;
    static void Wait(int spin)
    {
        if (spin < 50)
            platform::SpinPause();
        else
            std::this_thread::yield();
    }
    std::vector<std::unique_ptr<Ring>> rings_;
    std::size_t next_ = 0;
};

/// Time for an item while @p writers push as fast as they can.
template <class Queue, class T>
void Throughput(benchmark::State& state)
{
    const auto writers = static_cast<unsigned>(state.range(0));
    constexpr std::uint32_t kItems = 400'000;
    for (auto _ : state)
    {
        Queue queue(writers);
        std::atomic<bool> start{false};
        std::vector<std::jthread> threads;
        for (unsigned w = 0; w < writers; ++w)
            threads.emplace_back([&, w] {
                start.wait(false);
                for (std::uint32_t i = 0; i < kItems / writers; ++i)
                {
                    T item{};
                    item.writer = w;
                    item.number = i;
                    queue.Push(w, item);
                }
            });
        std::array<std::uint32_t, 4> next{};
        const auto begin = std::chrono::steady_clock::now();
        start = true;
        start.notify_all();
        for (std::uint32_t i = 0; i < kItems / writers * writers; ++i)
        {
            T item;
            queue.Pop(item);
            if (item.number != next[item.writer]++)
                return state.SkipWithError("an item is missing");
        }
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(time.count() / (kItems / writers * writers));
    }
}

/// Round-trip time, when both sides have waited @p state.range(0) microseconds in between.
template <class Queue>
void RoundTrip(benchmark::State& state)
{
    const std::chrono::microseconds pause(state.range(0));
    const auto work = [&] {
        if (pause.count() >= 1000)
            return std::this_thread::sleep_for(pause);
        const auto end = std::chrono::steady_clock::now() + pause;
        while (std::chrono::steady_clock::now() < end)
            platform::SpinPause();
    };
    using T = Item<16>;
    Queue there(1), back(1);
    std::jthread echo([&] {
        for (T item{};;)
        {
            there.Pop(item);
            if (item.number == 0)
                return;
            back.Push(0, item);
        }
    });
    T item{0, 1, {}};
    for (auto _ : state)
    {
        work();
        const auto begin = std::chrono::steady_clock::now();
        there.Push(0, item);
        back.Pop(item);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(time.count() +
                               (pause.count() < 1000 ? 1e-6 * double(pause.count()) : 0));
    }
    item.number = 0;
    there.Push(0, item);
}

/// The system's own wait and wake, without a queue.
template <class T>
class Kernel
{
public:
    explicit Kernel(unsigned) {}
    void Push(unsigned, const T& item)
    {
        item_ = item;
        bed_.Wake();
    }
    void Pop(T& item)
    {
        bed_.Sleep();
        item = item_;
    }

private:
    platform::Parker bed_;
    T item_{};
};

template <class T>
void RegisterThroughput(const char* size)
{
    const auto add = [&](const char* who, void (*run)(benchmark::State&)) {
        for (const int writers : {1, 2, 4})
        {
            const std::string name =
                "6|" + std::to_string(writers) + " writers " + size + "|" + who;
            benchmark::RegisterBenchmark(name.c_str(), run)
                ->Arg(writers)
                ->UseManualTime()
                ->Iterations(3);
        }
    };
    add("kvi", Throughput<KviQueue<T>, T>);
    add("mutex + deque", Throughput<MutexDeque<T>, T>);
    add("TBB bounded", Throughput<TbbQueue<T>, T>);
    add("moodycamel blocking", Throughput<Moodycamel<T>, T>);
    add("Boost spinning rings", Throughput<BoostRings<T>, T>);
}

const bool kRegistered = [] {
    RegisterThroughput<Item<8>>("8 B");
    RegisterThroughput<Item<64>>("64 B");
    const auto add = [](const char* who, void (*run)(benchmark::State&)) {
        for (const auto& [name, pause, rounds] :
             {std::tuple("back at once", 0, 20'000), std::tuple("back after 50 us", 50, 2000),
              std::tuple("back asleep", 2000, 100)})
            benchmark::RegisterBenchmark(("6|there and " + std::string(name) + "|" + who).c_str(),
                                         run)
                ->Arg(pause)
                ->UseManualTime()
                ->Iterations(rounds);
    };
    add("kvi", RoundTrip<KviQueue<Item<16>>>);
    add("mutex + deque", RoundTrip<MutexDeque<Item<16>>>);
    add("moodycamel blocking", RoundTrip<Moodycamel<Item<16>>>);
    add("Boost spinning rings", RoundTrip<BoostRings<Item<16>>>);
    add("kernel wait and wake", RoundTrip<Kernel<Item<16>>>);
    return true;
}();

} // namespace
