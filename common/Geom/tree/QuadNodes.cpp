#include "Geom/tree/QuadNodes.h"

#include <algorithm>
#include <bit>

namespace Geom::impl
{
namespace
{

constexpr std::uint32_t kLeastBlock = kMarksPerLine;
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

/// From positions to 128ths of a side of 2^bits.
std::uint32_t ShiftOf(std::uint32_t bits) { return bits > 7 ? bits - 7 : 0; }

QuadMark MarkOf(const QuadEntry& entry, const QuadNode& leaf)
{
    const std::uint32_t shift = ShiftOf(leaf.bits), side = (1u << leaf.bits) - 1;
    const auto within = [shift, side](std::uint32_t position, std::uint32_t corner) {
        return std::clamp(position, corner, corner + side) >> shift & 127;
    };
    const QuadBox& box = entry.box;
    return {entry.item, QuadMark::BoxOf(within(box.minX, leaf.x), within(box.maxX, leaf.x),
                                        within(box.minY, leaf.y), within(box.maxY, leaf.y))};
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
    marks_.assign(kLeastBlock, {});
    for (auto& starts : free_)
        starts.clear();
}

void QuadPool::WriteHeader(const QuadNode& leaf)
{
    marks_[leaf.block] = std::bit_cast<QuadMark>(QuadHeader{leaf.count, ShiftOf(leaf.bits)});
}

void QuadPool::Enlarge(QuadNode& leaf)
{
    const std::uint32_t size = leaf.room == 0 ? kLeastBlock : 2 * (leaf.room + 1);
    auto& starts = free_[static_cast<std::size_t>(std::countr_zero(size))];
    QuadNode larger = leaf;
    larger.room = size - 1;
    if (starts.empty())
    {
        larger.block = static_cast<std::uint32_t>(marks_.size());
        marks_.resize(marks_.size() + size);
    }
    else
    {
        larger.block = starts.back();
        starts.pop_back();
    }
    std::copy_n(marks_.data() + leaf.block + 1, leaf.count, marks_.data() + larger.block + 1);
    Free(leaf);
    leaf = larger;
}

void QuadPool::Add(QuadNode& leaf, const QuadEntry& entry)
{
    if (leaf.count == leaf.room)
        Enlarge(leaf);
    ++leaf.count;
    marks_[leaf.block + leaf.count] = MarkOf(entry, leaf);
    WriteHeader(leaf);
}

void QuadPool::Remove(QuadNode& leaf, std::uint32_t item)
{
    const QuadMark* const marks = At(leaf.block) + 1;
    const QuadMark* const found =
        std::find_if(marks, marks + leaf.count, [&](const QuadMark& m) { return m.item == item; });
    if (found == marks + leaf.count)
        return;
    marks_[leaf.block + 1 + static_cast<std::size_t>(found - marks)] =
        marks_[leaf.block + leaf.count];
    --leaf.count;
    WriteHeader(leaf);
}

void QuadPool::Free(QuadNode& leaf)
{
    if (leaf.room > 0)
        free_[static_cast<std::size_t>(std::countr_zero(leaf.room + 1))].push_back(leaf.block);
    leaf.room = leaf.count = leaf.block = 0;
}

void QuadNodes::Clear()
{
    nodes_.assign(1, {});
    nodes_[0].bits = kQuadBits;
    nodes_[0].limit = capacity_;
    links_.assign(1, 0);
    pool_.Clear();
    table_.assign(1, 0);
    tableBits_ = 0;
    depth_ = 0;
}

void QuadNodes::Reserve(std::size_t nodes, std::size_t items)
{
    nodes_.reserve(nodes);
    links_.reserve(nodes);
    pool_.Reserve(items * 4);
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

void QuadNodes::AddTo(std::uint32_t leaf, const QuadEntry& entry)
{
    pool_.Add(nodes_[leaf], entry);
    links_[leaf] = nodes_[leaf].block;
}

void QuadNodes::Add(const QuadEntry& entry, const IQuadItems& items)
{
    overfull_.clear();
    ForLeaves(entry.box, [&](std::uint32_t leaf) {
        AddTo(leaf, entry);
        if (nodes_[leaf].count > nodes_[leaf].limit)
            overfull_.push_back(leaf);
    });
    for (const std::uint32_t leaf : overfull_)
        SplitWhileFull(leaf, items);
}

void QuadNodes::Remove(const QuadEntry& entry)
{
    ForLeaves(entry.box, [&](std::uint32_t leaf) { pool_.Remove(nodes_[leaf], entry.item); });
}

/// Whether some item is small beside the leaf, and the quadrants together do not hold more items
/// beyond their capacity than the leaf does.
bool QuadNodes::IsWorthSplitting(const QuadNode& leaf, const std::vector<QuadEntry>& entries) const
{
    const std::uint64_t great = std::uint64_t{4} << leaf.bits;
    std::uint32_t counts[4] = {};
    bool isSomeSmall = false;
    for (const auto& [item, box] : entries)
    {
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

void QuadNodes::SplitWhileFull(std::uint32_t leaf, const IQuadItems& items)
{
    QuadNode& node = nodes_[leaf];
    if (node.count <= node.limit || node.bits == 0)
        return;
    splitting_.clear();
    const QuadMark* const marks = pool_.At(node.block) + 1;
    for (const QuadMark* mark = marks; mark != marks + node.count; ++mark)
        splitting_.push_back({mark->item, items.BoxOf(mark->item)});
    if (!IsWorthSplitting(node, splitting_))
    {
        node.limit = node.count * 2;
        return;
    }
    Split(leaf, splitting_);
    const std::uint32_t children = nodes_[leaf].children;
    for (std::uint32_t q = 0; q < 4; ++q)
        SplitWhileFull(children + q, items);
}

void QuadNodes::Split(std::uint32_t leaf, const std::vector<QuadEntry>& entries)
{
    const auto children = static_cast<std::uint32_t>(nodes_.size());
    nodes_.resize(nodes_.size() + 4);
    links_.resize(nodes_.size(), 0);
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
    for (const QuadEntry& entry : entries)
    {
        const unsigned quadrants = Quadrants(entry.box, parent);
        for (std::uint32_t q = 0; q < 4; ++q)
            if ((quadrants >> q & 1) != 0)
                AddTo(children + q, entry);
    }
    pool_.Free(parent);
    parent.children = children;
    links_[leaf] = children + kParent;
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
