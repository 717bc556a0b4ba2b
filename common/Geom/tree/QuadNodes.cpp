#include "Geom/tree/QuadNodes.h"

#include <algorithm>
#include <bit>

namespace geom
{
namespace
{

constexpr std::uint32_t kLeastBlock = kMarksPerLine;
constexpr unsigned kMostTableBits = 11;
constexpr unsigned kLevels = 3; ///< that a Build makes at once
constexpr std::uint32_t kCellsAcross = 1u << kLevels, kCells = kCellsAcross * kCellsAcross;
constexpr std::size_t kManyPerCell = 1; ///< capacities that entries must fill for that

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

QuadMark MarkOf(const QuadEntry& entry, const QuadNode& leaf)
{
    const std::uint32_t shift = QuadMark::ShiftOf(leaf.bits), side = (1u << leaf.bits) - 1;
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

void QuadPool::WriteHeader(const QuadNode& node)
{
    marks_[node.block] =
        std::bit_cast<QuadMark>(QuadHeader{node.count, QuadMark::ShiftOf(node.bits)});
}

void QuadPool::TakeBlock(QuadNode& node, std::uint32_t size)
{
    auto& starts = free_[static_cast<std::size_t>(std::countr_zero(size))];
    node.room = size - 1;
    if (starts.empty())
    {
        node.block = static_cast<std::uint32_t>(marks_.size());
        marks_.resize(marks_.size() + size);
    }
    else
    {
        node.block = starts.back();
        starts.pop_back();
    }
}

void QuadPool::Enlarge(QuadNode& node)
{
    QuadNode larger = node;
    TakeBlock(larger, node.room == 0 ? kLeastBlock : 2 * (node.room + 1));
    std::copy_n(marks_.data() + node.block + 1, node.count, marks_.data() + larger.block + 1);
    Free(node);
    node = larger;
}

void QuadPool::Add(QuadNode& node, const QuadEntry& entry)
{
    if (node.count == node.room)
        Enlarge(node);
    ++node.count;
    marks_[node.block + node.count] = MarkOf(entry, node);
    WriteHeader(node);
}

void QuadPool::Fill(QuadNode& node, const QuadEntry* entries, std::uint32_t count)
{
    if (count == 0)
        return;
    TakeBlock(node, std::max(std::bit_ceil(count + 1), kLeastBlock));
    for (std::uint32_t i = 0; i < count; ++i)
        marks_[node.block + 1 + i] = MarkOf(entries[i], node);
    node.count = count;
    WriteHeader(node);
}

bool QuadPool::Remove(QuadNode& node, std::uint32_t item)
{
    const QuadMark* const marks = At(node.block) + 1;
    const QuadMark* const found =
        std::find_if(marks, marks + node.count, [&](const QuadMark& m) { return m.item == item; });
    if (found == marks + node.count)
        return false;
    marks_[node.block + 1 + static_cast<std::size_t>(found - marks)] =
        marks_[node.block + node.count];
    --node.count;
    WriteHeader(node);
    return true;
}

void QuadPool::Free(QuadNode& node)
{
    if (node.room > 0)
        free_[static_cast<std::size_t>(std::countr_zero(node.room + 1))].push_back(node.block);
    node.room = node.count = node.block = 0;
}

void QuadNodes::Clear()
{
    nodes_.assign(1, {});
    nodes_[0].bits = kQuadBits;
    links_.assign(1, 0);
    above_.assign(1, kNone);
    hasUpperItems_ = false;
    pool_.Clear();
    table_.assign(1, 0);
    tableBits_ = 0;
    depth_ = 0;
}

void QuadNodes::Reserve(std::size_t nodes, std::size_t items)
{
    nodes_.reserve(nodes);
    links_.reserve(nodes);
    above_.reserve(nodes);
    pool_.Reserve(items * 4);
}

template <class Visit>
void QuadNodes::ForHoldersBelow(std::uint32_t node, std::uint32_t least, const QuadBox& box,
                                const Visit& visit)
{
    const std::uint32_t children = nodes_[node].children;
    if (children == 0 || nodes_[node].bits == least)
        return visit(node);
    const unsigned quadrants = Quadrants(box, nodes_[node]);
    for (std::uint32_t q = 0; q < 4; ++q)
        if ((quadrants >> q & 1) != 0)
            ForHoldersBelow(children + q, least, box, visit);
}

template <class Visit>
void QuadNodes::ForHolders(const QuadBox& box, const Visit& visit)
{
    const unsigned squareBits = kQuadBits - tableBits_;
    const std::uint32_t least = LeastBitsOf(box);
    if (least > squareBits) // it may be in a node above the squares
        return ForHoldersBelow(0, least, box, visit);
    const std::uint32_t x0 = box.minX >> squareBits, x1 = box.maxX >> squareBits;
    const std::uint32_t y0 = box.minY >> squareBits, y1 = box.maxY >> squareBits;
    for (std::uint32_t y = y0; y <= y1; ++y)
        for (std::uint32_t x = x0; x <= x1; ++x)
        {
            const std::uint32_t number = table_[(std::size_t{y} << tableBits_) + x];
            const QuadNode& node = nodes_[number];
            // A node over several squares is taken at the first of them.
            if ((x == x0 || (x << squareBits) == node.x || node.bits <= squareBits) &&
                (y == y0 || (y << squareBits) == node.y || node.bits <= squareBits))
                ForHoldersBelow(number, least, box, visit);
        }
}

void QuadNodes::AddTo(std::uint32_t number, const QuadEntry& entry)
{
    QuadNode& node = nodes_[number];
    const bool isFirst = node.room == 0;
    pool_.Add(node, entry);
    node.small += IsLevelBelow(entry.box, node.bits) ? 1 : 0;
    if (node.children == 0)
        links_[number] = node.block;
    else if (isFirst)
        LinkBelow(number);
}

void QuadNodes::LinkBelow(std::uint32_t parent)
{
    hasUpperItems_ = true;
    std::vector<std::uint32_t> parents = {parent};
    while (!parents.empty())
    {
        const std::uint32_t children = nodes_[parents.back()].children;
        parents.pop_back();
        for (std::uint32_t child = children; child < children + 4; ++child)
        {
            above_[child] = parent;
            if (nodes_[child].children != 0 && nodes_[child].room == 0)
                parents.push_back(child);
        }
    }
}

void QuadNodes::Add(const QuadEntry& entry, const IQuadItems& items)
{
    overfull_.clear();
    ForHolders(entry.box, [&](std::uint32_t node) {
        AddTo(node, entry);
        if (nodes_[node].small > capacity_)
            overfull_.push_back(node);
    });
    for (const std::uint32_t leaf : overfull_)
        SplitWhileFull(leaf, items);
}

void QuadNodes::Remove(const QuadEntry& entry)
{
    ForHolders(entry.box, [&](std::uint32_t number) {
        QuadNode& node = nodes_[number];
        if (pool_.Remove(node, entry.item))
            node.small -= IsLevelBelow(entry.box, node.bits) ? 1 : 0;
    });
}

void QuadNodes::SplitWhileFull(std::uint32_t leaf, const IQuadItems& items)
{
    if (nodes_[leaf].small <= capacity_)
        return;
    splitting_.clear();
    const QuadMark* const marks = MarksOf(nodes_[leaf]);
    for (const QuadMark* mark = marks; mark != marks + nodes_[leaf].count; ++mark)
        splitting_.push_back({mark->item, items.BoxOf(mark->item)});
    pool_.Free(nodes_[leaf]);
    nodes_[leaf].small = 0;
    const std::uint32_t children = MakeChildren(leaf);
    for (const QuadEntry& entry : splitting_)
    {
        if (!IsLevelBelow(entry.box, nodes_[leaf].bits))
        {
            AddTo(leaf, entry);
            continue;
        }
        const unsigned quadrants = Quadrants(entry.box, nodes_[leaf]);
        for (std::uint32_t q = 0; q < 4; ++q)
            if ((quadrants >> q & 1) != 0)
                AddTo(children + q, entry);
    }
    if (nodes_[leaf].bits > kQuadBits - tableBits_)
        for (std::uint32_t q = 0; q < 4; ++q)
            SetTable(children + q);
    FitTable();
    for (std::uint32_t q = 0; q < 4; ++q)
        SplitWhileFull(children + q, items);
}

/// Makes a leaf without items a parent of four such leaves. @returns the first of them
std::uint32_t QuadNodes::MakeChildren(std::uint32_t leaf)
{
    const auto children = static_cast<std::uint32_t>(nodes_.size());
    nodes_.resize(nodes_.size() + 4);
    links_.resize(nodes_.size(), 0);
    above_.resize(nodes_.size(), above_[leaf]);
    QuadNode& parent = nodes_[leaf];
    const std::uint32_t half = 1u << (parent.bits - 1);
    for (std::uint32_t q = 0; q < 4; ++q)
    {
        QuadNode& child = nodes_[children + q];
        child.bits = parent.bits - 1;
        child.x = parent.x + (q % 2 == 1 ? half : 0);
        child.y = parent.y + (q < 2 ? half : 0);
    }
    parent.children = children;
    links_[leaf] = children + kParent;
    depth_ = std::max(depth_, kQuadBits - parent.bits + 1);
    return children;
}

void QuadNodes::Build(std::vector<QuadEntry>&& entries)
{
    Clear();
    const std::size_t count = entries.size();
    splitting_ = std::move(entries);
    quadrants_.resize(count);
    pool_.Reserve(3 * count);
    BuildNode(0, 0, count);
    splitting_ = {};
    quadrants_ = {};
    FitTable();
}

/// Gives a leaf without items the entries of splitting_ from @p begin to @p end; after these there
/// is room for those of its children.
void QuadNodes::BuildNode(std::uint32_t number, std::size_t begin, std::size_t end)
{
    const QuadNode node = nodes_[number];
    if (end - begin > kManyPerCell * kCells * capacity_ && BuildLevels(number, begin, end))
        return;
    std::size_t starts[5] = {end}, small = 0;
    quadrants_.resize(std::max(quadrants_.size(), end - begin));
    for (std::size_t i = begin; i < end; ++i)
    {
        const QuadBox& box = splitting_[i].box;
        const bool isSmall = IsLevelBelow(box, node.bits);
        const unsigned quadrants = isSmall ? Quadrants(box, node) : 0;
        quadrants_[i - begin] = std::uint8_t(quadrants);
        small += isSmall ? 1 : 0;
        for (std::uint32_t q = 0; q < 4; ++q)
            starts[q + 1] += quadrants >> q & 1;
    }
    if (small <= capacity_)
    {
        pool_.Fill(nodes_[number], splitting_.data() + begin, std::uint32_t(end - begin));
        nodes_[number].small = std::uint32_t(small);
        links_[number] = nodes_[number].block;
        return;
    }
    const std::uint32_t children = MakeChildren(number);
    for (std::uint32_t q = 0; q < 4; ++q)
        starts[q + 1] += starts[q];
    splitting_.resize(std::max(splitting_.size(), starts[4] + 1));
    for (std::uint32_t q = 0; q < 4; ++q)
    {
        // Branch-free: entries not kept are overwritten, which costs less than mispredicting a
        // quarter of the branches.
        QuadEntry* to = splitting_.data() + starts[q];
        for (std::size_t i = begin; i < end; ++i)
        {
            *to = splitting_[i];
            to += quadrants_[i - begin] >> q & 1;
        }
    }
    for (std::size_t i = begin; small < end - begin && i < end; ++i)
        if (quadrants_[i - begin] == 0)
            AddTo(number, splitting_[i]);
    for (std::uint32_t q = 4; q-- > 0;) // in reverse: its space may be reused
        BuildNode(children + q, starts[q], starts[q + 1]);
}

/// BuildNode for very many entries: splits kLevels times at once.
/// @returns false, with nothing done, when too few of them are that small
bool QuadNodes::BuildLevels(std::uint32_t number, std::size_t begin, std::size_t end)
{
    const QuadNode node = nodes_[number];
    if (node.bits < kLevels)
        return false;
    const std::uint32_t bits = node.bits - kLevels, last = kCellsAcross - 1;
    const auto forCells = [&](const QuadBox& box, const auto& visit) {
        const auto at = [&](std::uint32_t position, std::uint32_t corner) {
            return position > corner ? std::min((position - corner) >> bits, last) : 0;
        };
        const std::uint32_t x0 = at(box.minX, node.x), x1 = at(box.maxX, node.x);
        const std::uint32_t y0 = at(box.minY, node.y), y1 = at(box.maxY, node.y);
        for (std::uint32_t y = y0; y <= y1; ++y)
            for (std::uint32_t x = x0; x <= x1; ++x)
                visit(y * kCellsAcross + x);
    };
    std::size_t starts[kCells + 1] = {}, small = 0;
    for (std::size_t i = begin; i < end; ++i)
        if (IsLevelBelow(splitting_[i].box, bits + 1))
        {
            ++small;
            forCells(splitting_[i].box, [&](std::uint32_t cell) { ++starts[cell + 1]; });
        }
    if (small <= kManyPerCell * kCells * capacity_)
        return false;
    starts[0] = end;
    for (std::uint32_t cell = 0; cell < kCells; ++cell)
        starts[cell + 1] += starts[cell];
    splitting_.resize(std::max(splitting_.size(), starts[kCells]));
    std::uint32_t cells[kCells];
    MakeLevels(number, node, kLevels, cells);
    std::size_t at[kCells];
    std::copy_n(starts, kCells, at);
    for (std::size_t i = begin; i < end; ++i)
    {
        const QuadEntry entry = splitting_[i];
        if (const std::uint32_t least = LeastBitsOf(entry.box); least > bits)
            ForHoldersBelow(number, least, entry.box,
                            [&](std::uint32_t holder) { AddTo(holder, entry); });
        else
            forCells(entry.box, [&](std::uint32_t cell) { splitting_[at[cell]++] = entry; });
    }
    for (std::uint32_t cell = kCells; cell-- > 0;)
        BuildNode(cells[cell], starts[cell], starts[cell + 1]);
    return true;
}

/// Makes @p levels levels of children below a leaf, and returns the nodes of the last one by rows
/// of cells of the square @p whole.
void QuadNodes::MakeLevels(std::uint32_t number, const QuadNode& whole, unsigned levels,
                           std::uint32_t* cells)
{
    if (levels == 0)
    {
        const QuadNode& node = nodes_[number];
        cells[((node.y - whole.y) >> node.bits) * kCellsAcross +
              ((node.x - whole.x) >> node.bits)] = number;
        return;
    }
    const std::uint32_t children = MakeChildren(number);
    for (std::uint32_t q = 0; q < 4; ++q)
        MakeLevels(children + q, whole, levels - 1, cells);
}

/// Refines the table to the number of nodes.
void QuadNodes::FitTable()
{
    const unsigned before = tableBits_;
    while (tableBits_ < kMostTableBits && nodes_.size() > (std::size_t{1} << 2 * (tableBits_ + 1)))
        ++tableBits_;
    if (tableBits_ == before)
        return;
    table_.assign(std::size_t{1} << 2 * tableBits_, 0);
    // Parents are before their children, so the deepest node comes last.
    for (std::uint32_t node = 0; node < nodes_.size(); ++node)
        if (nodes_[node].bits >= kQuadBits - tableBits_)
            SetTable(node);
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

} // namespace geom
