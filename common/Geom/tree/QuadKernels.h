/// @file
/// @internal Which items of a leaf hold a point, one function for SSE2, one for AVX2.
#pragma once

#include "Geom/Geom_Point.h"
#include "Geom/tree/QuadMark.h"

#include <cstdint>

namespace geom
{

using Geom::Point2D;

/// The header before an item's ring in the array of all points, of the size of one point.
struct QuadRing
{
    std::uint32_t id;
    std::uint32_t count;        ///< points of the ring, the last one equal to the first
    std::uint32_t room;         ///< places after this one, up to the next header
    std::uint32_t isRegion = 0; ///< 1: rings separated by points that are NaN
};
static_assert(sizeof(QuadRing) == sizeof(Point2D));

/// Which of some marks hold a point: by their boxes, then by the even-odd rule. A bit for each
/// mark, the first one's the lowest: in the low half of the result those that contain it for
/// certain, in the high half those with an edge on whose line the point may lie, for which the low
/// half is undefined.
/// @param marks     aligned to a cache line; the memory extends to the next one
/// @param last      the number of the last mark, at most 31
/// @param position  the point's, as QuadMark::PointOf gives it
/// @param points    the rings, each after its header; a mark's item is the place of the header
/// @param x, y      the point; as plain numbers, so that they are passed in registers
/// @param hx, hy    the half-epsilons
using QuadKernel = std::uint64_t (*)(const QuadMark* marks, std::uint32_t last,
                                     std::uint32_t position, const Point2D* points, double x,
                                     double y, double hx, double hy);

namespace sse2
{
extern const QuadKernel kQuadKernel;
}
namespace avx2
{
extern const QuadKernel kQuadKernel;
}

} // namespace geom
