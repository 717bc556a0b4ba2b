/// @file
/// Where the lines of one set meet those of another.
#pragma once

#include "Geom/Geom_LineEvent.h"
#include "foundation/kvi_export.h"

#include <cstdint>
#include <vector>

namespace Geom
{

/// The intersection of a line of the first set and one of the second, by LineIntersection2D.
struct LineMeeting2D
{
    std::uint32_t first;  ///< position of the line in the first set
    std::uint32_t second; ///< position of the line in the second set
    double
        parameter;  ///< where the point is on the first line: 0 at its first point, 1 at its second
    Point2D point;  ///< the common point; of an overlap the end that comes first along the line
    Point2D point2; ///< the other end of an overlap; else missing
};

/// Finds where the lines of @p first meet those of @p second: each pair with a common point once,
/// as determined by LineIntersection2D with @p precision. Meetings within a set cost nothing.
///
/// @p meetings is replaced; it is ordered by the line of the first set, then along that line, then
/// by the line of the second set. So for a single line it gives the lines that it meets, in order.
/// About n log n time for n lines and meetings; linear where one set has up to 200 lines. Memory:
/// some hundred bytes a line.
/// @code
/// std::vector<LineMeeting2D> meetings;
/// LineMeetings2D(meetings, {section}, edges, Precision());
/// for (const LineMeeting2D& meeting : meetings)
///     Report(meeting.parameter, edges[meeting.second]);
/// @endcode
/// @throws std::bad_alloc, std::length_error for 2^31 lines and more
KVI_API void LineMeetings2D(std::vector<LineMeeting2D>& meetings, const LineSet2D& first,
                            const LineSet2D& second, const Precision3D& precision);

} // namespace Geom
