#include "numerics/numerics_Product.h"

#include <cmath>

namespace math::impl
{

void Product(const MatrixView& A, const double* x, double* y)
{
    for (int i = 0; i < A.n; ++i)
    {
        double sum = 0;
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            sum += A.values[k] * x[A.columns[k]];
        y[i] = sum;
    }
}

void Residual(const MatrixView& A, const double* b, const double* x, double* r)
{
    Product(A, x, r);
    for (int i = 0; i < A.n; ++i)
        r[i] = b[i] - r[i];
}

double MaxNorm(const double* v, std::size_t n)
{
    double largest = 0;
    for (std::size_t i = 0; i < n; ++i)
        if (!(std::fabs(v[i]) <= largest)) // taken by NaN, which nothing replaces
            largest = std::isnan(largest) ? largest : std::fabs(v[i]);
    return largest;
}

double SumNorm(const double* v, std::size_t n)
{
    double sum = 0;
    for (std::size_t i = 0; i < n; ++i)
        sum += std::fabs(v[i]);
    return sum;
}

double TwoNorm(const double* v, std::size_t n)
{
    double sum = 0;
    for (std::size_t i = 0; i < n; ++i)
        sum += v[i] * v[i];
    constexpr double kSafeLow = 1e-280, kSafeHigh = 1e300; // between them no digit was lost
    if ((sum > kSafeLow && sum < kSafeHigh) || std::isnan(sum))
        return std::sqrt(sum);
    const double largest = MaxNorm(v, n);
    if (largest == 0 || !std::isfinite(largest))
        return largest;
    sum = 0;
    for (std::size_t i = 0; i < n; ++i)
        sum += (v[i] / largest) * (v[i] / largest);
    return largest * std::sqrt(sum);
}

} // namespace math::impl
