/// @file
/// @internal The nodes of a quadtree over whole-number boxes, and what its leaves hold.
#pragma once

#include <array>
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

    bool Holds(std::uint32_t x, std::uint32_t y) const
    {
        // Without a branch; what lies below the minimum wraps around.
        return (x - minX <= maxX - minX) & (y - minY <= maxY - minY);
    }
};

/// An item in a leaf: which, and its box, so that most items are passed over without a look.
struct QuadEntry
{
    std::uint32_t item;
    QuadBox box;
};

/// A square of the grid with its lower-left corner; a leaf, or the parent of four.
struct QuadNode
{
    std::uint32_t children = 0; ///< the first of four; 0: a leaf
    std::uint32_t entries = 0;  ///< where its block of entries starts
    std::uint32_t count = 0;    ///< entries in use
    std::uint32_t room = 0;     ///< entries in the block
    std::uint32_t limit = 0;    ///< more entries than these, and it tries to split
    std::uint32_t x = 0, y = 0; ///< its corner
    std::uint32_t bits = 0;     ///< its side is 2^bits
};

/// Blocks of entries in one array, of 4, 8, 16 ... entries; freed ones are used again.
class QuadPool
{
public:
    void Clear();
    void Reserve(std::size_t entries) { entries_.reserve(entries); }
    QuadEntry* At(std::uint32_t block) { return entries_.data() + block; }
    const QuadEntry* At(std::uint32_t block) const { return entries_.data() + block; }
    /// Adds an entry to a leaf, moving its entries to a larger block when there is no room.
    void Add(QuadNode& leaf, const QuadEntry& entry);
    /// Takes the block of a leaf away.
    void Free(QuadNode& leaf);

private:
    std::vector<QuadEntry> entries_;
    std::array<std::vector<std::uint32_t>, 32> free_; ///< starts of free blocks by log2 of the room
};

/// The tree. Every position of the grid lies in one leaf, and an entry stands in each leaf that its
/// box meets.
class QuadNodes
{
public:
    explicit QuadNodes(std::uint32_t capacity) : capacity_(capacity) { Clear(); }
    void Clear();
    void Reserve(std::size_t nodes, std::size_t items);
    void Add(const QuadEntry& entry);
    /// Takes out what Add with the same entry put in.
    void Remove(const QuadEntry& entry);
    const QuadNode& LeafAt(std::uint32_t x, std::uint32_t y) const;
    const QuadEntry* EntriesOf(const QuadNode& leaf) const { return pool_.At(leaf.entries); }
    std::size_t Count() const { return nodes_.size(); }
    unsigned Depth() const { return depth_; }

private:
    /// Calls @p visit with the number of every leaf that @p box meets, once each; it may not split.
    template <class Visit>
    void ForLeaves(const QuadBox& box, const Visit& visit);
    template <class Visit>
    void ForLeavesBelow(std::uint32_t node, const QuadBox& box, const Visit& visit);
    void SplitWhileFull(std::uint32_t leaf);
    bool IsWorthSplitting(const QuadNode& leaf) const;
    void Split(std::uint32_t leaf);
    void SetTable(std::uint32_t node);
    void RefineTable();

    std::uint32_t capacity_;
    std::vector<QuadNode> nodes_;
    QuadPool pool_;
    /// The grid in 2^tableBits_ by 2^tableBits_ squares: the deepest node that holds each whole.
    std::vector<std::uint32_t> table_;
    unsigned tableBits_ = 0;
    std::vector<std::uint32_t> overfull_; ///< leaves that an Add has filled
    unsigned depth_ = 0;
};

} // namespace Geom::impl
