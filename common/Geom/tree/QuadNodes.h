/// @file
/// @internal The nodes of a quadtree over whole-number boxes, and what its leaves hold.
#pragma once

#include "Geom/tree/QuadMark.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Geom::impl
{

/// Coordinates on each axis: 0 up to kQuadSide - 1. A quadrant is chosen by one bit of each.
constexpr unsigned kQuadBits = 31;
constexpr std::uint32_t kQuadSide = 1u << kQuadBits;

/// A box on the grid, both ends included.
struct QuadBox
{
    std::uint32_t minX, maxX, minY, maxY;
};

/// An item and its box.
struct QuadEntry
{
    std::uint32_t item;
    QuadBox box;
};

/// Who knows the boxes of all items.
class IQuadItems
{
public:
    virtual ~IQuadItems() = default;
    /// The box with which an item was added.
    virtual QuadBox BoxOf(std::uint32_t item) const = 0;
};

/// A square of the grid with its lower-left corner; a leaf, or the parent of four.
struct QuadNode
{
    std::uint32_t children = 0; ///< the first of four; 0: a leaf
    std::uint32_t block = 0;    ///< where its block of marks starts; 0: it has none
    std::uint32_t count = 0;    ///< its items
    std::uint32_t room = 0;     ///< marks in the block
    std::uint32_t limit = 0;    ///< more items than these, and it tries to split
    std::uint32_t x = 0, y = 0; ///< its corner
    std::uint32_t bits = 0;     ///< its side is 2^bits
};

/// Blocks of a header and 7, 15, 31 ... marks in one array; freed ones are used again. The first
/// block is that of all leaves without items.
class QuadPool
{
public:
    void Clear();
    void Reserve(std::size_t marks) { marks_.reserve(marks); }
    /// The header of a block, with the marks behind it.
    const QuadMark* At(std::uint32_t block) const { return marks_.data() + block; }
    /// Adds an item to a leaf, moving its marks to a larger block when there is no room.
    void Add(QuadNode& leaf, const QuadEntry& entry);
    /// Takes an item out of a leaf, if it is there.
    void Remove(QuadNode& leaf, std::uint32_t item);
    /// Takes the block of a leaf away.
    void Free(QuadNode& leaf);

private:
    void Enlarge(QuadNode& leaf);
    void WriteHeader(const QuadNode& leaf);

    std::vector<QuadMark, QuadLines<QuadMark>> marks_;
    std::array<std::vector<std::uint32_t>, 32> free_; ///< starts of free blocks by log2 of size
};

/// A leaf as a search sees it: its block, and the position as QuadMark::PointOf gives it.
struct QuadView
{
    const QuadMark* block;
    std::uint32_t count; ///< marks behind the header
    std::uint32_t point;
};

/// The tree. Every position of the grid lies in one leaf, and an item stands in each leaf that its
/// box meets.
class QuadNodes
{
public:
    explicit QuadNodes(std::uint32_t capacity) : capacity_(capacity) { Clear(); }
    void Clear();
    void Reserve(std::size_t nodes, std::size_t items);
    /// @param entry  an item and its box
    /// @param items  tells the boxes of those that are there already
    void Add(const QuadEntry& entry, const IQuadItems& items);
    /// Takes out what Add with the same entry put in.
    void Remove(const QuadEntry& entry);
    /// The leaf that holds a position.
    QuadView LeafAt(std::uint32_t x, std::uint32_t y) const
    {
        // A parent in the table is as large as its square.
        unsigned bit = kQuadBits - tableBits_;
        std::uint32_t link = links_[table_[(std::size_t{y >> bit} << tableBits_) + (x >> bit)]];
        while (link >= kParent)
        {
            --bit;
            link = links_[link - kParent + 2 - 2 * (y >> bit & 1) + (x >> bit & 1)];
        }
        const QuadMark* const block = pool_.At(link);
        const auto [count, shift] = std::bit_cast<QuadHeader>(*block);
        return {block, count, QuadMark::PointOf(x >> shift & 127, y >> shift & 127)};
    }
    std::size_t Count() const { return nodes_.size(); }
    unsigned Depth() const { return depth_; }

private:
    /// Calls @p visit with the number of every leaf that @p box meets, once each; it may not split.
    template <class Visit>
    void ForLeaves(const QuadBox& box, const Visit& visit);
    template <class Visit>
    void ForLeavesBelow(std::uint32_t node, const QuadBox& box, const Visit& visit);
    void AddTo(std::uint32_t leaf, const QuadEntry& entry);
    void SplitWhileFull(std::uint32_t leaf, const IQuadItems& items);
    bool IsWorthSplitting(const QuadNode& leaf, const std::vector<QuadEntry>& entries) const;
    void Split(std::uint32_t leaf, const std::vector<QuadEntry>& entries);
    void SetTable(std::uint32_t node);
    void RefineTable();

    std::uint32_t capacity_;
    static constexpr std::uint32_t kParent = 1u << 31;

    std::vector<QuadNode> nodes_;
    /// All that a search reads of the nodes: the block of a leaf, or the first child + kParent.
    std::vector<std::uint32_t> links_;
    QuadPool pool_;
    /// The grid in 2^tableBits_ by 2^tableBits_ squares: the deepest node that holds each whole.
    std::vector<std::uint32_t> table_;
    unsigned tableBits_ = 0;
    std::vector<std::uint32_t> overfull_; ///< leaves that an Add has filled
    std::vector<QuadEntry> splitting_;    ///< the entries of one of them
    unsigned depth_ = 0;
};

} // namespace Geom::impl
