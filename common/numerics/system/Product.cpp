#include "numerics/system/Product.h"

#include "numerics/solve/Threads.h"
#include "numerics/system/ProductRows.h"
#include "platform/platform_cpu.h"

#include <tbb/parallel_for.h>

#include <cmath>

namespace numerics
{
namespace
{

const ProductKernels& Kernels()
{
    static const ProductKernels* const kernels[] = {&sse2::kProductKernels, &avx2::kProductKernels,
                                                    &avx512::kProductKernels};
    return *kernels[platform::SimdLevel()];
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
    ForRows(A, threads, [&](int first, int end) { Kernels().product(A, x, y, first, end); });
}

void Residual(const MatrixView& A, const double* b, const double* x, double* r, int threads)
{
    ForRows(A, threads, [&](int first, int end) { Kernels().residual(A, b, x, r, first, end); });
}

void Reaction(const MatrixView& A, const double* b, const double* x, double* r, int threads)
{
    ForRows(A, threads, [&](int first, int end) { Kernels().reaction(A, b, x, r, first, end); });
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

} // namespace numerics
