/// @file
/// @internal Crossings that plain doubles decide with certainty, inline for the loops over pairs.
#pragma once

#include "Geom/Geom_Line2D.h"
#include "Geom/exact/Plane.h"

#include <cstddef>
#include <emmintrin.h>
#include <utility>

namespace geom
{

using Geom::Line2D;

inline bool LexicographicallyLess(const Point2D& a, const Point2D& b)
{
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}

/// Two lines in an order that does not depend on how they are given: the lesser point of each line
/// first, and first the line with the lesser points. Branch-free, since the order of the lines
/// cannot be predicted.
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

/// Whether both ends of each segment lie on either side of the other, certainly further from it
/// than the tolerance: true for nearly all segments that cross, false for all others.
/// @param a, b    the segments
/// @param hx, hy  the half-epsilons
/// @param point   receives where they cross, the same bits for every order of the arguments
inline bool CrossClearly(const Line2D& a, const Line2D& b, double hx, double hy, Point2D& point)
{
    const OrderedLines ordered(a, b);
    const Line2D &u = ordered.First(), &v = ordered.Second();
    const __m128d u1 = _mm_loadu_pd(&u.first.x), u2 = _mm_loadu_pd(&u.second.x);
    const __m128d v1 = _mm_loadu_pd(&v.first.x), v2 = _mm_loadu_pd(&v.second.x);
    const __m128d du = _mm_sub_pd(u2, u1), dv = _mm_sub_pd(v2, v1), e = _mm_sub_pd(v1, u1);
    // From here on two lines at a time: v's ends relative to u, u's ends relative to v.
    const __m128d dx = _mm_unpacklo_pd(du, dv), dy = _mm_unpackhi_pd(du, dv);
    const __m128d left = _mm_mul_pd(dx, _mm_unpackhi_pd(e, e));
    const __m128d right = _mm_mul_pd(dy, _mm_unpacklo_pd(e, e));
    const __m128d turns = _mm_mul_pd(dx, _mm_shuffle_pd(dy, dy, 1)); // whose difference counts
    const __m128d turn = _mm_sub_pd(_mm_unpacklo_pd(turns, turns), _mm_unpackhi_pd(turns, turns));
    const __m128d ends1 = _mm_sub_pd(left, right), ends2 = _mm_add_pd(ends1, turn);

    // The contribution of the tolerance to each, and at most a dozen roundings.
    const __m128d minus = _mm_set1_pd(-0.0);
    const auto sizeOf = [minus](__m128d w) { return _mm_andnot_pd(minus, w); };
    const __m128d both = _mm_add_pd(sizeOf(left), sizeOf(right)), third = sizeOf(turns);
    const double terms = _mm_cvtsd_f64(third) + _mm_cvtsd_f64(_mm_unpackhi_pd(third, third)) +
                         _mm_cvtsd_f64(both) + _mm_cvtsd_f64(_mm_unpackhi_pd(both, both));
    const __m128d reach = _mm_add_pd(_mm_mul_pd(_mm_set1_pd(hx), sizeOf(dy)),
                                     _mm_mul_pd(_mm_set1_pd(hy), sizeOf(dx)));
    const __m128d margin = _mm_add_pd(_mm_mul_pd(reach, _mm_set1_pd(1 + 0x1p-48)),
                                      _mm_set1_pd(terms * 0x1p-48 + kUnderflowError));
    const __m128d isBelow = _mm_cmplt_pd(_mm_min_pd(ends1, ends2), _mm_xor_pd(margin, minus));
    const __m128d isAbove = _mm_cmpgt_pd(_mm_max_pd(ends1, ends2), margin);
    if (_mm_movemask_pd(_mm_and_pd(isBelow, isAbove)) != 3)
        return false;

    const __m128d shares = _mm_div_pd(_mm_xor_pd(ends1, minus), turn); // of u: the upper half
    const __m128d p = _mm_add_pd(u1, _mm_mul_pd(du, _mm_unpackhi_pd(shares, shares)));
    const auto intoBox = [](__m128d w, __m128d from, __m128d to) {
        return _mm_min_pd(_mm_max_pd(to, from), _mm_max_pd(_mm_min_pd(to, from), w));
    };
    _mm_storeu_pd(&point.x, intoBox(intoBox(p, u1, u2), v1, v2));
    return true;
}

} // namespace geom
