#include "numerics/Inverse.h"

#include "numerics/MxC.h"

#include <algorithm>

int iInv3x3Matrix(const double A[3][3], double Inv[3][3], double* det)
{
    const double c00 = A[1][1] * A[2][2] - A[1][2] * A[2][1];
    const double c01 = A[1][0] * A[2][2] - A[2][0] * A[1][2];
    const double c02 = A[1][0] * A[2][1] - A[2][0] * A[1][1];
    const double d = A[0][0] * c00 - A[0][1] * c01 + A[0][2] * c02;
    if (d == 0.0)
        return 0;

    const double adjugate[3][3] = {
        {c00, A[0][2] * A[2][1] - A[0][1] * A[2][2], A[0][1] * A[1][2] - A[0][2] * A[1][1]},
        {A[2][0] * A[1][2] - A[1][0] * A[2][2], A[0][0] * A[2][2] - A[0][2] * A[2][0],
         A[0][2] * A[1][0] - A[0][0] * A[1][2]},
        {c02, A[0][1] * A[2][0] - A[0][0] * A[2][1], A[0][0] * A[1][1] - A[0][1] * A[1][0]}};
    std::copy(&adjugate[0][0], &adjugate[0][0] + 9, &Inv[0][0]);
    MxC_3_3(Inv, 1.0 / d);
    *det = d;
    return 1;
}

double fMiM2x2(double Inv[2][2], const double A[2][2])
{
    const double det = A[1][1] * A[0][0] - A[0][1] * A[1][0];
    const double f = 1.0 / (det + 1e-20);
    const double inverse[2][2] = {{A[1][1] * f, -A[0][1] * f}, {-A[1][0] * f, A[0][0] * f}};
    std::copy(&inverse[0][0], &inverse[0][0] + 4, &Inv[0][0]);
    return det;
}
