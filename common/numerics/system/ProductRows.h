/// @file
/// @internal Products of rows of the system matrix, one set for each processor level.
#pragma once

#include "numerics/system/MatrixView.h"

namespace numerics
{

/// Bounds of a row's product: sum |a_ij x_j| and sum |a_ij|.
struct RowSizes
{
    double products;
    double norm;
};

/// Each works on the rows from @p first up to and without @p end.
struct ProductKernels
{
    /// y = A x
    void (*product)(const MatrixView& A, const double* x, double* y, int first, int end);
    /// r = b - A x
    void (*residual)(const MatrixView& A, const double* b, const double* x, double* r, int first,
                     int end);
    /// r = A x - b
    void (*reaction)(const MatrixView& A, const double* b, const double* x, double* r, int first,
                     int end);
    /// r = b - A x, and for row @p first + k its sizes[k]
    void (*check)(const MatrixView& A, const double* b, const double* x, double* r, RowSizes* sizes,
                  int first, int end);
};

namespace sse2
{
extern const ProductKernels kProductKernels;
}
namespace avx2
{
extern const ProductKernels kProductKernels;
}
namespace avx512
{
extern const ProductKernels kProductKernels;
}

} // namespace numerics
