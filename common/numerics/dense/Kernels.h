/// @file
/// @internal The dense kernels of each processor level, and the level in use.
#pragma once

namespace numerics
{

/// The implementations of the exported kernels for one processor level, named as the exports.
struct Kernels
{
    using General = void (*)(double* C, const double* A, const double* B, int m, int n, int p);
    template <int M, int N, int P>
    using Fixed = void (*)(double (*C)[P], const double (*A)[N], const double (*B)[P]);
    template <int C>
    using Scale = void (*)(double (*A)[C], double k);

    General MxM;
    Fixed<2, 2, 8> MxM_2_2_8;
    Fixed<2, 8, 2> MxM_2_8_2;
    Fixed<3, 3, 9> MxM_3_3_9;
    Fixed<4, 4, 4> MxM_4_4_4;
    Fixed<4, 4, 16> MxM_4_4_16;
    Fixed<8, 1, 16> MxM_8_1_16;
    Fixed<8, 2, 2> MxM_8_2_2;
    Fixed<8, 2, 8> MxM_8_2_8;
    Fixed<8, 8, 1> MxM_8_8_1;
    Fixed<8, 8, 8> MxM_8_8_8;
    Fixed<9, 3, 3> MxM_9_3_3;
    Fixed<9, 3, 9> MxM_9_3_9;
    Fixed<9, 9, 9> MxM_9_9_9;
    Fixed<16, 1, 8> MxM_16_1_8;
    Fixed<16, 4, 16> MxM_16_4_16;
    Scale<2> MxC_2_2;
    Scale<3> MxC_3_3;
    Scale<4> MxC_4_4;
    Scale<8> MxC_8_8;
    Scale<16> MxC_8_16;
    Scale<8> MxC_16_8;
    Scale<3> MxC_9_3;
    Scale<9> MxC_9_9;
    Scale<16> MxC_16_16;
};

namespace sse2
{
extern const Kernels kKernels;
}
namespace avx2
{
extern const Kernels kKernels;
}
namespace avx512
{
extern const Kernels kKernels;
}

/// The kernels in use: the baseline's until the library is loaded, then the processor's own. The
/// results are the same bits, so a static constructor may call them at any time.
extern constinit const Kernels* activeKernels;

} // namespace numerics
