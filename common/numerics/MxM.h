/// @file
/// Products of small dense matrices and vectors.
///
/// Matrices are row-major: element (i, j) of an r x c matrix is at i * c + j. All memory is the
/// caller's; a result overlaps no operand. Nothing is allocated and no argument checked; a result
/// of no elements (a size of zero or less) changes nothing. Every result element is summed from 0.0
/// in the order of its index, each product rounded before it is added: the same bits on every
/// processor. Any thread may call.
#pragma once

#include "foundation/kvi_export.h"

/// C (m x p) = A (m x n) * B (n x p), summed in the order k = 0 ... n - 1; zero when n < 1.
KVI_API void MxM(double* C, const double* A, const double* B, int m, int n, int p);
/// y (m) = A (m x n) * x (n); zero when n < 1.
KVI_API void MxV(double* y, const double* A, const double* x, int m, int n);
/// y (n) = x (m), transposed, * A (m x n): y[j] = sum over i of x[i] * A[i][j]; zero when m < 1.
/// The vector comes first and the result third.
KVI_API void VxM(const double* x, const double* A, double* y, int m, int n);
/// Outer product: M (n x n) with M[i][j] = a[i] * b[j].
KVI_API void VxV2M(double* M, const double* a, const double* b, int n);
/// The dot product, the sum of a[i] * b[i]; 0 when n < 1.
KVI_API double fVxV2C(const double* a, const double* b, int n);

/// Whether C (m x p) is A (m x n) * B (n x p) as well as rounding allows: every element lies
/// within (n + 1) (2^-52 * sum over k of |A[i][k] * B[k][j]| + 2^-1074) of the element that MxM
/// gives, so any order of summation, fused or not, passes. Where MxM gives an infinity or NaN the
/// same is asked of C. True when C has no elements.
KVI_API bool MxM_Checker(const double* C, const double* A, const double* B, int m, int n, int p);

/// @name MxM with its sizes m_n_p in the name: the same result to the last bit
/// @{

/// C = A B.
KVI_API void MxM_2_2_8(double C[2][8], const double A[2][2], const double B[2][8]);
/// C (2 x 2) = A (2 x 8) * B (8 x 2).
KVI_API void MxM_2_8_2(double C[2][2], const double A[2][8], const double B[8][2]);
/// C (3 x 9) = A (3 x 3) * B (3 x 9).
KVI_API void MxM_3_3_9(double C[3][9], const double A[3][3], const double B[3][9]);
/// C (4 x 4) = A (4 x 4) * B (4 x 4).
KVI_API void MxM_4_4_4(double C[4][4], const double A[4][4], const double B[4][4]);
/// C (4 x 16) = A (4 x 4) * B (4 x 16).
KVI_API void MxM_4_4_16(double C[4][16], const double A[4][4], const double B[4][16]);
/// C (8 x 16) = A (8 x 1) * B (1 x 16).
KVI_API void MxM_8_1_16(double C[8][16], const double A[8][1], const double B[1][16]);
/// C (8 x 2) = A (8 x 2) * B (2 x 2).
KVI_API void MxM_8_2_2(double C[8][2], const double A[8][2], const double B[2][2]);
/// C (8 x 8) = A (8 x 2) * B (2 x 8).
KVI_API void MxM_8_2_8(double C[8][8], const double A[8][2], const double B[2][8]);
/// C (8 x 1) = A (8 x 8) * B (8 x 1).
KVI_API void MxM_8_8_1(double C[8][1], const double A[8][8], const double B[8][1]);
/// C (8 x 8) = A (8 x 8) * B (8 x 8).
KVI_API void MxM_8_8_8(double C[8][8], const double A[8][8], const double B[8][8]);
/// C (9 x 3) = A (9 x 3) * B (3 x 3).
KVI_API void MxM_9_3_3(double C[9][3], const double A[9][3], const double B[3][3]);
/// C (9 x 9) = A (9 x 3) * B (3 x 9).
KVI_API void MxM_9_3_9(double C[9][9], const double A[9][3], const double B[3][9]);
/// C (9 x 9) = A (9 x 9) * B (9 x 9).
KVI_API void MxM_9_9_9(double C[9][9], const double A[9][9], const double B[9][9]);
/// C (16 x 8) = A (16 x 1) * B (1 x 8).
KVI_API void MxM_16_1_8(double C[16][8], const double A[16][1], const double B[1][8]);
/// C (16 x 16) = A (16 x 4) * B (4 x 16).
KVI_API void MxM_16_4_16(double C[16][16], const double A[16][4], const double B[4][16]);
/// @}
