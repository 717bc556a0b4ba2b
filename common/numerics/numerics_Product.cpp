#include "numerics/numerics_Product.h"

#include "numerics/numerics_Threads.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <emmintrin.h>

namespace math::impl
{
namespace
{

/// Row i of A times x. Two running sums of pairs: one sum alone would wait for each addition, and
/// fetching x with the processor's own gather was slower on every machine tried.
inline double RowProduct(const MatrixView& A, const double* x, int i)
{
    const double* a = A.values + A.rowStart[i];
    const int* column = A.columns + A.rowStart[i];
    const int length = A.rowStart[i + 1] - A.rowStart[i];
    const auto pair = [&](int k) {
        const __m128d xs = _mm_loadh_pd(_mm_load_sd(x + column[k]), x + column[k + 1]);
        return _mm_mul_pd(_mm_loadu_pd(a + k), xs);
    };
    __m128d first = _mm_setzero_pd(), second = _mm_setzero_pd();
    int k = 0;
    for (; k + 4 <= length; k += 4)
    {
        first = _mm_add_pd(first, pair(k));
        second = _mm_add_pd(second, pair(k + 2));
    }
    first = _mm_add_pd(first, second);
    double sum = _mm_cvtsd_f64(first) + _mm_cvtsd_f64(_mm_unpackhi_pd(first, first));
    for (; k < length; ++k)
        sum += a[k] * x[column[k]];
    return sum;
}

/// Calls rows(first, end) for ranges that make up all rows.
template <class F>
void ForRows(const MatrixView& A, int threads, F rows)
{
    constexpr int kWorthThreads = 50000; // stored values, about 20 us; waking a thread costs 2
    if (threads == 1 || A.rowStart[A.n] < kWorthThreads)
        return rows(0, A.n);
    constexpr int kRows = 1024;
    const auto run = [&] {
        tbb::parallel_for(0, (A.n - 1) / kRows + 1, [&](int block) {
            rows(block * kRows, block < (A.n - 1) / kRows ? (block + 1) * kRows : A.n);
        });
    };
    OnThreads(threads, run);
}

} // namespace

void Product(const MatrixView& A, const double* x, double* y, int threads)
{
    ForRows(A, threads, [&](int first, int end) {
        for (int i = first; i < end; ++i)
            y[i] = RowProduct(A, x, i);
    });
}

void Residual(const MatrixView& A, const double* b, const double* x, double* r, int threads)
{
    ForRows(A, threads, [&](int first, int end) {
        for (int i = first; i < end; ++i)
            r[i] = b[i] - RowProduct(A, x, i);
    });
}

void Reaction(const MatrixView& A, const double* b, const double* x, double* r, int threads)
{
    ForRows(A, threads, [&](int first, int end) {
        for (int i = first; i < end; ++i)
            r[i] = RowProduct(A, x, i) - b[i];
    });
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
