/// @file
/// @internal Products with the system matrix, and norms.
#pragma once

#include "numerics/system/MatrixView.h"
#include "numerics/system/ProductRows.h"

#include <cstddef>

namespace numerics
{

/// y = A x, on at most @p threads threads (0: all); the same bits for any number of them
void Product(const MatrixView& A, const double* x, double* y, int threads = 0);

/// r = b - A x
void Residual(const MatrixView& A, const double* b, const double* x, double* r, int threads = 0);

/// r = A x - b
void Reaction(const MatrixView& A, const double* b, const double* x, double* r, int threads = 0);

/// Of the rows from @p first up to and without @p end: r = b - A x, and sizes[i - first] of row i.
/// On the calling thread.
void CheckRows(const MatrixView& A, const double* b, const double* x, double* r, RowSizes* sizes,
               int first, int end);

/// @name Norms; NaN anywhere in v gives NaN
/// @{
double MaxNorm(const double* v, std::size_t n);
double SumNorm(const double* v, std::size_t n);
/// @}

} // namespace numerics
