/// @file
/// Where the lines of a set meet: crossings, intersections, overlaps, collisions.
///
/// Every finder tests, in effect, each pair of lines with its predicate at the process-wide
/// precision, the line that is earlier in the set being line1, and reports each pair that passes by
/// one event; lines whose end points are not in order are taken as given. Events are unique under
/// EvEqual and in the order of EvLess. Where that order has a cycle, the events of the cycle are
/// adjacent, in an order that depends on the lines alone.
///
/// `events` is replaced. Events refer into the caller's set of lines and remain valid while it is
/// unchanged. About n log n time for n lines and events; pairs are found on a grid, so each pair of
/// lines that lie close together along their whole length costs a short test. Additional memory:
/// half of that of the events, and some hundred bytes a line.
/// @throws std::bad_alloc, std::length_error when the events do not fit
#pragma once

#include "Geom/Geom_LineEvent.h"
#include "foundation/kvi_export.h"

#include <vector>

namespace Geom
{

/// Where two lines cross properly (LineIsCrossing2D): the crossing point.
/// @code
/// std::vector<LineEvent2D> events;
/// LineCrossingEvents2D(events, lines);
/// if (!events.empty())
///     Report(events.front().point, *events.front().line1, *events.front().line2);
/// @endcode
KVI_API void LineCrossingEvents2D(std::vector<LineEvent2D>& events, const LineSet2D& lines);

/// Where two lines have a common point (LineIntersection2D): the first one. Shared ends count.
KVI_API void LineIntersectionEvents2D(std::vector<LineEvent2D>& events, const LineSet2D& lines);

/// Where two lines overlap (LineIntersection2D with two points): both ends of the overlap, the
/// second as point2, which is missing when it equals an end of the one line and also an end of the
/// other.
KVI_API void LineCoincidentEvents2D(std::vector<LineEvent2D>& events, const LineSet2D& lines);

/// Where two lines collide (LineCollision2D): the first point of contact along line1.
KVI_API void LineCollisionEvents2D(std::vector<LineEvent2D>& events, const LineSet2D& lines);

} // namespace Geom
