/// @file
/// @internal The contents of a quadtree's leaves: marks, in blocks of whole cache lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

namespace geom
{

/// The data of an item in a leaf that a search reads: the part of its box within the leaf, in
/// 128ths of the leaf's side (or whole positions), so that most items are skipped without reading
/// them.
///
/// The box is four numbers of a byte: 128 - minX, maxX, 128 - minY, maxY. To these a search adds x,
/// 128 - x, y, 128 - y; the box holds (x, y) when every sum is at least 128.
struct QuadMark
{
    std::uint32_t item;
    std::uint32_t box;

    static constexpr std::uint32_t BoxOf(std::uint32_t minX, std::uint32_t maxX, std::uint32_t minY,
                                         std::uint32_t maxY)
    {
        return (128 - minX) | maxX << 8 | (128 - minY) << 16 | maxY << 24;
    }
    /// From positions to 128ths of a side of 2^bits.
    static constexpr std::uint32_t ShiftOf(std::uint32_t bits) { return bits > 7 ? bits - 7 : 0; }
    static constexpr std::uint32_t PointOf(std::uint32_t x, std::uint32_t y)
    {
        return x | (128 - x) << 8 | y << 16 | (128 - y) << 24;
    }
};

/// The header before the marks of a node, of the size of one mark. As a mark it holds no point:
/// only x = 0 is not beyond its maxX of 0, and that is short of its minX, for a shift is less than
/// 128.
struct QuadHeader
{
    std::uint32_t count; ///< marks that follow
    std::uint32_t shift; ///< from positions to the units of the marks
};
static_assert(sizeof(QuadHeader) == sizeof(QuadMark));

constexpr std::uint32_t kMarksPerLine = 8; ///< of the processor's cache

/// Memory that starts on a cache line, so that a block of eight marks is one line.
template <class T>
struct QuadLines
{
    using value_type = T;

    QuadLines() = default;
    template <class U>
    QuadLines(const QuadLines<U>&) // NOLINT(google-explicit-constructor): as required of allocators
    {
    }
    T* allocate(std::size_t count)
    {
        return static_cast<T*>(::operator new(count * sizeof(T), kLine));
    }
    void deallocate(T* memory, std::size_t) { ::operator delete(memory, kLine); }
    friend bool operator==(const QuadLines&, const QuadLines&) { return true; }

private:
    static constexpr std::align_val_t kLine{64};
};

} // namespace geom
