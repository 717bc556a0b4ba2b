/// @file
/// Events of the lines of a set: where a line starts, where it ends and where two meet; their order
/// and their equality.
#pragma once

#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_Point.h"
#include "Geom/Geom_Precision.h"
#include "foundation/MissingValue.h"
#include "foundation/kvi_export.h"

#include <vector>

namespace Geom
{

/// A set of lines owned by the caller; a line is identified by its position in it.
using LineSet2D = std::vector<Line2D>;

/// An event. Its references are iterators of the caller's set of lines, and valid as long as they
/// are.
struct LineEvent2D
{
    Point2D point;                   ///< where it happens
    LineSet2D::const_iterator line1; ///< the first line concerned
    LineSet2D::const_iterator line2; ///< the second line, or the set's end when there is none
    Point2D point2 = MissingValue<Point2D>(); ///< the other end of an overlap; else missing
};

/// The kind of an event.
enum class LineEventType : int
{
    Start = -1,  ///< a line starts: line2 is the set's end, point is exactly line1's first point
    Meeting = 0, ///< two lines meet: line2 is not the set's end
    End = 1      ///< a line ends: line2 is the set's end, point is another one
};

/// The type of an event of the set @p lines.
KVI_API LineEventType GetLineEventType2D(const LineSet2D& lines, const LineEvent2D& event);

/// Orders lines by the tolerant order (PointPrecedes2D) of their first points, then of their second
/// points. That order is not transitive: never use it for sorting or in a sorted container.
class KVI_API less_Line2D
{
public:
    /// With the half-epsilons of @p precision.
    explicit less_Line2D(const Precision3D& precision) : precision_(precision) {}
    /// Whether @p a comes before @p b.
    bool operator()(const Line2D& a, const Line2D& b) const;

private:
    Precision3D precision_;
};

/// Equality of events: points equal within the half-epsilons, and the same lines in either order.
class KVI_API EvEqual
{
public:
    /// With the half-epsilons of @p precision.
    explicit EvEqual(const Precision3D& precision)
        : hx_(precision.halfEpsilon[0]), hy_(precision.halfEpsilon[1])
    {
    }
    /// Whether @p a and @p b are one event.
    bool operator()(const LineEvent2D& a, const LineEvent2D& b) const;
    /// Whether two points match within the half-epsilons.
    bool ArePointsEqual(const Point2D& a, const Point2D& b) const;

private:
    double hx_, hy_;
};

/// The order of events of a set of lines: at one point or on one line a start before a meeting
/// before an end; meetings at one point by the positions of their lines; an event that lies on a
/// line of a meeting before or after it as along the line; all others by the tolerant order of
/// their points (PointPrecedes2D).
///
/// The order may have cycles, and of two meetings that lie on lines of each other both may come
/// first, or neither: never use it for sorting or in a sorted container.
class KVI_API EvLess
{
public:
    /// @param lines      the set; it must outlive the order
    /// @param precision  for the half-epsilons
    EvLess(const LineSet2D& lines, const Precision3D& precision);
    /// Whether @p a comes before @p b.
    bool operator()(const LineEvent2D& a, const LineEvent2D& b) const;

protected:
    /// Which of two events comes first because one lies on a line of the other.
    enum class ESpecialComparison : int
    {
        FirstBefore = -1, ///< the first event
        None = 0,         ///< no special order
        SecondBefore = 1  ///< the second event
    };

    /// The special order of @p a and @p b, whose types are @p typeA and @p typeB.
    ESpecialComparison GetSpecialComparison(LineEventType typeA, LineEventType typeB,
                                            const LineEvent2D& a, const LineEvent2D& b) const;
    /// Where @p point lies on the lines of a meeting, with the process-wide precision: -1 between
    /// the meeting and the first point of one of them, 1 between it and a second point, 0 off them.
    int IsOtherEventAlongIntersection(const Point2D& point, const LineEvent2D& event) const;

private:
    bool ShareLine(LineEventType typeA, LineEventType typeB, const LineEvent2D& a,
                   const LineEvent2D& b) const;

    EvEqual equal_;
    Precision3D precision_;
    const LineSet2D* lines_;
};

} // namespace Geom
