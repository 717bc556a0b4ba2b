#include "sys/sys_thread_QueueBounded.h"

#include "foundation/kvidbg.h"
#include "platform/platform_park.h"
#include "sys/sys_thread_QueueRings_impl.h"

namespace sys::thread
{
namespace
{

/// This machine, for the rings.
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

    class Bed
    {
    public:
        explicit Bed(Machine&) {}
        void Sleep() { (void)parking_.Sleep(); } // without limit, so it ends with a Wake
        void Wake() { parking_.Wake(); }

    private:
        platform::Parking parking_;
    };

    /// Spins for some microseconds, then lets others run for some hundred, then has none left. It
    /// looks no more often than every tenth of a microsecond: each look takes a cache line away
    /// from the other side, which meanwhile adds more items.
    class Patience
    {
    public:
        explicit Patience(Machine&) {}
        bool Wait()
        {
            if (++round_ > kRounds)
            {
                round_ = 0; // after a sleep from the start
                return false;
            }
            if (round_ > kSpins)
                platform::GiveWay();
            else
                for (int i = 0; i < kPauses; ++i)
                    platform::SpinPause();
            return true;
        }

    private:
        static constexpr int kPauses = 4, kSpins = 20, kRounds = 420;
        int round_ = 0;
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
    impl::QueueRings<Machine> rings{machine};
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
