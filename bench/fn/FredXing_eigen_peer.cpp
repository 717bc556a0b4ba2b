// Compiled with -O3 -march=native: see bench/peers.cmake.
#include "fn/FredXing_peers.h"

#include <Eigen/Core>

#include <algorithm>
#include <cmath>

void EigenCurve(const CurveFields& c, const double* suctions, double* contents, std::size_t count)
{
    constexpr std::size_t kBlock = 1024; // stays in the first-level cache
    const double e = std::exp(1.0), r = 0.003 * c.limit, whole = std::log(1 + c.limit / r);
    for (std::size_t i = 0; i < count; i += kBlock)
    {
        const auto size = Eigen::Index(std::min(kBlock, count - i));
        const Eigen::Map<const Eigen::ArrayXd> s(suctions + i, size);
        Eigen::Map<Eigen::ArrayXd>(contents + i, size) =
            c.saturated * (-c.m * ((c.n * (s / c.a).log()).exp() + e).log().log()).exp() *
            (1 - (1 + s / r).log() / whole);
    }
}
