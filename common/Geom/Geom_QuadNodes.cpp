#include "Geom/Geom_QuadNodes_impl.h"

#include <algorithm>
#include <bit>

namespace Geom::impl
{
namespace
{

constexpr std::uint32_t kLeastRoom = 4;
constexpr unsigned kMostTableBits = 11;
/// A box over more table squares than these is taken down from the root.
constexpr std::uint32_t kFewSquares = 64;

/// Bit 0 set: meets the left half; bit 1: the right one.
unsigned Halves(std::uint32_t low, std::uint32_t high, std::uint32_t middle)
{
    return (low < middle ? 1u : 0u) | (high >= middle ? 2u : 0u);
}

/// Bit q set when @p box meets quadrant q: upper left, upper right, lower left, lower right.
unsigned Quadrants(const QuadBox& box, const QuadNode& node)
{
    const std::uint32_t half = 1u << (node.bits - 1);
    const unsigned columns = Halves(box.minX, box.maxX, node.x + half);
    const unsigned rows = Halves(box.minY, box.maxY, node.y + half);
    return ((rows & 2) != 0 ? columns : 0u) | ((rows & 1) != 0 ? columns << 2 : 0u);
}

/// The table squares of a node on one axis.
struct Squares
{
    std::uint32_t first, count;
};

Squares SquaresOf(std::uint32_t corner, unsigned bits, unsigned tableBits)
{
    const unsigned squareBits = kQuadBits - tableBits;
    return {corner >> squareBits, bits > squareBits ? 1u << (bits - squareBits) : 1u};
}

} // namespace

void QuadPool::Clear()
{
    entries_.clear();
    for (auto& starts : free_)
        starts.clear();
}

void QuadPool::Add(QuadNode& leaf, const QuadEntry& entry)
{
    if (leaf.count == leaf.room)
    {
        QuadNode larger = leaf;
        larger.room = std::max(kLeastRoom, leaf.room * 2);
        auto& starts = free_[static_cast<std::size_t>(std::countr_zero(larger.room))];
        if (starts.empty())
        {
            larger.entries = static_cast<std::uint32_t>(entries_.size());
            entries_.resize(entries_.size() + larger.room);
        }
        else
        {
            larger.entries = starts.back();
            starts.pop_back();
        }
        std::copy_n(At(leaf.entries), leaf.count, At(larger.entries));
        Free(leaf);
        leaf = larger;
    }
    At(leaf.entries)[leaf.count++] = entry;
}

void QuadPool::Free(QuadNode& leaf)
{
    if (leaf.room > 0)
        free_[static_cast<std::size_t>(std::countr_zero(leaf.room))].push_back(leaf.entries);
    leaf.room = leaf.count = 0;
}

void QuadNodes::Clear()
{
    nodes_.assign(1, {});
    nodes_[0].bits = kQuadBits;
    nodes_[0].limit = capacity_;
    pool_.Clear();
    table_.assign(1, 0);
    tableBits_ = 0;
    depth_ = 0;
}

void QuadNodes::Reserve(std::size_t nodes, std::size_t items)
{
    nodes_.reserve(nodes);
    pool_.Reserve(items * 3);
}

const QuadNode& QuadNodes::LeafAt(std::uint32_t x, std::uint32_t y) const
{
    const unsigned squareBits = kQuadBits - tableBits_;
    const std::size_t square = (std::size_t{y >> squareBits} << tableBits_) + (x >> squareBits);
    const QuadNode* node = &nodes_[table_[square]];
    while (node->children != 0)
    {
        const unsigned bit = node->bits - 1;
        node = &nodes_[node->children + 2 - 2 * (y >> bit & 1) + (x >> bit & 1)];
    }
    return *node;
}

template <class Visit>
void QuadNodes::ForLeavesBelow(std::uint32_t node, const QuadBox& box, const Visit& visit)
{
    const std::uint32_t children = nodes_[node].children;
    if (children == 0)
        return visit(node);
    const unsigned quadrants = Quadrants(box, nodes_[node]);
    for (std::uint32_t q = 0; q < 4; ++q)
        if ((quadrants >> q & 1) != 0)
            ForLeavesBelow(children + q, box, visit);
}

template <class Visit>
void QuadNodes::ForLeaves(const QuadBox& box, const Visit& visit)
{
    const unsigned squareBits = kQuadBits - tableBits_;
    const std::uint32_t x0 = box.minX >> squareBits, x1 = box.maxX >> squareBits;
    const std::uint32_t y0 = box.minY >> squareBits, y1 = box.maxY >> squareBits;
    if (std::uint64_t{x1 - x0 + 1} * (y1 - y0 + 1) > kFewSquares)
        return ForLeavesBelow(0, box, visit);
    for (std::uint32_t y = y0; y <= y1; ++y)
        for (std::uint32_t x = x0; x <= x1; ++x)
        {
            const std::uint32_t number = table_[(std::size_t{y} << tableBits_) + x];
            const QuadNode& node = nodes_[number];
            // A node over several squares is taken at the first of them.
            if ((x == x0 || (x << squareBits) == node.x || node.bits <= squareBits) &&
                (y == y0 || (y << squareBits) == node.y || node.bits <= squareBits))
                ForLeavesBelow(number, box, visit);
        }
}

void QuadNodes::Add(const QuadEntry& entry)
{
    overfull_.clear();
    ForLeaves(entry.box, [&](std::uint32_t number) {
        QuadNode& leaf = nodes_[number];
        pool_.Add(leaf, entry);
        if (leaf.count > leaf.limit)
            overfull_.push_back(number);
    });
    for (const std::uint32_t leaf : overfull_)
        SplitWhileFull(leaf);
}

void QuadNodes::Remove(const QuadEntry& entry)
{
    ForLeaves(entry.box, [&](std::uint32_t number) {
        QuadNode& leaf = nodes_[number];
        QuadEntry* entries = pool_.At(leaf.entries);
        QuadEntry* const end = entries + leaf.count;
        QuadEntry* const found =
            std::find_if(entries, end, [&](const QuadEntry& e) { return e.item == entry.item; });
        if (found == end)
            return;
        *found = *(end - 1);
        --leaf.count;
    });
}

/// Whether some item is small beside the leaf, and the quadrants together do not hold more items
/// beyond their capacity than the leaf does.
bool QuadNodes::IsWorthSplitting(const QuadNode& leaf) const
{
    const QuadEntry* const entries = pool_.At(leaf.entries);
    const std::uint64_t great = std::uint64_t{4} << leaf.bits;
    std::uint32_t counts[4] = {};
    bool isSomeSmall = false;
    for (const QuadEntry* entry = entries; entry != entries + leaf.count; ++entry)
    {
        const QuadBox& box = entry->box;
        isSomeSmall = isSomeSmall || std::max(box.maxX - box.minX, box.maxY - box.minY) < great;
        const unsigned quadrants = Quadrants(box, leaf);
        for (unsigned q = 0; q < 4; ++q)
            counts[q] += quadrants >> q & 1;
    }
    std::uint64_t excess = 0;
    for (const std::uint32_t count : counts)
        excess += count > capacity_ ? count - capacity_ : 0;
    return isSomeSmall && excess <= leaf.count - capacity_;
}

void QuadNodes::SplitWhileFull(std::uint32_t leaf)
{
    QuadNode& node = nodes_[leaf];
    if (node.count <= node.limit || node.bits == 0)
        return;
    if (!IsWorthSplitting(node))
    {
        node.limit = node.count * 2;
        return;
    }
    Split(leaf);
    const std::uint32_t children = nodes_[leaf].children;
    for (std::uint32_t q = 0; q < 4; ++q)
        SplitWhileFull(children + q);
}

void QuadNodes::Split(std::uint32_t leaf)
{
    const auto children = static_cast<std::uint32_t>(nodes_.size());
    nodes_.resize(nodes_.size() + 4);
    QuadNode& parent = nodes_[leaf];
    const std::uint32_t half = 1u << (parent.bits - 1);
    for (std::uint32_t q = 0; q < 4; ++q)
    {
        QuadNode& child = nodes_[children + q];
        child.limit = capacity_;
        child.bits = parent.bits - 1;
        child.x = parent.x + (q % 2 == 1 ? half : 0);
        child.y = parent.y + (q < 2 ? half : 0);
    }
    for (std::uint32_t i = 0; i < parent.count; ++i)
    {
        const QuadEntry entry = pool_.At(parent.entries)[i];
        const unsigned quadrants = Quadrants(entry.box, parent);
        for (std::uint32_t q = 0; q < 4; ++q)
            if ((quadrants >> q & 1) != 0)
                pool_.Add(nodes_[children + q], entry);
    }
    pool_.Free(parent);
    parent.children = children;
    depth_ = std::max(depth_, kQuadBits - parent.bits + 1);

    if (parent.bits > kQuadBits - tableBits_)
        for (std::uint32_t q = 0; q < 4; ++q)
            SetTable(children + q);
    if (tableBits_ < kMostTableBits && nodes_.size() > (std::size_t{1} << 2 * (tableBits_ + 1)))
        RefineTable();
}

/// Enters @p node in the squares that it covers.
void QuadNodes::SetTable(std::uint32_t node)
{
    const Squares columns = SquaresOf(nodes_[node].x, nodes_[node].bits, tableBits_);
    const Squares rows = SquaresOf(nodes_[node].y, nodes_[node].bits, tableBits_);
    for (std::uint32_t row = rows.first; row < rows.first + rows.count; ++row)
        std::fill_n(table_.data() + (std::size_t{row} << tableBits_) + columns.first, columns.count,
                    node);
}

/// Doubles the squares on each axis.
void QuadNodes::RefineTable()
{
    ++tableBits_;
    table_.assign(std::size_t{1} << 2 * tableBits_, 0);
    // Parents stand before their children, so the deepest node comes last.
    for (std::uint32_t node = 0; node < nodes_.size(); ++node)
        if (nodes_[node].bits >= kQuadBits - tableBits_)
            SetTable(node);
}

} // namespace Geom::impl
