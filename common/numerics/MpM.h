/// @file
/// Small matrices and vectors, element by element: add, subtract, scale, transpose, copy, clear.
///
/// Row-major r x c matrices and vectors of n, the caller's own; nothing is allocated or checked,
/// and a size of zero or less does nothing. Any thread may call.
#pragma once

#include "foundation/kvi_export.h"

/// A += B, element by element; B may be A.
KVI_API void MpM(double* A, const double* B, int r, int c);
/// A -= B, element by element; B may be A.
KVI_API void MmM(double* A, const double* B, int r, int c);
/// Adds k to every element of A.
KVI_API void MpC(double* A, double k, int r, int c);
/// T (c x r) = the transpose of A (r x c); they do not overlap.
KVI_API void MtM(double* T, const double* A, int r, int c);
/// D = S: the source comes first, unlike in every other kernel here. They do not overlap.
KVI_API void MFCopy(const double* S, double* D, int r, int c);
/// a += b, element by element; b may be a.
KVI_API void VpV(double* a, const double* b, int n);
/// a *= k.
KVI_API void VxC(double* a, double k, int n);
/// Sets every element of A to zero.
KVI_API void NULLM(double* A, int r, int c);
/// Sets every element of a to zero.
KVI_API void NULLV(double* a, int n);
