/// @file
/// @internal Crossings that the plain doubles tell for certain, inline for the loops over pairs.
#pragma once

#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_plane_impl.h"

#include <utility>

namespace Geom::impl
{

inline bool LexicographicallyLess(const Point2D& a, const Point2D& b)
{
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}

/// Puts the lesser point of each line first, and the line with the lesser points first.
inline void PutInOrder(Line2D& u, Line2D& v)
{
    for (Line2D* line : {&u, &v})
        if (LexicographicallyLess(line->second, line->first))
            std::swap(line->first, line->second);
    if (u.first == v.first ? LexicographicallyLess(v.second, u.second)
                           : LexicographicallyLess(v.first, u.first))
        std::swap(u, v);
}

/// Whether both ends of each segment lie on either side of the other, further from it than the
/// tolerance, for certain: true for nearly all segments that cross, false for all others.
/// @param u, v   the segments
/// @param hx,hy  the half-epsilons
/// @param point  receives where they cross, the same bits for every order of the arguments
inline bool CrossClearly(Line2D u, Line2D v, double hx, double hy, Point2D& point)
{
    PutInOrder(u, v);
    const Point2D du = u.second - u.first, dv = v.second - v.first, e = v.first - u.first;
    const auto products = [](const Point2D& a, const Point2D& b) {
        return std::fabs(a.x * b.y) + std::fabs(a.y * b.x);
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
