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

/// C (M x P) = A (M x N) * B (N x P) by the kernel of these sizes.
template <int M, int N, int P,
          void (*Kernel)(double (*)[P], const double (*)[N], const double (*)[P])>
struct FixedProduct
{
    /// The product, into @p C.
    static void Call(double C[M][P], const double A[M][N], const double B[N][P])
    {
        Kernel(C, A, B);
    }
};

/// The kernel of one size: Call(C, A, B) is MxM_m_n_p. Only the fifteen sizes below have one.
template <class Dim>
struct SpecializedDenseDoubleRowMajor;

/// @cond  one line a size
// clang-format off
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<2, 2, 8>> : FixedProduct<2, 2, 8, MxM_2_2_8> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<2, 8, 2>> : FixedProduct<2, 8, 2, MxM_2_8_2> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<3, 3, 9>> : FixedProduct<3, 3, 9, MxM_3_3_9> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<4, 4, 4>> : FixedProduct<4, 4, 4, MxM_4_4_4> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<4, 4, 16>> : FixedProduct<4, 4, 16, MxM_4_4_16> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<8, 1, 16>> : FixedProduct<8, 1, 16, MxM_8_1_16> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<8, 2, 2>> : FixedProduct<8, 2, 2, MxM_8_2_2> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<8, 2, 8>> : FixedProduct<8, 2, 8, MxM_8_2_8> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<8, 8, 1>> : FixedProduct<8, 8, 1, MxM_8_8_1> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<8, 8, 8>> : FixedProduct<8, 8, 8, MxM_8_8_8> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<9, 3, 3>> : FixedProduct<9, 3, 3, MxM_9_3_3> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<9, 3, 9>> : FixedProduct<9, 3, 9, MxM_9_3_9> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<9, 9, 9>> : FixedProduct<9, 9, 9, MxM_9_9_9> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<16, 1, 8>> : FixedProduct<16, 1, 8, MxM_16_1_8> {};
template <> struct SpecializedDenseDoubleRowMajor<FixedDim<16, 4, 16>> : FixedProduct<16, 4, 16, MxM_16_4_16> {};
// clang-format on
/// @endcond

} // namespace math::matrix::impl::Multiply
