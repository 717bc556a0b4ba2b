// Helpers of the geometry tests: special numbers, and the number of oracle rounds.
#pragma once

#include "Geom/Geom_Point.h"

#include <cstdlib>
#include <limits>

namespace geomtest
{

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kMissing = MissingValue<double>();
constexpr Geom::Point2D kNoPoint = MissingValue<Geom::Point2D>();
constexpr Geom::Precision3D kPrecision;

/// How often a test against an oracle draws its cases: once, or as often as the environment
/// variable KVI_ORACLE_ROUNDS says. Every round has cases of its own.
inline int Rounds()
{
    const char* rounds = std::getenv("KVI_ORACLE_ROUNDS");
    const int count = rounds == nullptr ? 1 : std::atoi(rounds);
    return count < 1 ? 1 : count;
}

} // namespace geomtest
