#include "numerics/MpM.h"

#include <cstddef>

namespace
{

/// Elements of an r x c matrix; 0 when either is not positive.
std::ptrdiff_t Count(int r, int c) { return r > 0 && c > 0 ? std::ptrdiff_t(r) * c : 0; }

} // namespace

void MpM(double* A, const double* B, int r, int c)
{
    for (std::ptrdiff_t i = 0, count = Count(r, c); i < count; ++i)
        A[i] += B[i];
}

void MmM(double* A, const double* B, int r, int c)
{
    for (std::ptrdiff_t i = 0, count = Count(r, c); i < count; ++i)
        A[i] -= B[i];
}

void MpC(double* A, double k, int r, int c)
{
    for (std::ptrdiff_t i = 0, count = Count(r, c); i < count; ++i)
        A[i] += k;
}

void MtM(double* T, const double* A, int r, int c)
{
    for (int i = 0; i < r; ++i)
        for (int j = 0; j < c; ++j)
            T[std::ptrdiff_t(j) * r + i] = A[std::ptrdiff_t(i) * c + j];
}

void MFCopy(const double* S, double* D, int r, int c)
{
    for (std::ptrdiff_t i = 0, count = Count(r, c); i < count; ++i)
        D[i] = S[i];
}

void VpV(double* a, const double* b, int n) { MpM(a, b, 1, n); }

void VxC(double* a, double k, int n)
{
    for (int i = 0; i < n; ++i)
        a[i] *= k;
}

void NULLM(double* A, int r, int c)
{
    for (std::ptrdiff_t i = 0, count = Count(r, c); i < count; ++i)
        A[i] = 0.0;
}

void NULLV(double* a, int n) { NULLM(a, 1, n); }
