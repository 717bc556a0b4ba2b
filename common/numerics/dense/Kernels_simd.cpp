// The dense kernels, compiled once for each processor level. Nothing here may be an inline function
// or template of a shared header: the linker keeps one copy of those for all levels.
#include "numerics/dense/Kernels.h"

#include <cstddef>

#include <immintrin.h>

namespace numerics::KVI_SIMD
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
        // Hidden from the compiler, so that it does not keep A's elements spread over registers for
        // the next 512-bit piece: multiplying by them from memory took 0.7 of the time (Zen 4).
        if constexpr (width == 8 && P - J >= 16)
            __asm__("" : "+r"(A));
        Row<N, P, J + width>(C, A, B);
    }
}

/// C (M x P) = A (M x N) * B (N x P), whole rows of C in registers.
template <int M, int N, int P>
struct Multiply
{
    [[gnu::noinline]] static void Call(double (*__restrict C)[P], const double (*__restrict A)[N],
                                       const double (*__restrict B)[P])
    {
        Unroll<M>([&](auto i) { Row<N, P>(C[i.value], A[i.value], B[0]); });
    }
};

#if defined(__AVX2__)
/// The pairs at @p low and @p high in the halves of one register.
[[gnu::always_inline]] inline __m256d Halves(const double* low, const double* high)
{
    return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(low)), _mm_loadu_pd(high), 1);
}

/// The pair at @p pair in both halves.
[[gnu::always_inline]] inline __m256d Twice(const double* pair)
{
    return Halves(pair, pair); // one broadcasting load
}

/// Two columns: two rows of C side by side in one register.
template <int M, int N>
struct Multiply<M, N, 2>
{
    static_assert(M % 2 == 0 && N % 2 == 0);

    [[gnu::noinline]] static void Call(double (*__restrict C)[2], const double (*__restrict A)[N],
                                       const double (*__restrict B)[2])
    {
        Unroll<M / 2>([&](auto pair) {
            constexpr int i = 2 * pair.value;
            __m256d sum = {};
            Unroll<N / 2>([&](auto half) {
                constexpr int k = 2 * half.value;
                const __m256d a = Halves(A[i] + k, A[i + 1] + k);
                sum += _mm256_permute_pd(a, 0b0000) * Twice(B[k]);
                sum += _mm256_permute_pd(a, 0b1111) * Twice(B[k + 1]);
            });
            _mm256_storeu_pd(C[i], sum);
        });
    }
};

/// Three columns: every row is stored four wide, its last lane on the next row's first element,
/// which that row overwrites.
template <int M, int N>
struct Multiply<M, N, 3>
{
    using Four = Pack<4>::Type;

    [[gnu::noinline]] static void Call(double (*__restrict C)[3], const double (*__restrict A)[N],
                                       const double (*__restrict B)[3])
    {
        const __m256i three = _mm256_set_epi64x(0, -1, -1, -1);
        Four b[N];
        Unroll<N>([&](auto k) { b[k.value] = _mm256_maskload_pd(B[k.value], three); });
        Unroll<M>([&](auto i) {
            Four sum = {};
            Unroll<N>([&](auto k) { sum += A[i.value][k.value] * b[k.value]; });
            if constexpr (i.value < M - 1)
                Pack<4>::Store(C[i.value], sum);
            else
                _mm256_maskstore_pd(C[i.value], three, sum);
        });
    }
};
#endif

/// One column: each lane sums one row, so columns of A are assembled from pieces of its rows.
template <int M, int N>
struct Multiply<M, N, 1>
{
    static constexpr int kRows = kWidest > 4 ? 4 : kWidest;
    static_assert(M % kRows == 0 && N % 2 == 0);
    using V = Pack<kRows>;

    [[gnu::noinline]] static void Call(double (*__restrict C)[1], const double (*__restrict A)[N],
                                       const double (*__restrict B)[1])
    {
        Unroll<M / kRows>([&](auto block) {
            constexpr int i = kRows * block.value;
            typename V::Type sum = {};
            Unroll<N / 2>([&](auto half) {
                constexpr int k = 2 * half.value;
                typename V::Type even, odd;
                TwoColumns(A + i, k, even, odd);
                sum += even * B[k][0];
                sum += odd * B[k + 1][0];
            });
            V::Store(C[i], sum);
        });
    }

    /// Elements k and k + 1 of the kRows rows from A on.
    [[gnu::always_inline]] static inline void
    TwoColumns(const double (*A)[N], int k, typename V::Type& even, typename V::Type& odd)
    {
#if defined(__AVX2__)
        const __m256d ac = Halves(A[0] + k, A[2] + k), bd = Halves(A[1] + k, A[3] + k);
        even = _mm256_unpacklo_pd(ac, bd);
        odd = _mm256_unpackhi_pd(ac, bd);
#else
        const __m128d a = _mm_loadu_pd(A[0] + k), b = _mm_loadu_pd(A[1] + k);
        even = _mm_unpacklo_pd(a, b);
        odd = _mm_unpackhi_pd(a, b);
#endif
    }
};

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

