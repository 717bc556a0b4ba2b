#include "numerics/system/BlockVector.h"

#include "numerics/system/Product.h"

#include <cmath>

namespace numerics
{
namespace
{

/// Four independent running sums.
double DotPiece(const double* u, const double* v, int begin, int end)
{
    double sums[4] = {};
    int i = begin;
    for (; i + 4 <= end; i += 4)
        for (int lane = 0; lane < 4; ++lane)
            sums[lane] += u[i + lane] * v[i + lane];
    for (; i < end; ++i)
        sums[0] += u[i] * v[i];
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

} // namespace

double Dot(int n, const double* u, const double* v)
{
    return SumBlocks(n, [=](int begin, int end) { return DotPiece(u, v, begin, end); });
}

double Norm2(int n, const double* v)
{
    const double square = Dot(n, v, v);
    if (square > 1e-280 && square < 1e300)
        return std::sqrt(square);
    // Out of the safe range: again with the entries scaled to near 1.
    const double largest = MaxNorm(v, std::size_t(n));
    if (largest == 0 || !std::isfinite(largest))
        return largest;
    const double sum = SumBlocks(n, [=](int begin, int end) {
        double part = 0;
        for (int i = begin; i < end; ++i)
            part += (v[i] / largest) * (v[i] / largest);
        return part;
    });
    return largest * std::sqrt(sum);
}

void AddScaled(int n, double s, const double* x, double* y)
{
    ForBlocks(n, [=](int, int begin, int end) {
        for (int i = begin; i < end; ++i)
            y[i] += s * x[i];
    });
}

} // namespace numerics
