/// @file
/// @internal The nodes of a quadtree over integer boxes, and the contents of its leaves.
#pragma once

#include "Geom/tree/QuadMark.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace geom
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

/// The level of an item: the smallest nodes that hold it have a side of 2^bits, which is more than
/// the shorter side of its box and more than a quarter of the longer one. So an item is in at most
/// 10 nodes, a square one in 4, whatever the other items are.
inline std::uint32_t LeastBitsOf(const QuadBox& box)
{
    const auto [shorter, longer] = std::minmax({box.maxX - box.minX, box.maxY - box.minY});
    const auto bits = [](std::uint32_t side) { return std::uint32_t(std::bit_width(side)); };
    return std::max(bits(shorter), std::max(bits(longer), 2u) - 2);
}

/// Whether the level of an item is below nodes with a side of 2^bits.
inline bool IsLevelBelow(const QuadBox& box, std::uint32_t bits)
{
    const std::uint32_t width = box.maxX - box.minX, height = box.maxY - box.minY;
    const std::uint64_t half = (std::uint64_t{1} << bits) / 2;
    return std::min(width, height) < half && std::max(width, height) < 4 * half;
}

/// The boxes of all items.
class IQuadItems
{
public:
    virtual ~IQuadItems() = default;
    /// The box with which an item was added.
    virtual QuadBox BoxOf(std::uint32_t item) const = 0;
};

/// A square of the grid with its lower-left corner; a leaf, or the parent of four that holds the
/// items of its own level.
struct QuadNode
{
    std::uint32_t children = 0; ///< the first of four; 0: a leaf
    std::uint32_t block = 0;    ///< where its block of marks starts; 0: it has none
    std::uint32_t count = 0;    ///< its items
    std::uint32_t room = 0;     ///< marks in the block
    std::uint32_t small = 0;    ///< those of its items whose level is below its own
    std::uint32_t x = 0, y = 0; ///< its corner
    std::uint32_t bits = 0;     ///< its side is 2^bits

    QuadBox Box() const
    {
        const std::uint32_t last = (1u << bits) - 1;
        return {x, x + last, y, y + last};
    }
    /// The box of a mark, or a little more.
    QuadBox BoxOf(const QuadMark& mark) const
    {
        const std::uint32_t shift = QuadMark::ShiftOf(bits), last = (1u << shift) - 1;
        const auto at = [&](unsigned place) { return (mark.box >> place & 255) << shift; };
        const std::uint32_t whole = 128u << shift, x0 = x & ~(whole - 1), y0 = y & ~(whole - 1);
        return {x0 + (whole - at(0)), x0 + at(8) + last, y0 + (whole - at(16)), y0 + at(24) + last};
    }
};

/// Blocks of a header and 7, 15, 31 ... marks in one array; freed ones are used again. The first
/// block is that of all leaves without items.
class QuadPool
{
public:
    void Clear();
    void Reserve(std::size_t marks) { marks_.reserve(marks); }
    /// The header of a block, with the marks after it.
    const QuadMark* At(std::uint32_t block) const { return marks_.data() + block; }
    /// Adds an item to a node, moving its marks to a larger block when there is no room.
    void Add(QuadNode& node, const QuadEntry& entry);
    /// Adds @p count items to a node without a block.
    void Fill(QuadNode& node, const QuadEntry* entries, std::uint32_t count);
    /// Removes an item from a node. @returns whether it was there
    bool Remove(QuadNode& node, std::uint32_t item);
    /// Frees the block of a node.
    void Free(QuadNode& node);

private:
    void TakeBlock(QuadNode& node, std::uint32_t size);
    void Enlarge(QuadNode& node);
    void WriteHeader(const QuadNode& node);

    std::vector<QuadMark, QuadLines<QuadMark>> marks_;
    std::array<std::vector<std::uint32_t>, 32> free_; ///< starts of free blocks by log2 of size
};

/// A node in a search: its block, and the position as given by QuadMark::PointOf.
struct QuadView
{
    const QuadMark* block;
    std::uint32_t count; ///< marks after the header
    std::uint32_t point;
};

/// The tree. Every position of the grid lies in one leaf. An item is in the nodes that its box
/// meets and that are of its level, or leaves above it. A leaf splits when it holds more small
/// items than its capacity; the others stay. So large items cost small ones only a test at each
/// ancestor node that holds some, and the nodes do not depend on the order of insertion.
class QuadNodes
{
public:
    static constexpr std::uint32_t kNone = 0xffffffff;

