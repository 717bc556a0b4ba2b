/// @file
/// Inverses of the Jacobians of two- and three-dimensional elements.
#pragma once

#include "foundation/kvi_export.h"

/// 3 x 3 inverse by cofactors, the determinant expanded along the first row.
/// @returns 1, with Inv and *det written; 0 with nothing written when the determinant is exactly 0
/// Inv may be A.
KVI_API int iInv3x3Matrix(const double A[3][3], double Inv[3][3], double* det);

/// 2 x 2 inverse: Inv = adjugate of A times 1 / (det + 1e-20). The small number is intended: a
/// singular matrix gets very large but finite entries. Inv may be A.
/// @returns the determinant, without the small number
KVI_API double fMiM2x2(double Inv[2][2], const double A[2][2]);
