#include "Geom/Geom_LineEvent.h"

#include "Geom/exact/Plane.h"

#include <algorithm>
#include <utility>

namespace Geom
{
namespace
{

/// Whether @p p lies on the piece from @p a to @p b, ends included.
bool IsOnPiece(const Point2D& p, const Point2D& a, const Point2D& b, const Precision3D& precision)
{
    const double hx = precision.halfEpsilon[0], hy = precision.halfEpsilon[1];
    if (!(p.x >= std::min(a.x, b.x) - hx && p.x <= std::max(a.x, b.x) + hx &&
          p.y >= std::min(a.y, b.y) - hy && p.y <= std::max(a.y, b.y) + hy))
        return false;
    const Point2D closest = LineClosestPoint2D(p, a, b, false, precision);
    return !IsMissing2D(closest) && geom::IsNear(closest, p, precision);
}

/// The lines of an event, in the order of their positions.
auto LinesOf(const LineEvent2D& event) { return std::minmax(event.line1, event.line2); }

} // namespace

LineEventType GetLineEventType2D(const LineSet2D& lines, const LineEvent2D& event)
{
    if (event.line2 != lines.end())
        return LineEventType::Meeting;
    return event.point == event.line1->first ? LineEventType::Start : LineEventType::End;
}

bool less_Line2D::operator()(const Line2D& a, const Line2D& b) const
{
    if (PointPrecedes2D(a.first, b.first, precision_))
        return true;
    if (PointPrecedes2D(b.first, a.first, precision_))
        return false;
    return PointPrecedes2D(a.second, b.second, precision_);
}

bool EvEqual::ArePointsEqual(const Point2D& a, const Point2D& b) const
{
    return geom::IsNear(a.x, b.x, hx_) && geom::IsNear(a.y, b.y, hy_);
}

bool EvEqual::operator()(const LineEvent2D& a, const LineEvent2D& b) const
{
    return ArePointsEqual(a.point, b.point) && LinesOf(a) == LinesOf(b);
}

EvLess::EvLess(const LineSet2D& lines, const Precision3D& precision)
    : equal_(precision), precision_(precision), lines_(&lines)
{
}

bool EvLess::ShareLine(LineEventType typeA, LineEventType typeB, const LineEvent2D& a,
                       const LineEvent2D& b) const
{
    return a.line1 == b.line1 || (typeB == LineEventType::Meeting && a.line1 == b.line2) ||
           (typeA == LineEventType::Meeting && a.line2 == b.line1);
}

bool EvLess::operator()(const LineEvent2D& a, const LineEvent2D& b) const
{
    const LineEventType typeA = GetLineEventType2D(*lines_, a);
    const LineEventType typeB = GetLineEventType2D(*lines_, b);
    const bool isOnePoint = equal_.ArePointsEqual(a.point, b.point);
    if (typeA != typeB && (isOnePoint || ShareLine(typeA, typeB, a, b)))
        return typeA < typeB;
    if (typeA == typeB && isOnePoint)
        return LinesOf(a) < LinesOf(b);
    const ESpecialComparison special = GetSpecialComparison(typeA, typeB, a, b);
    if (special != ESpecialComparison::None)
        return special == ESpecialComparison::FirstBefore;
    return geom::Precedes(a.point, b.point, precision_.halfEpsilon[0], precision_.halfEpsilon[1]);
}

EvLess::ESpecialComparison EvLess::GetSpecialComparison(LineEventType typeA, LineEventType typeB,
                                                        const LineEvent2D& a,
                                                        const LineEvent2D& b) const
{
    int order = 0;
    if (typeA == LineEventType::Meeting)
        order = -IsOtherEventAlongIntersection(b.point, a);
    if (order == 0 && typeB == LineEventType::Meeting)
        order = IsOtherEventAlongIntersection(a.point, b);
    return ESpecialComparison(order);
}

int EvLess::IsOtherEventAlongIntersection(const Point2D& point, const LineEvent2D& event) const
{
    const Precision3D& precision = Precision();
    const Point2D& meeting = event.point;
    const auto isOnPieceTo = [&](const Point2D& end) {
        return IsOnPiece(point, meeting, end, precision);
    };
    if (isOnPieceTo(event.line1->first) || isOnPieceTo(event.line2->first))
        return -1;
    return isOnPieceTo(event.line1->second) || isOnPieceTo(event.line2->second) ? 1 : 0;
}

} // namespace Geom
