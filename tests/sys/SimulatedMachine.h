// A machine whose every step a seed decides: one thread runs at a time, and stores wait in a buffer
// of their thread before the others see them, as on x86. Timed sleeps
// end at any moment or only when no other thread can run, depending on the seed.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <random>
#include <thread>
#include <utility>
#include <vector>

class SimulatedMachine
{
public:
    /// @param barrier  false: HeavyBarrier does nothing, a fault that must show
    explicit SimulatedMachine(unsigned seed, bool barrier = true)
        : random_(seed), barrier_(barrier), hurries_(seed % 2 == 0)
    {
    }

    /// Runs the programs side by side.
    /// @returns false when those that had not ended were all asleep
    bool Run(const std::vector<std::function<void()>>& programs)
    {
        threads_ = std::vector<Thread>(programs.size());
        {
            std::vector<std::jthread> real;
            for (std::size_t i = 0; i < programs.size(); ++i)
                real.emplace_back([&, i] { Perform(i, programs[i]); });
            const std::lock_guard lock(lock_);
            PassOn();
        }
        return !stuck_;
    }

    unsigned long Steps() const { return steps_; }
    /// Whether timed sleeps may end while another thread can run.
    bool Hurries() const { return hurries_; }
    /// How many timed sleeps ended because no other thread could run.
    unsigned long Timeouts() const { return timeouts_; }

    /// A part of a machine.
    class Part
    {
    public:
        explicit Part(SimulatedMachine& machine) : machine_(machine) {}

    protected:
        SimulatedMachine& machine_;
    };

    class Word : public Part
    {
    public:
        using Part::Part;
        unsigned Load() const
        {
            machine_.Step();
            const auto& stores = machine_.Mine().stores;
            const auto own = std::find_if(stores.rbegin(), stores.rend(),
                                          [this](const auto& s) { return s.first == this; });
            return own != stores.rend() ? own->second : value_;
        }
        void Store(unsigned value)
        {
            machine_.Step();
            machine_.Mine().stores.emplace_back(this, value);
        }
        unsigned Exchange(unsigned value)
        {
            machine_.Step();
            machine_.Mine().Drain();
            return std::exchange(value_, value);
        }

    private:
        friend class SimulatedMachine;
        unsigned value_ = 0;
    };

    class ParkingSpot : public Part
    {
    public:
        using Part::Part;
        void Sleep()
        {
            machine_.Step();
            machine_.Mine().Drain();
            while (!std::exchange(kept_, false))
            {
                machine_.Mine().spot = this;
                machine_.Step();
            }
        }
        bool SleepBriefly()
        {
            machine_.Step();
            Thread& mine = machine_.Mine();
            mine.Drain();
            if (!kept_)
            {
                mine.spot = this;
                mine.sleepsBriefly = true;
                machine_.Step();
                mine.sleepsBriefly = false;
                mine.spot = nullptr;
            }
            return std::exchange(kept_, false);
        }
        void Wake()
        {
            machine_.Step();
            kept_ = true;
            for (Thread& thread : machine_.threads_)
                if (thread.spot == this)
                    thread.spot = nullptr;
        }

    private:
        bool kept_ = false;
    };

    struct Backoff : Part
    {
        using Part::Part;
        bool Wait() { return machine_.random_() % 2 == 0; }
    };

    void LightBarrier() {}
    void HeavyBarrier()
    {
        Step();
        if (barrier_)
            for (Thread& thread : threads_)
                thread.Drain();
    }

private:
    struct Stuck
    {
    };

    struct Thread
    {
        std::deque<std::pair<Word*, unsigned>> stores; // not yet seen by others
        ParkingSpot* spot = nullptr;                   // where it sleeps
        bool sleepsBriefly = false;                    // there
        bool ended = false;
        std::condition_variable turn;

        void DrainOne()
        {
            stores.front().first->value_ = stores.front().second;
            stores.pop_front();
        }
        void Drain()
        {
            while (!stores.empty())
                DrainOne();
        }
    };

    Thread& Mine() { return threads_[running_]; }

    /// Before each operation: drains a store of some buffer or none, and schedules a thread.
    void Step()
    {
        std::unique_lock lock(lock_);
        const std::size_t me = running_;
        ++steps_;
        Thread& any = threads_[random_() % threads_.size()];
        if (random_() % 4 == 0 && !any.stores.empty())
            any.DrainOne();
        PassOn();
        threads_[me].turn.wait(lock, [&] { return stuck_ || running_ == me; });
        if (stuck_)
            throw Stuck();
    }

    void PassOn()
    {
        std::vector<std::size_t> ready, timedSleepers;
        for (std::size_t i = 0; i < threads_.size(); ++i)
            if (!threads_[i].ended && threads_[i].spot == nullptr)
                ready.push_back(i);
            else if (!threads_[i].ended && threads_[i].sleepsBriefly)
                timedSleepers.push_back(i);
        if (ready.empty() || hurries_)
        {
            timeouts_ += ready.empty() && !timedSleepers.empty() ? 1 : 0;
            ready.insert(ready.end(), timedSleepers.begin(), timedSleepers.end());
        }
        const bool over = std::all_of(threads_.begin(), threads_.end(),
                                      [](const Thread& thread) { return thread.ended; });
        stuck_ = stuck_ || (ready.empty() && !over);
        running_ = ready.empty() ? threads_.size() : ready[random_() % ready.size()];
        for (std::size_t i = 0; i < threads_.size(); ++i)
            if (stuck_ || i == running_)
                threads_[i].turn.notify_all();
    }

    void Perform(std::size_t me, const std::function<void()>& program)
    {
        {
            std::unique_lock lock(lock_);
            threads_[me].turn.wait(lock, [&] { return stuck_ || running_ == me; });
        }
        try
        {
            program();
        }
        catch (const Stuck&)
        {
        }
        const std::lock_guard lock(lock_);
        threads_[me].Drain();
        threads_[me].ended = true;
        if (!stuck_)
            PassOn();
    }

    std::mt19937 random_;
    const bool barrier_, hurries_;
    std::mutex lock_;
    std::vector<Thread> threads_;
    std::size_t running_ = SIZE_MAX;
    bool stuck_ = false;
    unsigned long steps_ = 0, timeouts_ = 0;
};
