#include "Geom/events/EventOrder.h"

#include "Geom/exact/Plane.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace geom
{

using Geom::EvLess;
using Geom::Line2D;
using Geom::LineEvent2D;

namespace
{
using Events = std::vector<LineEvent2D>;

constexpr std::size_t kFew = 24; // events that are sorted by insertion

bool IsBefore(const LineEvent2D& a, const LineEvent2D& b)
{
    if (a.point.x != b.point.x)
        return a.point.x < b.point.x;
    if (a.point.y != b.point.y)
        return a.point.y < b.point.y;
    return a.line1 != b.line1 ? a.line1 < b.line1 : a.line2 < b.line2;
}

/// Sorts by insertion: each element moves before the run of elements that it is less than.
template <class Iterator, class Less>
void InsertionSort(Iterator begin, Iterator end, const Less& less)
{
    for (Iterator next = begin; next != end; ++next)
    {
        const LineEvent2D moving = *next;
        Iterator place = next;
        for (; place != begin && less(moving, place[-1]); --place)
            *place = place[-1];
        *place = moving;
    }
}

void SortExactly(LineEvent2D* begin, LineEvent2D* end)
{
    if (std::size_t(end - begin) <= kFew)
        InsertionSort(begin, end, IsBefore);
    else if (!std::is_sorted(begin, end, IsBefore))
        std::sort(begin, end, IsBefore);
}

/// By point, then by lines: into buckets of equal width on x, of a few events each.
void MakeSortedExactly(Events& events, MeetingList found, const LineSet2D& lines)
{
    if (found.size() > 0xffffffffu)
        throw std::length_error("Geom: too many events");
    double from = MissingValue<double>(), to = -from;
    found.EachBlock([&](const Meeting* meetings, std::size_t count) {
        double least = from, most = to; // in registers
        for (std::size_t i = 0; i < count; ++i)
        {
            least = std::min(least, meetings[i].point.x);
            most = std::max(most, meetings[i].point.x);
        }
        from = least;
        to = most;
    });
    const std::size_t buckets = found.size() / 2 + 1;
    const double perUnit = double(buckets) / (to - from);
    const auto bucketOf = [&](const Meeting& meeting) {
        const double bucket = (meeting.point.x - from) * perUnit;
        return bucket > 0 ? std::size_t(std::min(bucket, double(buckets - 1))) : 0;
    };
    std::vector<std::uint32_t> ends(buckets + 1, 0);
    found.EachBlock([&](const Meeting* meetings, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            ++ends[bucketOf(meetings[i]) + 1];
    });
    for (std::size_t i = 0; i < buckets; ++i)
        ends[i + 1] += ends[i];
    events.clear();
    events.resize(found.size());
    const auto line = lines.begin();
    found.EachBlock([&](const Meeting* meetings, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
        {
            const Meeting& meeting = meetings[i];
            events[ends[bucketOf(meeting)]++] = {meeting.point, line + meeting.first,
                                                 line + meeting.second};
        }
    });
    for (std::size_t i = 0, begin = 0; i < buckets; begin = ends[i++])
        SortExactly(events.data() + begin, events.data() + ends[i]);
}

/// The order of EvLess, except where each of two events would come before the other, with the
/// shortcut that beyond a certain distance it is that of x.
class Order
{
public:
    Order(const LineSet2D& lines, const Precision3D& precision) : less_(lines, precision)
    {
        const double hx = precision.halfEpsilon[0], hy = precision.halfEpsilon[1];
        double most = 0;
        bool areInOrder = true;
        for (const Line2D& line : lines)
        {
            if (!IsUsable(line.first) || !IsUsable(line.second))
                continue;
            areInOrder = areInOrder && !Precedes(line.second, line.first, hx, hy);
            most = std::max({most, std::fabs(line.first.x), std::fabs(line.second.x)});
        }
        // Lines whose points are in order lean left by at most a half-epsilon, and points on them
        // or meetings deviate by as much again; a line against the order may move events across the
        // whole plane.
        if (areInOrder)
            far_ = 8 * hx + most * 0x1p-44;
    }

    bool IsFar(const LineEvent2D& a, const LineEvent2D& b) const
    {
        return b.point.x - a.point.x > far_;
    }
    bool operator()(const LineEvent2D& a, const LineEvent2D& b) const
    {
        if (IsFar(a, b))
            return true;
        if (IsFar(b, a))
            return false;
        return less_(a, b) && !less_(b, a);
    }

private:
    EvLess less_;
    double far_ = MissingValue<double>();
};

/// Merges the sorted [begin, middle) and [middle, end).
void Merge(LineEvent2D* begin, LineEvent2D* middle, LineEvent2D* end, const Order& less,
           Events& room)
{
    // Events too far left to be preceded by the right run stay.
    while (begin != middle && less.IsFar(*begin, *middle))
        ++begin;
    room.assign(begin, middle);
    const LineEvent2D *left = room.data(), *leftEnd = left + room.size();
    while (left != leftEnd && middle != end)
        *begin++ = less(*middle, *left) ? *middle++ : *left++;
    std::copy(left, leftEnd, begin);
}

/// Merges the runs within [begin, end) in which each event may follow the one before.
void MergeRuns(LineEvent2D* begin, LineEvent2D* end, const Order& less, Events& room)
{
    std::vector<LineEvent2D*> starts = {begin};
    for (LineEvent2D* next = begin + 1; next < end; ++next)
        if (less(*next, next[-1]))
            starts.push_back(next);
    while (starts.size() > 1)
    {
        std::vector<LineEvent2D*> merged;
        for (std::size_t i = 0; i < starts.size(); i += 2)
        {
            merged.push_back(starts[i]);
            if (i + 1 < starts.size())
                Merge(starts[i], starts[i + 1], i + 2 < starts.size() ? starts[i + 2] : end, less,
                      room);
        }
        starts.swap(merged);
    }
}

} // namespace

void MakeEvents(std::vector<LineEvent2D>& events, MeetingList found, const LineSet2D& lines,
                const Precision3D& precision)
{
    MakeSortedExactly(events, std::move(found), lines);
    const Order less(lines, precision);
    Events room;
    LineEvent2D* const end = events.data() + events.size();
    for (LineEvent2D *begin = events.data(), *next = begin; begin != end; begin = next)
    {
        do
            ++next;
        while (next != end && !less.IsFar(next[-1], *next));
        if (next - begin == 1)
            continue;
        if (std::size_t(next - begin) <= kFew)
            InsertionSort(begin, next, less);
        else
            MergeRuns(begin, next, less, room);
    }
}

} // namespace geom
