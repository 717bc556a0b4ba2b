/// @file
/// The rings behind QueueBounded, over the few things they need of the machine.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <vector>

namespace sys::thread::impl
{

/// Slots for the items of one writer, side by side in one block, so that small items share cache
/// lines. A slot that had to grow has a block of its own, which begins with its size.
class Slots
{
public:
    Slots(unsigned capacity, std::size_t itemSize)
        : room_(RoundedUp(itemSize)), slots_(std::max(capacity, 2u)), grown_(slots_.size())
    {
        if (room_ > (SIZE_MAX - kLine) / slots_.size())
            throw std::bad_alloc();
        std::size_t space = room_ * slots_.size() + kLine;
        block_ = std::make_unique<std::byte[]>(space);
        void* start = block_.get();
        first_ = static_cast<std::byte*>(std::align(kLine, space - kLine, start, space));
        end_ = first_ + room_ * slots_.size();
        for (std::size_t i = 0; i < slots_.size(); ++i)
            slots_[i] = first_ + i * room_;
    }

    unsigned Count() const { return static_cast<unsigned>(slots_.size()); }

    void Write(unsigned index, const void* data, std::size_t size)
    {
        if (size > room_ && Room(slots_[index]) < size)
            Grow(index, size);
        Copy(slots_[index], data, size);
    }

    void Read(unsigned index, void* out, std::size_t size) const
    {
        const std::byte* const slot = slots_[index];
        Copy(out, slot, size <= room_ ? size : std::min(size, Room(slot)));
    }

private:
    static constexpr std::size_t kLine = 64, kHeader = 8;

    static std::size_t RoundedUp(std::size_t size)
    {
        if (size > SIZE_MAX - 2 * kHeader)
            throw std::bad_alloc();
        return (size + 7) / 8 * 8;
    }
    std::size_t Room(const std::byte* slot) const
    {
        if (std::less_equal<>()(first_, slot) && std::less_equal<>()(slot, end_))
            return room_;
        std::size_t room;
        std::memcpy(&room, slot - kHeader, sizeof room);
        return room;
    }
    static void Copy(void* to, const void* from, std::size_t size)
    {
        if (size == 8) // a pointer or a number: a call would take longer than the copy
            std::memcpy(to, from, 8);
        else if (size != 0)
            std::memcpy(to, from, size);
    }
    void Grow(unsigned index, std::size_t size)
    {
        const std::size_t room = RoundedUp(size);
        auto block = std::make_unique<std::byte[]>(kHeader + room);
        std::memcpy(block.get(), &room, sizeof room);
        slots_[index] = block.get() + kHeader;
        grown_[index] = std::move(block);
    }

    const std::size_t room_; // of a slot that has not grown
    std::vector<std::byte*> slots_;
    std::vector<std::unique_ptr<std::byte[]>> grown_;
    std::unique_ptr<std::byte[]> block_;
    std::byte *first_ = nullptr, *end_ = nullptr;
};

/// The queue, over a System that gives it words in shared memory, beds and barriers; the tests put
/// a machine in its place whose every step they choose.
///
/// Why no wake-up is lost. A side that sleeps and the side that is to wake it use two words: the
/// ring's index, which the one advances, and the flag "asleep" of the other.
///
///     Push (or Pop)                     the waiting side
///     P1  index = next                  W1  asleep = 1
///         (order in the code)               process-wide barrier
///     P2  read asleep: 1? wake          W2  read index: unchanged? sleep
///
/// A wake-up would be lost only if P2 read 0 and W2 read the old index. The barrier happens at one
/// moment of every thread. If P2 of the other thread ran before that moment, then so did P1, and
/// the barrier has made P1 visible to W2, which stays awake. If P2 ran after that moment, it sees
/// W1, which was made visible by the same barrier, and wakes. So one of the two always sees the
/// other. P1 and P2 need no fence for this, only their order in the code. Where there is no
/// process-wide barrier, LightBarrier and HeavyBarrier are both a full fence, and the same holds by
/// the order of the two fences.
///
/// Who finds the flag takes it (an exchange), so one sleep is woken once. A Wake that comes when
/// the other side has just decided to stay awake is kept by the bed: its next sleep returns at
/// once, and the loop around it looks at the indices again.
template <class System>
class QueueRings // NOLINT(clang-analyzer-optin.performance.Padding): sides have lines of their own
{
public:
    explicit QueueRings(System& system) : system_(system), readerAsleep_(system), readerBed_(system)
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
        ring.writeNext = next;
        ring.write.Store(next); // P1
        system_.LightBarrier();
        WakeIfAsleep(readerAsleep_, readerBed_); // P2
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
        WakeIfAsleep(ring->writerAsleep, ring->writerBed);
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
    using Bed = typename System::Bed;
    static constexpr std::size_t kLine = 128; // two cache lines, which processors fetch together

    /// Each side has a line of its own with the index it advances and what it last saw of the
    /// other's: it looks there again only when the ring seems full (or empty).
    struct Ring // NOLINT(clang-analyzer-optin.performance.Padding): as above
    {
        Ring(System& system, unsigned capacity, std::size_t itemSize)
            : slots(capacity, itemSize), count(slots.Count()), writerAsleep(system),
              writerBed(system), write(system), read(system)
        {
        }
        unsigned After(unsigned index) const { return index + 1 == count ? 0 : index + 1; }

        Slots slots;
        const unsigned count;
        Word writerAsleep; // written only around a sleep
        Bed writerBed;
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
        typename System::Patience patience(system_);
        for (;;)
        {
            if (Ring* const ring = NextWithItem())
                return ring;
            if (patience.Wait())
                continue;
            readerAsleep_.Store(1); // W1
            system_.HeavyBarrier();
            if (Ring* const ring = NextWithItem()) // W2
            {
                (void)readerAsleep_.Exchange(0); // who was faster has left a kept Wake
                return ring;
            }
            readerBed_.Sleep();
        }
    }

    void AwaitRoom(Ring& ring, unsigned next)
    {
        typename System::Patience patience(system_);
        const auto hasRoom = [&] { return (ring.readSeen = ring.read.Load()) != next; };
        while (!hasRoom())
        {
            if (patience.Wait())
                continue;
            ring.writerAsleep.Store(1); // W1
            system_.HeavyBarrier();
            if (hasRoom()) // W2
            {
                (void)ring.writerAsleep.Exchange(0); // as above
                return;
            }
            ring.writerBed.Sleep();
        }
    }

    static void WakeIfAsleep(Word& asleep, Bed& bed)
    {
        if (asleep.Load() != 0 && asleep.Exchange(0) != 0) [[unlikely]]
            bed.Wake();
    }

    System& system_;
    std::vector<std::unique_ptr<Ring>> rings_;
    std::size_t last_ = 0;             // the ring popped last; the first Pop starts behind number 0
    alignas(kLine) Word readerAsleep_; // all writers read it
    Bed readerBed_;
};

} // namespace sys::thread::impl
