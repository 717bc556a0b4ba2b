/// @file
/// @internal Crossings that the plain doubles tell for certain, inline for the loops over pairs.
#pragma once

#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_plane_impl.h"

#include <cstddef>
#include <utility>

namespace Geom::impl
{

inline bool LexicographicallyLess(const Point2D& a, const Point2D& b)
{
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}

/// Two lines in an order that does not depend on how they are given: the lesser point of each line
/// first, and first the line with the lesser points. Without a branch on which line that is, since
/// it cannot be foretold.
class OrderedLines
{
public:
    OrderedLines(const Line2D& a, const Line2D& b) : lines_{a, b}
    {
        for (Line2D& line : lines_)
            if (LexicographicallyLess(line.second, line.first))
                std::swap(line.first, line.second);
        first_ = lines_[0].first == lines_[1].first
                     ? LexicographicallyLess(lines_[1].second, lines_[0].second)
                     : LexicographicallyLess(lines_[1].first, lines_[0].first);
    }
    const Line2D& First() const { return lines_[first_]; }
    const Line2D& Second() const { return lines_[1 - first_]; }

private:
    Line2D lines_[2];
    std::size_t first_;
};

/// Whether both ends of each segment lie on either side of the other, further from it than the
/// tolerance, for certain: true for nearly all segments that cross, false for all others.
/// @param a, b    the segments
/// @param hx, hy  the half-epsilons
/// @param point   receives where they cross, the same bits for every order of the arguments
inline bool CrossClearly(const Line2D& a, const Line2D& b, double hx, double hy, Point2D& point)
{
    const OrderedLines ordered(a, b);
    const Line2D &u = ordered.First(), &v = ordered.Second();
    const Point2D du = u.second - u.first, dv = v.second - v.first, e = v.first - u.first;
    const auto products = [](const Point2D& s, const Point2D& t) {
        return std::fabs(s.x * t.y) + std::fabs(s.y * t.x);
    };
    const double turn = Cross(du, dv), v1 = Cross(du, e), u1 = Cross(e, dv);
    const double v2 = v1 + turn, u2 = u1 - turn;
    // What the tolerance makes of each, and at most a dozen roundings.
    const double rounding = (products(du, dv) + products(du, e) + products(e, dv)) * 0x1p-48;
    const double marginU = (hx * std::fabs(du.y) + hy * std::fabs(du.x)) * (1 + 0x1p-48) + rounding;
    const double marginV = (hx * std::fabs(dv.y) + hy * std::fabs(dv.x)) * (1 + 0x1p-48) + rounding;
    if (!(std::min(v1, v2) < -marginU && std::max(v1, v2) > marginU &&
          std::min(u1, u2) < -marginV && std::max(u1, u2) > marginV))
        return false;
    const Point2D p = u.first + du * (u1 / turn);
    point = Clamped(Clamped(p, u.first, u.second), v.first, v.second);
    return true;
}

} // namespace Geom::impl
