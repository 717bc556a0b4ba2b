/// @file
/// Storage of QueueBounded for the items of one writer.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <numeric>
#include <vector>

namespace sys::thread
{

/// Slots for the items of one writer, in one block; small items share cache lines. A slot that had
/// to grow has its own block, which begins with its size.
///
/// Lines used consecutively lie far apart. Adjacent ones would be prefetched for the reader while
/// the writer is about to fill them. The writer prefetches its lines early enough to own them by
/// then. (Two processors that share no cache, items of 64 bytes: 75 to 170 ns an item, and 190
/// without either.)
class Slots
{
public:
    Slots(unsigned capacity, std::size_t itemSize)
        : room_(RoundedUp(itemSize, 8)), slots_(std::max(capacity, 2u)), grown_(slots_.size())
    {
        const std::size_t perLine = room_ == 0 ? slots_.size() : std::max(kLine / room_, kOne);
        const std::size_t lines = (slots_.size() + perLine - 1) / perLine;
        const std::size_t length = RoundedUp(std::min(perLine, slots_.size()) * room_, kLine);
        if (length > (SIZE_MAX - kLine) / lines)
            throw std::bad_alloc();
        std::size_t space = length * lines + kLine;
        block_ = std::make_unique<std::byte[]>(space);
        void* start = block_.get();
        first_ = static_cast<std::byte*>(std::align(kLine, space - kLine, start, space));
        end_ = first_ + length * lines;
        std::size_t stride = lines * 382 / 1000 + 1; // the golden section separates neighbours
        while (std::gcd(stride, lines) != 1)
            ++stride;
        std::size_t line = 0;
        for (std::size_t i = 0; i < slots_.size(); ++i)
        {
            slots_[i] = first_ + line * length + i % perLine * room_;
            if (i % perLine == perLine - 1)
                line = (line + stride) % lines;
        }
        ahead_ = static_cast<unsigned>(std::min(kLinesAhead * perLine, slots_.size() / 4));
    }

    unsigned Count() const { return static_cast<unsigned>(slots_.size()); }
    /// How many slots ahead to call Expect.
    unsigned Ahead() const { return ahead_; }
    /// Prefetches the slot for writing.
    void Expect(unsigned index) const { __builtin_prefetch(slots_[index], 1); }

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
    static constexpr std::size_t kOne = 1, kLine = 64, kLinesAhead = 12, kHeader = 8;

    static std::size_t RoundedUp(std::size_t size, std::size_t unit)
    {
        if (size > SIZE_MAX - 2 * kLine)
            throw std::bad_alloc();
        return (size + unit - 1) / unit * unit;
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
        const std::size_t room = RoundedUp(size, 8);
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
    unsigned ahead_ = 0;
};

} // namespace sys::thread
