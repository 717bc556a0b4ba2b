/// @file
/// @internal Products with the system matrix, and norms.
#pragma once

#include "numerics/numerics_MatrixView.h"

#include <cstddef>

namespace math::impl
{

/// y = A x
void Product(const MatrixView& A, const double* x, double* y);

/// r = b - A x
void Residual(const MatrixView& A, const double* b, const double* x, double* r);

/// @name Norms; NaN anywhere in v gives NaN, no overflow before the result's own
/// @{
double MaxNorm(const double* v, std::size_t n);
double SumNorm(const double* v, std::size_t n);
double TwoNorm(const double* v, std::size_t n);
/// @}

} // namespace math::impl
