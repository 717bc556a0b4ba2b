/// @file
/// @internal Meetings of lines, and the events that they make.
#pragma once

#include "Geom/Geom_LineEvent.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace geom
{

using Geom::LineEvent2D;
using Geom::LineSet2D;
using Geom::Point2D;
using Geom::Precision3D;

/// A meeting of two lines by their positions in the set, the lower one first.
struct Meeting
{
    Point2D point;
    std::uint32_t first, second;
};

/// Meetings as they are found, in blocks, so that growing copies nothing.
class MeetingList
{
public:
    void Add(const Meeting& meeting)
    {
        if (size_ == blocks_.size() * kBlock)
            blocks_.push_back(std::unique_ptr<Meeting[]>(new Meeting[kBlock]));
        blocks_.back()[size_++ % kBlock] = meeting;
    }
    std::size_t size() const { return size_; }
    /// Calls action(meetings, count) for each block.
    template <class Action>
    void EachBlock(Action&& action)
    {
        for (std::size_t i = 0; i < blocks_.size(); ++i)
            action(blocks_[i].get(), i + 1 < blocks_.size() ? kBlock : size_ - i * kBlock);
    }

private:
    static constexpr std::size_t kBlock = 1024;
    std::vector<std::unique_ptr<Meeting[]>> blocks_;
    std::size_t size_ = 0;
};

/// Replaces @p events by those of the meetings, in the order of EvLess with @p precision; those on
/// a cycle of that order are adjacent.
///
/// They are sorted exactly, by point, then by lines; then neighbours that EvLess orders the other
/// way round are corrected by merging. A merge never puts an event before one that must precede it
/// by any chain, unless a chain leads back: of two runs in which no such chain is broken, the head
/// taken is the earlier of the two, or on a cycle with the other. Two events for which EvLess puts
/// each before the other, or neither, are a cycle of two.
void MakeEvents(std::vector<LineEvent2D>& events, MeetingList found, const LineSet2D& lines,
                const Precision3D& precision);

} // namespace geom
