#include "numerics/system/Product.h"

#include "numerics/system/BlockVector.h"
#include "numerics/system/ProductRows.h"
#include "parallel/For.h"
#include "platform/platform_cpu.h"

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
    constexpr std::size_t kGrain = 256;
    parallel::For(
        std::size_t(A.n), kGrain,
        [&](std::size_t first, std::size_t end) { rows(int(first), int(end)); }, threads);
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

void CheckRows(const MatrixView& A, const double* b, const double* x, double* r, RowSizes* sizes,
               int first, int end)
{
    Kernels().check(A, b, x, r, sizes, first, end);
}

double MaxNorm(const double* v, std::size_t n)
{
    const auto raise = [](double& largest, double size) {
        if (!(size <= largest)) // true for NaN, which then stays
            largest = std::isnan(largest) ? largest : size;
    };
    std::vector<double> parts(static_cast<std::size_t>(BlockCount(int(n))));
    ForBlocks(int(n), [&](int block, int begin, int end) {
        double largest = 0;
        for (int i = begin; i < end; ++i)
            raise(largest, std::fabs(v[i]));
        parts[std::size_t(block)] = largest;
    });
    double largest = 0;
    for (const double part : parts)
        raise(largest, part);
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
