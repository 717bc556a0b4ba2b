/// @file
/// The fixed-size products under the names of math::matrix.
#pragma once

#include "numerics/MxM.h"

namespace math::matrix::impl::Multiply
{

/// The sizes of C (M x P) = A (M x N) * B (N x P), known to the compiler.
template <int M, int N, int P>
struct FixedDim
{
};

/// The kernel of one size: Call(C, A, B) is MxM_m_n_p. Only the fifteen sizes below have one.
template <class Dim>
struct SpecializedDenseDoubleRowMajor;

template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<2, 2, 8>>
{
    static void Call(double C[2][8], const double A[2][2], const double B[2][8])
    {
        MxM_2_2_8(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<2, 8, 2>>
{
    static void Call(double C[2][2], const double A[2][8], const double B[8][2])
    {
        MxM_2_8_2(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<3, 3, 9>>
{
    static void Call(double C[3][9], const double A[3][3], const double B[3][9])
    {
        MxM_3_3_9(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<4, 4, 4>>
{
    static void Call(double C[4][4], const double A[4][4], const double B[4][4])
    {
        MxM_4_4_4(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<4, 4, 16>>
{
    static void Call(double C[4][16], const double A[4][4], const double B[4][16])
    {
        MxM_4_4_16(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<8, 1, 16>>
{
    static void Call(double C[8][16], const double A[8][1], const double B[1][16])
    {
        MxM_8_1_16(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<8, 2, 2>>
{
    static void Call(double C[8][2], const double A[8][2], const double B[2][2])
    {
        MxM_8_2_2(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<8, 2, 8>>
{
    static void Call(double C[8][8], const double A[8][2], const double B[2][8])
    {
        MxM_8_2_8(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<8, 8, 1>>
{
    static void Call(double C[8][1], const double A[8][8], const double B[8][1])
    {
        MxM_8_8_1(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<8, 8, 8>>
{
    static void Call(double C[8][8], const double A[8][8], const double B[8][8])
    {
        MxM_8_8_8(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<9, 3, 3>>
{
    static void Call(double C[9][3], const double A[9][3], const double B[3][3])
    {
        MxM_9_3_3(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<9, 3, 9>>
{
    static void Call(double C[9][9], const double A[9][3], const double B[3][9])
    {
        MxM_9_3_9(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<9, 9, 9>>
{
    static void Call(double C[9][9], const double A[9][9], const double B[9][9])
    {
        MxM_9_9_9(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<16, 1, 8>>
{
    static void Call(double C[16][8], const double A[16][1], const double B[1][8])
    {
        MxM_16_1_8(C, A, B);
    }
};
template <>
struct SpecializedDenseDoubleRowMajor<FixedDim<16, 4, 16>>
{
    static void Call(double C[16][16], const double A[16][4], const double B[4][16])
    {
        MxM_16_4_16(C, A, B);
    }
};

} // namespace math::matrix::impl::Multiply
