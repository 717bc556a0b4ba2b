#include "Geom/Geom_LineMeetings2D.h"

#include "Geom/Geom_LineIntersection2D.h"
#include "Geom/events/LinePairs.h"
#include "Geom/exact/ClearCrossing.h"
#include "Geom/exact/Plane.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace Geom
{
namespace
{

/// Keeps the pairs that have a common point.
class Meetings final : public geom::ILinePairTaker
{
public:
    Meetings(std::vector<LineMeeting2D>& found, const LineSet2D& lines, std::size_t secondFrom,
             const Precision3D& precision)
        : found_(found), lines_(lines), secondFrom_(secondFrom), precision_(precision)
    {
    }

    void Take(const geom::LinePair* pairs, std::size_t count) override
    {
        const double hx = precision_.halfEpsilon[0], hy = precision_.halfEpsilon[1];
        for (const geom::LinePair* pair = pairs; pair != pairs + count; ++pair)
        {
            const Line2D &u = lines_[pair->first], &v = lines_[pair->second];
            LineMeeting2D meeting = {pair->first,
                                     std::uint32_t(pair->second - secondFrom_),
                                     0,
                                     {},
                                     MissingValue<Point2D>()};
            if (!geom::CrossClearly(u, v, hx, hy, meeting.point) &&
                LineIntersection2D(meeting.point, meeting.point2, u.first, u.second, v.first,
                                   v.second, precision_) == 0)
                continue;
            meeting.parameter = geom::ParameterOn(u, meeting.point);
            if (!IsMissing2D(meeting.point2))
                if (const double other = geom::ParameterOn(u, meeting.point2);
                    other < meeting.parameter)
                {
                    meeting.parameter = other;
                    std::swap(meeting.point, meeting.point2);
                }
            found_.push_back(meeting);
        }
    }

private:
    std::vector<LineMeeting2D>& found_;
    const LineSet2D& lines_;
    std::size_t secondFrom_;
    const Precision3D& precision_;
};

} // namespace

void LineMeetings2D(std::vector<LineMeeting2D>& meetings, const LineSet2D& first,
                    const LineSet2D& second, const Precision3D& precision)
{
    LineSet2D lines;
    lines.reserve(first.size() + second.size());
    lines.insert(lines.end(), first.begin(), first.end());
    lines.insert(lines.end(), second.begin(), second.end());
    meetings.clear();
    Meetings taker(meetings, lines, first.size(), precision);
    geom::FindLinePairs(lines, first.size(), precision, taker);
    std::sort(meetings.begin(), meetings.end(), [](const LineMeeting2D& a, const LineMeeting2D& b) {
        return std::tie(a.first, a.parameter, a.second) < std::tie(b.first, b.parameter, b.second);
    });
}

} // namespace Geom
