#include "numerics/system/ProductRows.h"

namespace numerics::KVI_SIMD
{
namespace
{

/// sum + a x
inline double Add(double sum, double a, double x)
{
#if defined(__FMA__)
    return __builtin_fma(a, x, sum);
#else
    return sum + a * x;
#endif
}

/// Prefetches the data of a few rows ahead: values and columns come straight from memory, and the
/// hardware prefetcher lags for rows this short.
inline void FetchAhead(const double* a, const int* column, int length)
{
    constexpr int kAhead = 256; // entries
    constexpr int kLine = 8;    // doubles
    for (int k = 0; k < length; k += kLine)
        __builtin_prefetch(a + kAhead + k);
    for (int k = 0; k < length; k += 2 * kLine)
        __builtin_prefetch(column + kAhead + k);
}

/// Row i of A times x. Four independent running sums; the gather instruction was slower for x on
/// every machine tried.
inline double RowProduct(const MatrixView& A, const double* x, int i)
{
    const double* a = A.values + A.rowStart[i];
    const int* column = A.columns + A.rowStart[i];
    int length = A.rowStart[i + 1] - A.rowStart[i];
    FetchAhead(a, column, length);
    double sums[4] = {};
    for (; length >= 4; length -= 4, a += 4, column += 4)
    {
        sums[0] = Add(sums[0], a[0], x[column[0]]);
        sums[1] = Add(sums[1], a[1], x[column[1]]);
        sums[2] = Add(sums[2], a[2], x[column[2]]);
        sums[3] = Add(sums[3], a[3], x[column[3]]);
    }
    for (; length > 0; --length, ++a, ++column)
        sums[0] = Add(sums[0], *a, x[*column]);
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

void Product(const MatrixView& A, const double* x, double* y, int first, int end)
{
    for (int i = first; i < end; ++i)
        y[i] = RowProduct(A, x, i);
}

void Residual(const MatrixView& A, const double* b, const double* x, double* r, int first, int end)
{
    for (int i = first; i < end; ++i)
        r[i] = b[i] - RowProduct(A, x, i);
}

void Reaction(const MatrixView& A, const double* b, const double* x, double* r, int first, int end)
{
    for (int i = first; i < end; ++i)
        r[i] = RowProduct(A, x, i) - b[i];
}

void Check(const MatrixView& A, const double* b, const double* x, double* r, RowSizes* sizes,
           int first, int end)
{
    for (int i = first; i < end; ++i)
    {
        const double* a = A.values + A.rowStart[i];
        const int* column = A.columns + A.rowStart[i];
        int length = A.rowStart[i + 1] - A.rowStart[i];
        FetchAhead(a, column, length);
        double sums[4] = {}, products[4] = {}, norms[4] = {};
        const auto add = [&](int lane, int k) {
            const double product = a[k] * x[column[k]];
            sums[lane] += product;
            products[lane] += __builtin_fabs(product);
            norms[lane] += __builtin_fabs(a[k]);
        };
        for (; length >= 4; length -= 4, a += 4, column += 4)
        {
            add(0, 0);
            add(1, 1);
            add(2, 2);
            add(3, 3);
        }
        for (; length > 0; --length, ++a, ++column)
            add(0, 0);
        r[i] = b[i] - ((sums[0] + sums[1]) + (sums[2] + sums[3]));
        sizes[i - first] = {(products[0] + products[1]) + (products[2] + products[3]),
                            (norms[0] + norms[1]) + (norms[2] + norms[3])};
    }
}

} // namespace

const ProductKernels kProductKernels = {Product, Residual, Reaction, Check};

} // namespace numerics::KVI_SIMD