/// Columns j ... j + Regs * Width - 1 of R rows of C, with B pointing to column j of its first row.
template <int Width, int Regs, int R>
[[gnu::always_inline]] inline void Block(double* __restrict C, const double* __restrict A,
                                         const double* __restrict B, int n, int p)
{
    using V = Pack<Width>;
    typename V::Type sum[R][Regs] = {};
    for (int k = 0; k < n; ++k, B += p)
        Unroll<Regs>([&](auto reg) {
            const typename V::Type b = V::Load(B + reg.value * Width);
            Unroll<R>(
                [&](auto i) { sum[i.value][reg.value] += A[std::ptrdiff_t(i.value) * n + k] * b; });
        });
    Unroll<R>([&](auto i) {
        Unroll<Regs>([&](auto reg) {
            V::Store(C + std::ptrdiff_t(i.value) * p + reg.value * Width, sum[i.value][reg.value]);
        });
    });
}

/// All rows of a panel of Regs * Width columns of C.
template <int Width, int Regs>
void Panel(double* C, const double* A, const double* B, int m, int n, int p)
{
    for (; m >= 4; m -= 4, C += 4 * std::ptrdiff_t(p), A += 4 * std::ptrdiff_t(n))
        Block<Width, Regs, 4>(C, A, B, n, p);
    for (; m > 0; --m, C += p, A += n)
        Block<Width, Regs, 1>(C, A, B, n, p);
}

/// The last columns of C, fewer than 2 * Width.
template <int Width>
void LastPanels(double* C, const double* A, const double* B, int m, int n, int p, int columns)
{
    if (columns >= Width)
    {
        Panel<Width, 1>(C, A, B, m, n, p);
        C += Width;
        B += Width;
        columns -= Width;
    }
    if constexpr (Width > 1)
        LastPanels<Width / 2>(C, A, B, m, n, p, columns);
}

using Flat = void (*)(double* C, const double* A, const double* B);

template <int M, int N, int P>
void MultiplyFlat(double* C, const double* A, const double* B)
{
    Multiply<M, N, P>::Call(reinterpret_cast<double(*)[P]>(C),
                            reinterpret_cast<const double(*)[N]>(A),
                            reinterpret_cast<const double(*)[P]>(B));
}

/// The fifteen sizes, each in its own slot, for direct look-up by the general product.
struct FixedSizes
{
    struct Slot
    {
        int m, n, p;
        Flat product;
    };
    static constexpr int kSlots = 32;
    Slot slots[kSlots] = {};

    static constexpr unsigned SlotOf(int m, int n, int p)
    {
        return (unsigned(m) + 2 * unsigned(n) + 26 * unsigned(p)) % kSlots;
    }
    template <int M, int N, int P>
    constexpr void Add()
    {
        slots[SlotOf(M, N, P)] = {M, N, P, MultiplyFlat<M, N, P>};
    }
    constexpr FixedSizes()
    {
        Add<2, 2, 8>();
        Add<2, 8, 2>();
        Add<3, 3, 9>();
        Add<4, 4, 4>();
        Add<4, 4, 16>();
        Add<8, 1, 16>();
        Add<8, 2, 2>();
        Add<8, 2, 8>();
        Add<8, 8, 1>();
        Add<8, 8, 8>();
        Add<9, 3, 3>();
        Add<9, 3, 9>();
        Add<9, 9, 9>();
        Add<16, 1, 8>();
        Add<16, 4, 16>();
    }
    constexpr int Count() const
    {
        int count = 0;
        for (const Slot& slot : slots)
            count += slot.m > 0;
        return count;
    }
};
constexpr FixedSizes kFixedSizes;
static_assert(kFixedSizes.Count() == 15, "two sizes share a slot");

void General(double* C, const double* A, const double* B, int m, int n, int p)
{
    const auto& fixed = kFixedSizes.slots[FixedSizes::SlotOf(m, n, p)];
    if (fixed.m == m && fixed.n == n && fixed.p == p && m != 0)
        return fixed.product(C, A, B);
    if (m <= 0 || p <= 0)
        return;
    const int terms = n > 0 ? n : 0;
    int j = 0;
    for (; p - j >= 2 * kWidest; j += 2 * kWidest)
        Panel<kWidest, 2>(C + j, A, B + j, m, terms, p);
    LastPanels<kWidest>(C + j, A, B + j, m, terms, p, p - j);
}

} // namespace

const Kernels kKernels = {
    .MxM = General,
    .MxM_2_2_8 = Multiply<2, 2, 8>::Call,
    .MxM_2_8_2 = Multiply<2, 8, 2>::Call,
    .MxM_3_3_9 = Multiply<3, 3, 9>::Call,
    .MxM_4_4_4 = Multiply<4, 4, 4>::Call,
    .MxM_4_4_16 = Multiply<4, 4, 16>::Call,
    .MxM_8_1_16 = Multiply<8, 1, 16>::Call,
    .MxM_8_2_2 = Multiply<8, 2, 2>::Call,
    .MxM_8_2_8 = Multiply<8, 2, 8>::Call,
    .MxM_8_8_1 = Multiply<8, 8, 1>::Call,
    .MxM_8_8_8 = Multiply<8, 8, 8>::Call,
    .MxM_9_3_3 = Multiply<9, 3, 3>::Call,
    .MxM_9_3_9 = Multiply<9, 3, 9>::Call,
    .MxM_9_9_9 = Multiply<9, 9, 9>::Call,
    .MxM_16_1_8 = Multiply<16, 1, 8>::Call,
    .MxM_16_4_16 = Multiply<16, 4, 16>::Call,
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

} // namespace numerics::KVI_SIMD
