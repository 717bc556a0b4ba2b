// How long the tests against an oracle go on.
#pragma once

#include <cstdlib>

namespace oracle
{

/// How often such a test draws its cases: once, or as often as the environment variable
/// KVI_ORACLE_ROUNDS says. Every round has cases of its own.
inline int Rounds()
{
    const char* rounds = std::getenv("KVI_ORACLE_ROUNDS");
    const int count = rounds == nullptr ? 1 : std::atoi(rounds);
    return count < 1 ? 1 : count;
}

} // namespace oracle
