#include "numerics/MxC.h"

namespace
{

template <int R, int C>
void Scale(double (*A)[C], double k)
{
    for (int i = 0; i < R; ++i)
        for (int j = 0; j < C; ++j)
            A[i][j] *= k;
}

} // namespace

void MxC_2_2(double A[2][2], double k) { Scale<2>(A, k); }
void MxC_3_3(double A[3][3], double k) { Scale<3>(A, k); }
void MxC_4_4(double A[4][4], double k) { Scale<4>(A, k); }
void MxC_8_8(double A[8][8], double k) { Scale<8>(A, k); }
void MxC_8_16(double A[8][16], double k) { Scale<8>(A, k); }
void MxC_16_8(double A[16][8], double k) { Scale<16>(A, k); }
void MxC_9_3(double A[9][3], double k) { Scale<9>(A, k); }
void MxC_9_9(double A[9][9], double k) { Scale<9>(A, k); }
void MxC_16_16(double A[16][16], double k) { Scale<16>(A, k); }