    explicit QuadNodes(std::uint32_t capacity) : capacity_(capacity) { Clear(); }
    void Clear();
    void Reserve(std::size_t nodes, std::size_t items);
    /// @param entry  an item and its box
    /// @param items  the boxes of the existing items
    void Add(const QuadEntry& entry, const IQuadItems& items);
    /// Replaces everything by @p entries, about as adding them one by one would.
    void Build(std::vector<QuadEntry>&& entries);
    /// Undoes Add with the same entry.
    void Remove(const QuadEntry& entry);
    /// Calls @p visit with the views of the nodes that hold a position and may have items, from the
    /// leaf upwards.
    template <class Visit>
    void ForNodesAt(std::uint32_t x, std::uint32_t y, const Visit& visit) const
    {
        // A parent in the table is as large as its square.
        unsigned bit = kQuadBits - tableBits_;
        std::uint32_t node = table_[(std::size_t{y >> bit} << tableBits_) + (x >> bit)];
        std::uint32_t link = links_[node];
        while (link >= kParent)
        {
            --bit;
            node = link - kParent + 2 - 2 * (y >> bit & 1) + (x >> bit & 1);
            link = links_[node];
        }
        visit(ViewAt(link, x, y));
        if (hasUpperItems_)
            for (node = above_[node]; node != kNone; node = above_[node])
                visit(ViewAt(nodes_[node].block, x, y));
    }
    /// Node @p number; 0 is the root.
    const QuadNode& At(std::uint32_t number) const { return nodes_[number]; }
    /// The marks of a node, node.count of them.
    const QuadMark* MarksOf(const QuadNode& node) const { return pool_.At(node.block) + 1; }
    std::size_t Count() const { return nodes_.size(); }
    unsigned Depth() const { return depth_; }

private:
    QuadView ViewAt(std::uint32_t start, std::uint32_t x, std::uint32_t y) const
    {
        const QuadMark* const block = pool_.At(start);
        const auto [count, shift] = std::bit_cast<QuadHeader>(*block);
        return {block, count, QuadMark::PointOf(x >> shift & 127, y >> shift & 127)};
    }
    /// Calls @p visit with the number of every node that holds an item with @p box, or is to hold
    /// it, once each; it may not split.
    template <class Visit>
    void ForHolders(const QuadBox& box, const Visit& visit);
    template <class Visit>
    void ForHoldersBelow(std::uint32_t node, std::uint32_t least, const QuadBox& box,
                         const Visit& visit);
    void AddTo(std::uint32_t number, const QuadEntry& entry);
    /// The first block of a parent: the nodes below find it on their way up from now on.
    void LinkBelow(std::uint32_t parent);
    void SplitWhileFull(std::uint32_t leaf, const IQuadItems& items);
    std::uint32_t MakeChildren(std::uint32_t leaf);
    void BuildNode(std::uint32_t number, std::size_t begin, std::size_t end);
    bool BuildLevels(std::uint32_t number, std::size_t begin, std::size_t end);
    void MakeLevels(std::uint32_t number, const QuadNode& whole, unsigned levels,
                    std::uint32_t* cells);
    void FitTable();
    void SetTable(std::uint32_t node);

    std::uint32_t capacity_;
    static constexpr std::uint32_t kParent = 1u << 31;

    std::vector<QuadNode> nodes_;
    /// The only data of nodes that a search reads: the block of a leaf, or the first child +
    /// kParent.
    std::vector<std::uint32_t> links_;
    /// For each node the nearest one above it that has a block, or kNone.
    std::vector<std::uint32_t> above_;
    bool hasUpperItems_ = false; ///< whether a parent has ever had a block
    QuadPool pool_;
    /// The grid in 2^tableBits_ by 2^tableBits_ squares: the deepest node that holds each whole.
    std::vector<std::uint32_t> table_;
    unsigned tableBits_ = 0;
    std::vector<std::uint32_t> overfull_; ///< leaves that an Add has filled
    std::vector<QuadEntry> splitting_;    ///< the entries of one of them, or those of a Build
    std::vector<std::uint8_t> quadrants_; ///< of the entries of a node in a Build
    unsigned depth_ = 0;
};

} // namespace geom
