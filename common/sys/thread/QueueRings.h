/// @file
/// The rings of QueueBounded, generic over the system operations that they need.
#pragma once

#include "sys/thread/QueueSlots.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace sys::thread
{

/// The queue, generic over a System that provides words in shared memory, parking and barriers; the
/// tests substitute a simulated machine whose every step they choose.
///
/// Why no wake-up is lost. A sleeping side and the side that wakes it use two words: the ring's
/// index, advanced by the latter, and the flag "asleep" of the former.
///
///     Push (or Pop)                     the waiting side
///     P1  index = next                  W1  asleep = 1
///         (order in the code)               process-wide barrier
///     P2  read asleep: 1? wake          W2  read index: unchanged? sleep
///
/// A wake-up would be lost only if P2 read 0 and W2 read the old index. The barrier takes effect at
/// one moment of every thread. If P2 of the other thread ran before that moment, then so did P1,
/// and the barrier has made P1 visible to W2, which stays awake. If P2 ran after that moment, it
/// sees W1, which was made visible by the same barrier, and wakes. So one of the two always sees
/// the other. P1 and P2 need no fence for this, only their order in the code. Where there is no
/// process-wide barrier, LightBarrier and HeavyBarrier are both a full fence, and the same holds by
/// the order of the two fences.
///
/// A side that finds the flag clears it (an exchange), so one sleep is woken once. A Wake that
/// arrives when the other side has just decided to stay awake is remembered by the parking spot:
/// its next sleep returns at once, and the loop around it checks the indices again.
///
/// A writer first waits for half of its ring: woken for every free slot, it would push one item and
/// sleep again. But the reader may pop a few items and then never another, so this sleep has a
/// timeout of about a millisecond; then any free slot will do, and only a writer without one sleeps
/// as above, until the next Pop. The timed sleep needs no barrier. Every Pop that leaves the ring
/// half free or more reads the flag, and a reader that goes to sleep itself reads all flags, after
/// its barrier: by then it sees the flag, or the writer has seen the free slots. So only writers
/// whose reader neither pops nor waits any more time out.
template <class System>
class QueueRings // NOLINT(clang-analyzer-optin.performance.Padding): sides have their own lines
{
public:
    explicit QueueRings(System& system)
        : system_(system), readerAsleep_(system), readerSpot_(system)
    {
    }

    unsigned AddWriter(unsigned capacity, std::size_t itemSize)
    {
        rings_.push_back(std::make_unique<Ring>(system_, capacity, itemSize));
        return static_cast<unsigned>(rings_.size() - 1);
    }

    std::size_t Writers() const { return rings_.size(); }

    void Push(unsigned writer, const void* data, std::size_t size)
    {
        Ring& ring = *rings_[writer];
        const unsigned next = ring.After(ring.writeNext);
        if (next == ring.readSeen && (ring.readSeen = ring.read.Load()) == next)
            AwaitRoom(ring, next);
        ring.slots.Write(ring.writeNext, data, size);
        if (const unsigned ahead = ring.slots.Ahead(); ring.Steps(next, ring.readSeen) > ahead)
            ring.slots.Expect(ring.After(next, ahead));
        ring.writeNext = next;
        ring.write.Store(next); // P1
        system_.LightBarrier();
        WakeIfAsleep(readerAsleep_, readerSpot_); // P2
    }

    void Pop(void* out, std::size_t size)
    {
        Ring* ring = NextWithItem();
        if (ring == nullptr)
            ring = AwaitItem();
        ring->slots.Read(ring->readNext, out, size);
        ring->readNext = ring->After(ring->readNext);
        ring->read.Store(ring->readNext);
        system_.LightBarrier();
        if (const unsigned until = ring->writerAsleep.Load(); until != kAwake) [[unlikely]]
            if (until == kUntilAny || ring->IsHalfFree(ring->write.Load(), ring->readNext))
                WakeIfAsleep(ring->writerAsleep, ring->writerSpot);
    }

    bool IsEmpty() const
    {
        return std::all_of(rings_.begin(), rings_.end(), [](const auto& ring) {
            return ring->read.Load() == ring->write.Load();
        });
    }

    bool IsFull(unsigned writer) const
    {
        const Ring& ring = *rings_[writer];
        return ring.After(ring.write.Load()) == ring.read.Load();
    }

private:
    using Word = typename System::Word;
    using ParkingSpot = typename System::ParkingSpot;
    static constexpr std::size_t kLine = 128; // two cache lines, which processors fetch together
    /// Values of the words "asleep": what the sleeper waits for.
    static constexpr unsigned kAwake = 0, kUntilAny = 1, kUntilHalf = 2;

    /// Each side has its own cache line with the index it advances and its last view of the other's
    /// index, which it re-reads only when the ring seems full (or empty).
    struct Ring // NOLINT(clang-analyzer-optin.performance.Padding): as above
    {
        Ring(System& system, unsigned capacity, std::size_t itemSize)
            : slots(capacity, itemSize), count(slots.Count()), writerAsleep(system),
              writerSpot(system), write(system), read(system)
        {
        }
        unsigned After(unsigned index, unsigned steps = 1) const
        {
            return index + steps < count ? index + steps : index + steps - count;
        }
        unsigned Steps(unsigned from, unsigned to) const
        {
            return to >= from ? to - from : to + count - from;
        }
        bool IsHalfFree(unsigned writeNow, unsigned readNow) const
        {
            return Steps(After(writeNow), readNow) >= count / 2;
        }

        Slots slots;
        const unsigned count;
        Word writerAsleep; // written only around a sleep
        ParkingSpot writerSpot;
        alignas(kLine) Word write;
        unsigned writeNext = 0, readSeen = 0; // the writer's own
        alignas(kLine) Word read;
        unsigned readNext = 0, writeSeen = 0; // the reader's own
    };

    /// The first ring with an item after the one popped last; null when all are empty.
    Ring* NextWithItem()
    {
        const std::size_t count = rings_.size();
        std::size_t i = last_;
        for (std::size_t visited = 0; visited < count; ++visited)
        {
            i = i + 1 < count ? i + 1 : 0;
            Ring& ring = *rings_[i];
            if (ring.writeSeen == ring.readNext &&
                (ring.writeSeen = ring.write.Load()) == ring.readNext)
                continue;
            last_ = i;
            return &ring;
        }
        return nullptr;
    }

    Ring* AwaitItem()
    {
        typename System::Backoff backoff(system_);
        for (;;)
        {
            if (Ring* const ring = NextWithItem())
                return ring;
            if (backoff.Wait())
                continue;
            readerAsleep_.Store(kUntilAny); // W1
            system_.HeavyBarrier();
            if (Ring* const ring = NextWithItem()) // W2
            {
                (void)readerAsleep_.Exchange(kAwake); // a concurrent Wake is remembered
                return ring;
            }
            for (const auto& ring : rings_)
                WakeIfAsleep(ring->writerAsleep, ring->writerSpot);
            readerSpot_.Sleep();
        }
    }

    void AwaitRoom(Ring& ring, unsigned next)
    {
        typename System::Backoff backoff(system_);
        const auto room = [&] { return ring.Steps(next, ring.readSeen = ring.read.Load()); };
        while (room() < ring.count / 2)
        {
            if (backoff.Wait())
                continue;
            ring.writerAsleep.Store(kUntilHalf);
            const bool enough = room() >= ring.count / 2;
            const bool woken = !enough && ring.writerSpot.SleepBriefly();
            if (!enough && !woken)
            {
                ring.writerAsleep.Store(kUntilAny); // W1
                system_.HeavyBarrier();
                if (room() == 0) // W2
                    ring.writerSpot.Sleep();
            }
            (void)ring.writerAsleep.Exchange(kAwake); // as above
            if (!woken && room() != 0)
                return;
        }
    }

    static void WakeIfAsleep(Word& asleep, ParkingSpot& bed)
    {
        if (asleep.Load() != kAwake && asleep.Exchange(kAwake) != kAwake) [[unlikely]]
            bed.Wake();
    }

    System& system_; // all threads read these two, at every call
    std::vector<std::unique_ptr<Ring>> rings_;
    alignas(kLine) Word readerAsleep_; // all writers read it
    ParkingSpot readerSpot_;
    // The reader's own: the ring popped last; the first Pop starts after number 0.
    alignas(kLine) std::size_t last_ = 0;
};

} // namespace sys::thread
