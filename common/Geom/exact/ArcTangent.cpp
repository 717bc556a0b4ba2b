#include "Geom/exact/Expansion.h"

#include <limits>

namespace geom
{
namespace
{

/// The arc tangents of k / 16, k = 0 ... 16.
constexpr Pair kArcTangents[] = {
    {0, 0},
    {0x1.ff55bb72cfdeap-5, -0x1.c934d86d23f1dp-60},
    {0x1.fd5ba9aac2f6ep-4, -0x1.cd37686760c17p-59},
    {0x1.7b97b4bce5b02p-3, 0x1.347b0b4f881cap-58},
    {0x1.f5b75f92c80ddp-3, 0x1.8ab6e3cf7afbdp-57},
    {0x1.362773707ebccp-2, -0x1.963a544b672d8p-57},
    {0x1.6f61941e4def1p-2, -0x1.c63aae6f6e918p-56},
    {0x1.a64eec3cc23fdp-2, -0x1.24dec1b50b7ffp-56},
    {0x1.dac670561bb4fp-2, 0x1.a2b7f222f65e2p-56},
    {0x1.0657e94db30d0p-1, -0x1.d5b495f6349e6p-56},
    {0x1.1e00babdefeb4p-1, -0x1.928df287a668fp-58},
    {0x1.345f01cce37bbp-1, 0x1.1021137c71102p-55},
    {0x1.4978fa3269ee1p-1, 0x1.2419a87f2a458p-56},
    {0x1.5d58987169b18p-1, 0x1.0028e4bc5e7cap-57},
    {0x1.700a7c5784634p-1, -0x1.8c34d25aadef6p-56},
    {0x1.819d0b7158a4dp-1, -0x1.bf76229d3b917p-56},
    {0x1.921fb54442d18p-1, 0x1.1a62633145c07p-55},
};
constexpr Pair kHalfPi = {0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54};
constexpr Pair kPi = {0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53};

/// The arc tangent of above / below, of at most 1/16, by its series.
Pair ArcTangentOfSmall(double above, double below)
{
    const double z = above / below, w = z * z;
    const Pair back = ExactProduct(z, below);
    double sum = 1 / 17.0;
    for (const double odd : {15.0, 13.0, 11.0, 9.0, 7.0, 5.0, 3.0})
        sum = 1 / odd - w * sum;
    return {z, ((above - back.high) - back.low) / below - z * w * sum};
}

} // namespace

double ArcTangent(double y, double x)
{
    if (!std::isfinite(x) || !std::isfinite(y))
        return std::numeric_limits<double>::quiet_NaN();
    const double factor = UnitFactor({x, y});
    const double width = std::fabs(x * factor), height = std::fabs(y * factor);
    const bool isSteep = height > width;
    const double low = isSteep ? width : height, high = isSteep ? height : width;
    if (high == 0)
        return 0;
    // atan(low / high) = atan(k / 16) + atan((low - k / 16 high) / (high + k / 16 low))
    const double ratio = low / high;
    const int k = ratio < 1 / 16.0 ? 0 : int(std::floor(ratio * 16 + 0.5));
    const Pair part = ExactProduct(k / 16.0, high);
    const Pair rest = ArcTangentOfSmall((low - part.high) - part.low, high + k / 16.0 * low);

    const Pair start = isSteep ? kHalfPi : x < 0 ? kPi : Pair{0, 0};
    const double sign = isSteep == (x < 0) ? 1 : -1; // towards the axis y, or away from x
    const Pair table = kArcTangents[k];
    const Pair head = ExactSumOf(start.high, sign * table.high);
    const Pair whole = ExactSumOf(head.high, sign * rest.high);
    const double angle =
        whole.high + (whole.low + (head.low + (start.low + sign * (table.low + rest.low))));
    return y < 0 && angle < kPi.high ? -angle : angle;
}

} // namespace geom
