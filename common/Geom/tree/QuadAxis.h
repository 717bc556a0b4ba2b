/// @file
/// @internal
/// Positions on one axis of a quadtree's box.
#pragma once

#include "Geom/tree/QuadNodes.h"

#include <cmath>
#include <limits>

namespace geom
{

/// Positions on one axis of the box, as whole numbers that keep their order.
class QuadAxis
{
public:
    QuadAxis(double low, double high, double halfEpsilon)
        : low_(low), high_(high), half_(halfEpsilon)
    {
        // A box without a size, or of a size beyond the doubles, is one position. Halves, so that
        // nothing traps, as the size of the empty box would.
        const double half = high * 0.5 - low * 0.5;
        constexpr double kLeast = kQuadSide / std::numeric_limits<double>::max();
        if (std::isgreater(half, kLeast) && half < std::numeric_limits<double>::max() / 2)
            scale_ = kQuadSide / (high - low);
    }
    std::uint32_t At(double v) const
    {
        const double position = (v - low_) * scale_;
        return position > 0 ? static_cast<std::uint32_t>(std::min(position, kLast)) : 0;
    }
    /// Lower bound of the coordinates of the positions from @p position on.
    double From(std::uint32_t position) const
    {
        return position == 0 ? -kInfinite : low_ + (position - 1.0) / scale_;
    }
    /// Upper bound of the coordinates of the positions up to @p position.
    double UpTo(std::uint32_t position) const
    {
        return position >= kQuadSide - 1 || scale_ == 0 ? kInfinite
                                                        : low_ + (position + 2.0) / scale_;
    }
    bool Holds(double v) const { return v >= low_ - half_ && v <= high_ + half_; }
    bool Meets(double low, double high) const
    {
        return high >= low_ - half_ && low <= high_ + half_;
    }
    /// The distance at which a point and an item may still meet, with a margin for rounding.
    double Reach() const { return 2 * half_; }

private:
    static constexpr double kLast = kQuadSide - 1;
    static constexpr double kInfinite = std::numeric_limits<double>::infinity();

    double low_, high_, half_, scale_ = 0;
};

} // namespace geom
