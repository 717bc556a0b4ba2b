// Whether a ring is valid, by comparing every vertex with every other. Used by the tests and by the
// fuzz target.
#pragma once

#include "Geom/Geom_Polygon.h"
#include "foundation/math_algorithm_Tolerance.h"

#include <cmath>
#include <vector>

namespace oracle
{
using namespace Geom;
using Ring = std::vector<Point2D>;

inline bool HasRepeatedVertex(const Ring& ring)
{
    for (std::size_t i = 1; i + 1 < ring.size(); ++i)
        for (std::size_t k = 0; k < i; ++k)
            if (IsEqual2D(ring[i], ring[k], Precision()))
                return true;
    return false;
}

inline bool IsValidRing(const Ring& ring)
{
    const std::size_t n = ring.size();
    if (n < 4 || !IsEqual2D(ring.front(), ring.back(), Precision()) ||
        !PolygonIsCCW2D(ring.data(), n))
        return false;
    // The area from products relative to the first point, edge by edge: another sum of it.
    long double area = 0;
    for (std::size_t i = 0; i + 1 < n; ++i)
    {
        const long double before = ring[i == 0 ? n - 2 : i - 1].y;
        area += ((long double)ring[i].x - ring[0].x) * (ring[i + 1].y - before);
    }
    const math::algorithm::Tolerance<double> digits(8, 5e-8);
    return !std::isnan(double(area)) && !digits.Equal(double(area), 0) && !HasRepeatedVertex(ring);
}

} // namespace oracle
