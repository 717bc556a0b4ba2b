/// @file
/// Matrices of fixed size multiplied by a number in place: A *= k.
///
/// Row-major, caller-owned; nothing is allocated or checked. Any thread may call.
#pragma once

#include "foundation/kvi_export.h"

/// @{
/// A *= k, with the rows and columns of A in the name.
KVI_API void MxC_2_2(double A[2][2], double k);
KVI_API void MxC_3_3(double A[3][3], double k);
KVI_API void MxC_4_4(double A[4][4], double k);
KVI_API void MxC_8_8(double A[8][8], double k);
KVI_API void MxC_8_16(double A[8][16], double k);
KVI_API void MxC_16_8(double A[16][8], double k);
KVI_API void MxC_9_3(double A[9][3], double k);
KVI_API void MxC_9_9(double A[9][9], double k);
KVI_API void MxC_16_16(double A[16][16], double k);
/// @}
