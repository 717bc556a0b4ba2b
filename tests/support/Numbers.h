/// @file
/// Numbers that many tests use, and how many rounds a long test runs.
#pragma once

#include <cstdlib>
#include <limits>
#include <string>

namespace support
{

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The number in the environment variable @p variable, at least 1; @p usual without one. Long tests
/// take their number of rounds from it.
inline int Rounds(const char* variable, int usual)
{
    const char* const text = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
    const int rounds = text != nullptr ? std::atoi(text) : usual;
    return rounds < 1 ? 1 : rounds;
}

} // namespace support
