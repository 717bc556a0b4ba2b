/// @file
/// Helpers of the geometry tests: special numbers, rectangles, lines in boxes, oracle rounds.
#pragma once

#include "Geom/Geom_Extents2D.h"
#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_Point.h"
#include "support/Numbers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace geomtest
{

using namespace Geom; // the tests' own namespace, too
using support::kInfinity;
using support::kNaN;
using Ids = std::vector<std::uint32_t>;
using Ring = std::vector<Point2D>;

constexpr double kMissing = MissingValue<double>();
constexpr Point2D kNoPoint = MissingValue<Point2D>();
constexpr Precision3D kPrecision;

/// How often a test against an oracle draws its cases. Every round has cases of its own.
inline int Rounds() { return support::Rounds("KVI_ORACLE_ROUNDS", 1); }

inline Ring Rectangle(double x, double y, double width, double height)
{
    return {{x, y}, {x + width, y}, {x + width, y + height}, {x, y + height}, {x, y}};
}
inline Ring Square(double x, double y, double side) { return Rectangle(x, y, side, side); }

/// Whether a line meets a box widened by @p reach, by cutting the line at the box's sides.
inline bool DoesMeet(const Line2D& line, const Extents2D& box, double reach)
{
    double from = 0, to = 1;
    const auto cut = [&](double start, double way, double low, double high) {
        if (way == 0)
            return start >= low - reach && start <= high + reach;
        const double t1 = (low - reach - start) / way, t2 = (high + reach - start) / way;
        from = std::max(from, std::min(t1, t2));
        to = std::min(to, std::max(t1, t2));
        return true;
    };
    const auto& [a, b] = line;
    return cut(a.x, b.x - a.x, box.minX, box.maxX) && cut(a.y, b.y - a.y, box.minY, box.maxY) &&
           from <= to;
}

} // namespace geomtest
