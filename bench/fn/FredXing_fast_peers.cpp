// Compiled with -Ofast -march=native: see bench/peers.cmake.
#include "fn/FredXing_peers.h"

#include <cmath>

void VectorLibmCurve(const CurveFields& c, const double* suctions, double* contents,
                     std::size_t count)
{
    const double e = std::exp(1.0), r = 0.003 * c.limit, whole = std::log(1 + c.limit / r);
    for (std::size_t i = 0; i < count; ++i)
    {
        const double power = std::exp(c.n * std::log(suctions[i] / c.a));
        const double shape = std::exp(-c.m * std::log(std::log(e + power)));
        contents[i] = c.saturated * shape * (1 - std::log(1 + suctions[i] / r) / whole);
    }
}
