#include "numerics/MxC.h"

#include "numerics/dense/Kernels.h"

using numerics::activeKernels;

void MxC_2_2(double A[2][2], double k) { activeKernels->MxC_2_2(A, k); }
void MxC_3_3(double A[3][3], double k) { activeKernels->MxC_3_3(A, k); }
void MxC_4_4(double A[4][4], double k) { activeKernels->MxC_4_4(A, k); }
void MxC_8_8(double A[8][8], double k) { activeKernels->MxC_8_8(A, k); }
void MxC_8_16(double A[8][16], double k) { activeKernels->MxC_8_16(A, k); }
void MxC_16_8(double A[16][8], double k) { activeKernels->MxC_16_8(A, k); }
void MxC_9_3(double A[9][3], double k) { activeKernels->MxC_9_3(A, k); }
void MxC_9_9(double A[9][9], double k) { activeKernels->MxC_9_9(A, k); }
void MxC_16_16(double A[16][16], double k) { activeKernels->MxC_16_16(A, k); }
