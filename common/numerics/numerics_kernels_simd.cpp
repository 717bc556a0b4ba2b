// The dense kernels, compiled once for each processor level. Nothing here may be an inline function
// or template of a shared header: the linker keeps one copy of those for all levels.
#include "numerics/numerics_kernels_impl.h"

#include <immintrin.h>

namespace math::impl::KVI_SIMD
{
namespace
{

#if defined(__AVX512F__)
constexpr int kWidest = 8; // doubles in the widest register
#elif defined(__AVX2__)
constexpr int kWidest = 4;
#else
constexpr int kWidest = 2;
#endif

template <int Width>
struct Pack
{
    typedef double Type __attribute__((vector_size(Width * sizeof(double))));
    typedef double Unaligned
        __attribute__((vector_size(Width * sizeof(double)), aligned(sizeof(double)), may_alias));

    static Type Load(const double* p) { return *reinterpret_cast<const Unaligned*>(p); }
    static void Store(double* p, Type v) { *reinterpret_cast<Unaligned*>(p) = v; }
};

template <>
struct Pack<1>
{
    using Type = double;
    static Type Load(const double* p) { return *p; }
    static void Store(double* p, Type v) { *p = v; }
};

template <int I>
struct Index
{
    static constexpr int value = I;
};

/// Calls f(Index<0>), ... f(Index<Count - 1>): a loop without a branch.
template <int Count, int I = 0, class F>
[[gnu::always_inline]] inline void Unroll(const F& f)
{
    if constexpr (I < Count)
    {
        f(Index<I>());
        Unroll<Count, I + 1>(f);
    }
}

/// The widest register that P columns fill.
constexpr int WidthFor(int columns)
{
    int width = kWidest;
    while (width > columns)
        width /= 2;
    return width;
}

/// C (1 x P) = A (1 x N) * B (N x P) from column J on, one register after the other.
template <int N, int P, int J = 0>
[[gnu::always_inline]] inline void Row(double* __restrict C, const double* A, const double* B)
{
    if constexpr (J < P)
    {
        constexpr int width = WidthFor(P - J);
        using V = Pack<width>;
        typename V::Type sum = {};
        Unroll<N>([&](auto k) { sum += A[k.value] * V::Load(B + k.value * P + J); });
        V::Store(C + J, sum);
        Row<N, P, J + width>(C, A, B);
    }
}

/// C (M x P) = A (M x N) * B (N x P), whole rows of C in registers.
template <int M, int N, int P>
void Multiply(double (*__restrict C)[P], const double (*__restrict A)[N],
              const double (*__restrict B)[P])
{
    Unroll<M>([&](auto i) { Row<N, P>(C[i.value], A[i.value], B[0]); });
}

template <int R, int C>
void Scale(double (*A)[C], double k)
{
    constexpr int count = R * C, whole = count / kWidest * kWidest;
    double* a = A[0];
    Unroll<count / kWidest>([&](auto i) {
        using V = Pack<kWidest>;
        V::Store(a + i.value * kWidest, V::Load(a + i.value * kWidest) * k);
    });
    for (int i = whole; i < count; ++i)
        a[i] *= k;
}

void General(double* C, const double* A, const double* B, int m, int n, int p)
{
    for (long long i = 0; i < m; ++i)
    {
        for (int j = 0; j < p; ++j)
            C[i * p + j] = 0.0;
        for (long long k = 0; k < n; ++k)
            for (int j = 0; j < p; ++j)
                C[i * p + j] += A[i * n + k] * B[k * p + j];
    }
}

} // namespace

const Kernels kKernels = {
    .MxM = General,
    .MxM_2_2_8 = Multiply,
    .MxM_2_8_2 = Multiply,
    .MxM_3_3_9 = Multiply,
    .MxM_4_4_4 = Multiply,
    .MxM_4_4_16 = Multiply,
    .MxM_8_1_16 = Multiply,
    .MxM_8_2_2 = Multiply,
    .MxM_8_2_8 = Multiply,
    .MxM_8_8_1 = Multiply,
    .MxM_8_8_8 = Multiply,
    .MxM_9_3_3 = Multiply,
    .MxM_9_3_9 = Multiply,
    .MxM_9_9_9 = Multiply,
    .MxM_16_1_8 = Multiply,
    .MxM_16_4_16 = Multiply,
    .MxC_2_2 = Scale<2>,
    .MxC_3_3 = Scale<3>,
    .MxC_4_4 = Scale<4>,
    .MxC_8_8 = Scale<8>,
    .MxC_8_16 = Scale<8>,
    .MxC_16_8 = Scale<16>,
    .MxC_9_3 = Scale<9>,
    .MxC_9_9 = Scale<9>,
    .MxC_16_16 = Scale<16>,
};

} // namespace math::impl::KVI_SIMD
