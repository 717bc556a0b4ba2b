#include "numerics/numerics_BlockVector.h"

#include "numerics/numerics_Product.h"

#include <cmath>

namespace math::impl
{
namespace
{

/// Four running sums: the additions of one do not wait for those of another.
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

/// The rows from begin on.
MatrixView Rows(const MatrixView& A, int begin, int end)
{
    return {end - begin, A.rowStart + begin, A.columns, A.values};
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
    // Out of the safe range: once more with the entries brought near 1.
    double largest = 0;
    for (int i = 0; i < n; ++i)
        largest = std::abs(v[i]) > largest || std::isnan(v[i]) ? std::abs(v[i]) : largest;
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

void BlockProduct(const MatrixView& A, const double* x, double* y)
{
    ForBlocks(A.n,
              [=, &A](int, int begin, int end) { Product(Rows(A, begin, end), x, y + begin, 1); });
}

void BlockResidual(const MatrixView& A, const double* b, const double* x, double* r)
{
    ForBlocks(A.n, [=, &A](int, int begin, int end) {
        Residual(Rows(A, begin, end), b + begin, x, r + begin, 1);
    });
}

} // namespace math::impl
