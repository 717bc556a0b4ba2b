#include "numerics/MxM.h"

#include "numerics/dense/Kernels.h"

#include <cmath>
#include <cstddef>

using numerics::activeKernels;

void MxM(double* C, const double* A, const double* B, int m, int n, int p)
{
    activeKernels->MxM(C, A, B, m, n, p);
}

void MxV(double* y, const double* A, const double* x, int m, int n)
{
    activeKernels->MxM(y, A, x, m, n, 1);
}

void VxM(const double* x, const double* A, double* y, int m, int n)
{
    activeKernels->MxM(y, x, A, 1, m, n);
}

void VxV2M(double* M, const double* a, const double* b, int n)
{
    for (std::ptrdiff_t i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            M[i * n + j] = a[i] * b[j];
}

double fVxV2C(const double* a, const double* b, int n)
{
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += a[i] * b[i];
    return sum;
}

bool MxM_Checker(const double* C, const double* A, const double* B, int m, int n, int p)
{
    constexpr double kRound = 0x1p-52, kUnderflow = 0x1p-1074;
    for (std::ptrdiff_t i = 0; i < m; ++i)
        for (std::ptrdiff_t j = 0; j < p; ++j)
        {
            double sum = 0.0, magnitude = 0.0;
            for (std::ptrdiff_t k = 0; k < n; ++k)
            {
                const double term = A[i * n + k] * B[k * p + j];
                sum += term;
                magnitude += std::fabs(term);
            }
            const double c = C[i * p + j];
            const double allowed = (std::fmax(n, 0) + 1) * (kRound * magnitude + kUnderflow);
            const bool same = std::isfinite(sum) ? std::fabs(c - sum) <= allowed
                                                 : c == sum || (std::isnan(c) && std::isnan(sum));
            if (!same)
                return false;
        }
    return true;
}

void MxM_2_2_8(double C[2][8], const double A[2][2], const double B[2][8])
{
    activeKernels->MxM_2_2_8(C, A, B);
}

void MxM_2_8_2(double C[2][2], const double A[2][8], const double B[8][2])
{
    activeKernels->MxM_2_8_2(C, A, B);
}

void MxM_3_3_9(double C[3][9], const double A[3][3], const double B[3][9])
{
    activeKernels->MxM_3_3_9(C, A, B);
}

void MxM_4_4_4(double C[4][4], const double A[4][4], const double B[4][4])
{
    activeKernels->MxM_4_4_4(C, A, B);
}

void MxM_4_4_16(double C[4][16], const double A[4][4], const double B[4][16])
{
    activeKernels->MxM_4_4_16(C, A, B);
}

void MxM_8_1_16(double C[8][16], const double A[8][1], const double B[1][16])
{
    activeKernels->MxM_8_1_16(C, A, B);
}

void MxM_8_2_2(double C[8][2], const double A[8][2], const double B[2][2])
{
    activeKernels->MxM_8_2_2(C, A, B);
}

void MxM_8_2_8(double C[8][8], const double A[8][2], const double B[2][8])
{
    activeKernels->MxM_8_2_8(C, A, B);
}

void MxM_8_8_1(double C[8][1], const double A[8][8], const double B[8][1])
{
    activeKernels->MxM_8_8_1(C, A, B);
}

void MxM_8_8_8(double C[8][8], const double A[8][8], const double B[8][8])
{
    activeKernels->MxM_8_8_8(C, A, B);
}

void MxM_9_3_3(double C[9][3], const double A[9][3], const double B[3][3])
{
    activeKernels->MxM_9_3_3(C, A, B);
}

void MxM_9_3_9(double C[9][9], const double A[9][3], const double B[3][9])
{
    activeKernels->MxM_9_3_9(C, A, B);
}

void MxM_9_9_9(double C[9][9], const double A[9][9], const double B[9][9])
{
    activeKernels->MxM_9_9_9(C, A, B);
}

void MxM_16_1_8(double C[16][8], const double A[16][1], const double B[1][8])
{
    activeKernels->MxM_16_1_8(C, A, B);
}

void MxM_16_4_16(double C[16][16], const double A[16][4], const double B[4][16])
{
    activeKernels->MxM_16_4_16(C, A, B);
}
