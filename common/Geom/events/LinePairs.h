/// @file
/// @internal The pairs of lines of a set that may have a common point.
#pragma once

#include "Geom/Geom_LineEvent.h"

#include <cstddef>
#include <cstdint>

namespace geom
{

using Geom::LineSet2D;
using Geom::Precision3D;

/// Two lines by their positions in the set, the lower one first.
struct LinePair
{
    std::uint32_t first, second;
};

/// Receives pairs in portions.
class ILinePairTaker
{
public:
    virtual ~ILinePairTaker() = default;
    /// The next @p count pairs.
    virtual void Take(const LinePair* pairs, std::size_t count) = 0;
};

/// Delivers each pair of @p lines that may have a common point within @p precision to @p taker
/// once, and few others. Lines with a coordinate that is NaN, infinite or missing meet nothing.
///
/// A flat grid with about as many cells as lines, its proportions those of the lines' boxes. A
/// dense cell gets its own grid, and so do the lines that extend over many cells. About linear in
/// lines and pairs; where boxes do not separate lines, all are compared.
/// @throws std::length_error beyond 2^31 lines
void FindLinePairs(const LineSet2D& lines, const Precision3D& precision, ILinePairTaker& taker);

/// The same for pairs of which one line is before @p secondFrom and the other is not: two sets in
/// one vector. Lines beyond the box of the other set cost one test; where one set has a few lines
/// only, they are compared with all others.
void FindLinePairs(const LineSet2D& lines, std::size_t secondFrom, const Precision3D& precision,
                   ILinePairTaker& taker);

} // namespace geom
