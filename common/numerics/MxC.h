/// @file
/// Matrices of fixed size multiplied by a number in place: A *= k.
///
/// Row-major, caller-owned; nothing is allocated or checked. Any thread may call.
#pragma once

#include "foundation/kvi_export.h"

/// @{
/// A *= k, with the rows and columns of A in the name.
KVI_API void MxC_2_2(double A[2][2], double k);
/// The same for 3 x 3.
KVI_API void MxC_3_3(double A[3][3], double k);
/// The same for 4 x 4.
KVI_API void MxC_4_4(double A[4][4], double k);
/// The same for 8 x 8.
KVI_API void MxC_8_8(double A[8][8], double k);
/// The same for 8 x 16.
KVI_API void MxC_8_16(double A[8][16], double k);
/// The same for 16 x 8.
KVI_API void MxC_16_8(double A[16][8], double k);
/// The same for 9 x 3.
KVI_API void MxC_9_3(double A[9][3], double k);
/// The same for 9 x 9.
KVI_API void MxC_9_9(double A[9][9], double k);
/// The same for 16 x 16.
KVI_API void MxC_16_16(double A[16][16], double k);
/// @}
