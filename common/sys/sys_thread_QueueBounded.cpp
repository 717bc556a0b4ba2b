#include "sys/sys_thread_QueueBounded.h"

#include "foundation/kvidbg.h"
#include "platform/platform_park.h"
#include "sys/thread/QueueRings.h"

#include <atomic>
#include <chrono>
#include <limits>
#include <utility>

namespace sys::thread
{
namespace
{

/// Whether the processors are oversubscribed, measured by the yields of all queues.
///
/// On an oversubscribed machine a yield costs milliseconds, while a sleeping thread gets the
/// processor soon after it is woken. After several consecutive long yields no queue yields for a
/// while.
class Contention
{
public:
    using Clock = std::chrono::steady_clock;

    bool IsHigh(Clock::time_point now) const
    {
        return now.time_since_epoch().count() < until_.load(std::memory_order_relaxed);
    }
    void Yielded(Clock::time_point before, Clock::time_point now)
    {
        if (now - before < kLongYield)
        {
            if (consecutive_.load(std::memory_order_relaxed) != 0)
                consecutive_.store(0, std::memory_order_relaxed);
        }
        else if (consecutive_.fetch_add(1, std::memory_order_relaxed) + 1 >= kThreshold)
        {
            until_.store((now + kAvoidYield).time_since_epoch().count(), std::memory_order_relaxed);
            consecutive_.store(0, std::memory_order_relaxed);
        }
    }

private:
    static constexpr std::chrono::milliseconds kLongYield{1}, kAvoidYield{500};
    static constexpr int kThreshold = 3;
    std::atomic<int> consecutive_{0};
    std::atomic<Clock::rep> until_{std::numeric_limits<Clock::rep>::min()};
};

Contention contention;

/// The system interface of the rings on the real machine.
struct Machine
{
    class Word
    {
    public:
        explicit Word(Machine&) {}
        unsigned Load() const { return value_.load(std::memory_order_acquire); }
        void Store(unsigned value) { value_.store(value, std::memory_order_release); }
        unsigned Exchange(unsigned value) { return value_.exchange(value); }

    private:
        std::atomic<unsigned> value_{0};
    };

    class ParkingSpot
    {
    public:
        explicit ParkingSpot(Machine&) {}
        void Sleep() { (void)parker_.Sleep(); } // without limit, so it ends with a Wake
        /// @returns false on timeout
        bool SleepBriefly() { return parker_.Sleep(1); }
        void Wake() { parker_.Wake(); }

    private:
        platform::Parker parker_;
    };

    /// Spins for about a microsecond, then yields for some hundred, then ends. (The other side may
    /// have been woken on this very processor.) It polls at most a few times per microsecond: each
    /// poll takes a cache line away from the other side, which meanwhile adds more items.
    class Backoff
    {
    public:
        explicit Backoff(Machine&) {}
        bool Wait()
        {
            if (++round_ <= kSpins)
            {
                for (int i = 0; i < kPauses; ++i)
                    platform::SpinPause();
                return true;
            }
            if (round_ == kSpins + 1)
                start_ = last_ = Contention::Clock::now();
            if (last_ - start_ >= kYielding || contention.IsHigh(last_))
            {
                round_ = 0; // start again after a sleep
                return false;
            }
            platform::YieldThread();
            const auto before = std::exchange(last_, Contention::Clock::now());
            contention.Yielded(before, last_);
            return true;
        }

    private:
        static constexpr int kPauses = 16, kSpins = 2;
        static constexpr std::chrono::microseconds kYielding{200};
        int round_ = 0;
        Contention::Clock::time_point start_, last_;
    };

    void LightBarrier() const
    {
        if (fenced) [[unlikely]]
            platform::FullBarrier();
        else
            platform::CompilerBarrier();
    }
    void HeavyBarrier() const
    {
        if (fenced)
            platform::FullBarrier();
        else
            platform::ProcessBarrier();
    }

    const bool fenced = !platform::HasProcessBarrier();
};

} // namespace

struct QueueBounded::Rings
{
    Machine machine;
    QueueRings<Machine> rings{machine};
};

QueueBounded::QueueBounded() : rings_(std::make_unique<Rings>()) {}

QueueBounded::QueueBounded(unsigned capacity, unsigned itemSize, unsigned writers) : QueueBounded()
{
    for (unsigned i = 0; i < writers; ++i)
        AddWriter(capacity, itemSize);
}

QueueBounded::~QueueBounded() = default;

unsigned QueueBounded::AddWriter(unsigned capacity, unsigned itemSize)
{
    return rings_->rings.AddWriter(capacity, itemSize);
}

void QueueBounded::Push(unsigned writer, const void* data, std::size_t size)
{
    rings_->rings.Push(writer, data, size);
}

void QueueBounded::Pop(void* out, std::size_t size)
{
    if (rings_->rings.Writers() == 0)
    {
        KVI_LOG(kvi::diag::error, 0, "a queue without writers cannot be read");
        return;
    }
    rings_->rings.Pop(out, size);
}

bool QueueBounded::IsEmpty() const { return rings_->rings.IsEmpty(); }

bool QueueBounded::IsFull(unsigned writer) const { return rings_->rings.IsFull(writer); }

} // namespace sys::thread
