#include "Geom/Geom_EventOrder_impl.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace Geom::impl
{
namespace
{
using Meetings = std::vector<Meeting>;

constexpr std::size_t kFew = 24; // meetings that are sorted by insertion

bool IsBefore(const Meeting& a, const Meeting& b)
{
    if (a.point.x != b.point.x)
        return a.point.x < b.point.x;
    if (a.point.y != b.point.y)
        return a.point.y < b.point.y;
    return a.first != b.first ? a.first < b.first : a.second < b.second;
}

/// Sorts by insertion: each element moves to before those that it is less than, without a gap.
template <class Iterator, class Less>
void InsertionSort(Iterator begin, Iterator end, const Less& less)
{
    for (Iterator next = begin; next != end; ++next)
    {
        const Meeting moving = *next;
        Iterator place = next;
        for (; place != begin && less(moving, place[-1]); --place)
            *place = place[-1];
        *place = moving;
    }
}

void SortExactly(Meeting* begin, Meeting* end)
{
    if (std::size_t(end - begin) <= kFew)
        InsertionSort(begin, end, IsBefore);
    else if (!std::is_sorted(begin, end, IsBefore))
        std::sort(begin, end, IsBefore);
}

/// By point, then by lines: into buckets of equal width on x, of a few meetings each.
Meetings SortedExactly(MeetingList found)
{
    if (found.size() > 0xffffffffu)
        throw std::length_error("Geom: too many events");
    Meetings sorted(found.size());
    if (sorted.empty())
        return sorted;
    double from = MissingValue<double>(), to = -from;
    found.EachBlock([&](const Meeting* meetings, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
        {
            from = std::min(from, meetings[i].point.x);
            to = std::max(to, meetings[i].point.x);
        }
    });
    const std::size_t buckets = sorted.size() / 2 + 1;
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
    found.EachBlock([&](const Meeting* meetings, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            sorted[ends[bucketOf(meetings[i])]++] = meetings[i];
    });
    for (std::size_t i = 0, begin = 0; i < buckets; begin = ends[i++])
        SortExactly(sorted.data() + begin, sorted.data() + ends[i]);
    return sorted;
}

/// The order of EvLess, where it does not say that each of two comes before the other, with the
/// shortcut that beyond a distance it is that of x.
class Order
{
public:
    Order(const LineSet2D& lines, const Precision3D& precision)
        : lines_(lines), less_(lines, precision)
    {
        double most = 0;
        bool areInOrder = true;
        for (const Line2D& line : lines)
        {
            areInOrder = areInOrder && !PointPrecedes2D(line.second, line.first, precision);
            if (IsMissing2D(line.first) || IsMissing2D(line.second))
                continue;
            most = std::max({most, std::fabs(line.first.x), std::fabs(line.second.x)});
        }
        // Lines whose points are in order lean left by a half-epsilon at the most, and what lies
        // on them or meets there strays by as much again; a line against the order may carry
        // events from one end of the plane to the other.
        if (areInOrder)
            far_ = 8 * precision.halfEpsilon[0] + most * 0x1p-44;
    }

    bool IsFar(const Meeting& a, const Meeting& b) const { return b.point.x - a.point.x > far_; }
    bool operator()(const Meeting& a, const Meeting& b) const
    {
        if (IsFar(a, b))
            return true;
        if (IsFar(b, a))
            return false;
        const LineEvent2D eventA = EventOf(a), eventB = EventOf(b);
        return less_(eventA, eventB) && !less_(eventB, eventA);
    }

private:
    LineEvent2D EventOf(const Meeting& meeting) const
    {
        return {meeting.point, lines_.begin() + meeting.first, lines_.begin() + meeting.second};
    }

    const LineSet2D& lines_;
    EvLess less_;
    double far_ = MissingValue<double>();
};

/// Merges the sorted [begin, middle) and [middle, end).
void Merge(Meeting* begin, Meeting* middle, Meeting* end, const Order& less, Meetings& room)
{
    // What stands too far left for the right run to come before it stays.
    while (begin != middle && less.IsFar(*begin, *middle))
        ++begin;
    room.assign(begin, middle);
    const Meeting *left = room.data(), *leftEnd = left + room.size();
    while (left != leftEnd && middle != end)
        *begin++ = less(*middle, *left) ? *middle++ : *left++;
    std::copy(left, leftEnd, begin);
}

/// Merges the runs within [begin, end) in which each meeting may follow the one before.
void MergeRuns(Meeting* begin, Meeting* end, const Order& less, Meetings& room)
{
    std::vector<Meeting*> starts = {begin};
    for (Meeting* next = begin + 1; next < end; ++next)
        if (less(*next, next[-1]))
            starts.push_back(next);
    while (starts.size() > 1)
    {
        std::vector<Meeting*> merged;
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

std::vector<Meeting> Ordered(MeetingList found, const LineSet2D& lines,
                             const Precision3D& precision)
{
    Meetings meetings = SortedExactly(std::move(found));
    const Order less(lines, precision);
    Meetings room;
    Meeting* const end = meetings.data() + meetings.size();
    for (Meeting *begin = meetings.data(), *next = begin; begin != end; begin = next)
    {
        do
            ++next;
        while (next != end && !less.IsFar(next[-1], *next));
        if (std::size_t(next - begin) <= kFew)
            InsertionSort(begin, next, less);
        else
            MergeRuns(begin, next, less, room);
    }
    return meetings;
}

} // namespace Geom::impl
