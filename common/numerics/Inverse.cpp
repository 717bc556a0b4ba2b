#include "numerics/Inverse.h"

#include "numerics/MxC.h"

int iInv3x3Matrix(const double A[3][3], double Inv[3][3], double* det)
{
    const double c00 = A[1][1] * A[2][2] - A[1][2] * A[2][1];
    const double c01 = A[1][0] * A[2][2] - A[2][0] * A[1][2];
    const double c02 = A[1][0] * A[2][1] - A[2][0] * A[1][1];
    const double d = A[0][0] * c00 - A[0][1] * c01 + A[0][2] * c02;
    if (d == 0.0)
        return 0;

    Inv[0][0] = c00;
    Inv[0][1] = A[0][2] * A[2][1] - A[0][1] * A[2][2];
    Inv[0][2] = A[0][1] * A[1][2] - A[0][2] * A[1][1];
    Inv[1][0] = A[2][0] * A[1][2] - A[1][0] * A[2][2];
    Inv[1][1] = A[0][0] * A[2][2] - A[0][2] * A[2][0];
    Inv[1][2] = A[0][2] * A[1][0] - A[0][0] * A[1][2];
    Inv[2][0] = c02;
    Inv[2][1] = A[0][1] * A[2][0] - A[0][0] * A[2][1];
    Inv[2][2] = A[0][0] * A[1][1] - A[0][1] * A[1][0];
    MxC_3_3(Inv, 1.0 / d);
    *det = d;
    return 1;
}

double fMiM2x2(double Inv[2][2], const double A[2][2])
{
    const double det = A[1][1] * A[0][0] - A[0][1] * A[1][0];
    const double f = 1.0 / (det + 1e-20);
    Inv[0][0] = A[1][1] * f;
    Inv[0][1] = -A[0][1] * f;
    Inv[1][0] = -A[1][0] * f;
    Inv[1][1] = A[0][0] * f;
    return det;
}
