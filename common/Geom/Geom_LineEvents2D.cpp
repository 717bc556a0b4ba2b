#include "Geom/Geom_LineEvents2D.h"

#include "Geom/Geom_LineIntersection2D.h"
#include "Geom/events/EventOrder.h"
#include "Geom/events/LinePairs.h"
#include "Geom/exact/ClearCrossing.h"
#include "Geom/exact/Plane.h"

namespace Geom
{
namespace
{

/// Whether two lines make an event, and its point and second point.
using Predicate = bool (*)(const Line2D& line1, const Line2D& line2, Point2D& point,
                           Point2D& point2);

bool Intersect(const Line2D& line1, const Line2D& line2, Point2D& point, Point2D& point2)
{
    const int count = LineIntersection2D(point, point2, line1.first, line1.second, line2.first,
                                         line2.second, Precision());
    point2 = MissingValue<Point2D>();
    return count > 0;
}

bool Cross(const Line2D& line1, const Line2D& line2, Point2D& point, Point2D& point2)
{
    point = LineIntersection2D(line1.first, line1.second, line2.first, line2.second,
                               IntersectionType::Crossing);
    point2 = MissingValue<Point2D>();
    return !IsMissing2D(point);
}

bool Coincide(const Line2D& line1, const Line2D& line2, Point2D& point, Point2D& point2)
{
    if (LineIntersection2D(point, point2, line1.first, line1.second, line2.first, line2.second,
                           Precision()) < 2)
        return false;
    const auto isEndOf = [&](const Line2D& line) {
        return geom::IsNear(point2, line.first, Precision()) ||
               geom::IsNear(point2, line.second, Precision());
    };
    if (isEndOf(line1) && isEndOf(line2))
        point2 = MissingValue<Point2D>();
    return true;
}

bool Collide(const Line2D& line1, const Line2D& line2, Point2D& point, Point2D& point2)
{
    point = LineCollision2D(line1.first, line1.second, line2.first, line2.second);
    point2 = MissingValue<Point2D>();
    return !IsMissing2D(point);
}

/// Keeps the pairs that pass the predicate.
class Collector final : public geom::ILinePairTaker
{
public:
    Collector(const LineSet2D& lines, Predicate predicate)
        : lines_(lines), predicate_(predicate), hx_(Precision().halfEpsilon[0]),
          hy_(Precision().halfEpsilon[1])
    {
    }

    void Take(const geom::LinePair* pairs, std::size_t count) override
    {
        for (const geom::LinePair* pair = pairs; pair != pairs + count; ++pair)
        {
            const Line2D &line1 = lines_[pair->first], &line2 = lines_[pair->second];
            Point2D point, point2;
            // Most pairs: every predicate accepts a crossing, except the one for overlaps.
            if (geom::CrossClearly(line1, line2, hx_, hy_, point))
            {
                if (predicate_ != Coincide)
                    found.Add({point, pair->first, pair->second});
                continue;
            }
            if (!predicate_(line1, line2, point, point2))
                continue;
            found.Add({point, pair->first, pair->second});
        }
    }

    geom::MeetingList found;

private:
    const LineSet2D& lines_;
    Predicate predicate_;
    double hx_, hy_;
};

void FindEvents(std::vector<LineEvent2D>& events, const LineSet2D& lines, Predicate predicate)
{
    Collector collector(lines, predicate);
    geom::FindLinePairs(lines, Precision(), collector);
    geom::MakeEvents(events, std::move(collector.found), lines, Precision());
}

} // namespace

void LineCrossingEvents2D(std::vector<LineEvent2D>& events, const LineSet2D& lines)
{
    FindEvents(events, lines, Cross);
}

void LineIntersectionEvents2D(std::vector<LineEvent2D>& events, const LineSet2D& lines)
{
    FindEvents(events, lines, Intersect);
}

void LineCoincidentEvents2D(std::vector<LineEvent2D>& events, const LineSet2D& lines)
{
    FindEvents(events, lines, Coincide);
    Point2D point;
    for (LineEvent2D& event : events) // found again rather than carried through the sorting
        Coincide(*event.line1, *event.line2, point, event.point2);
}

void LineCollisionEvents2D(std::vector<LineEvent2D>& events, const LineSet2D& lines)
{
    FindEvents(events, lines, Collide);
}

} // namespace Geom
