// Goals 1a, 1b, 1c: the fixed-size products and the general one beside libxsmm, Eigen and OpenBLAS,
// every product called through a function pointer, its operands in the first cache.
#include "numerics/MxM.h"
#include "numerics/MxM_peer.h"
#include "numerics/dense/Kernels.h"
#include "platform/platform_cpu.h"

#include <benchmark/benchmark.h>

#include <cblas.h>
#include <functional>
#include <libxsmm.h>
#include <string>
#include <vector>

namespace
{

using numerics::Kernels;

struct Size
{
    int m, n, p;
};

/// One size of the fifteen, with the exported kernel and those of each level behind it.
struct Case
{
    Size size;
    peer::Product exported, baseline, avx2;
};

template <int M, int N, int P>
Case Of(Kernels::Fixed<M, N, P> exported, Kernels::Fixed<M, N, P> Kernels::*kernel)
{
    const auto flat = [](auto fixed) { return reinterpret_cast<peer::Product>(fixed); };
    return {{M, N, P},
            flat(exported),
            flat(numerics::sse2::kKernels.*kernel),
            flat(numerics::avx2::kKernels.*kernel)};
}

const Case kCases[] = {
    Of<2, 2, 8>(MxM_2_2_8, &Kernels::MxM_2_2_8),
    Of<2, 8, 2>(MxM_2_8_2, &Kernels::MxM_2_8_2),
    Of<3, 3, 9>(MxM_3_3_9, &Kernels::MxM_3_3_9),
    Of<4, 4, 4>(MxM_4_4_4, &Kernels::MxM_4_4_4),
    Of<4, 4, 16>(MxM_4_4_16, &Kernels::MxM_4_4_16),
    Of<8, 1, 16>(MxM_8_1_16, &Kernels::MxM_8_1_16),
    Of<8, 2, 2>(MxM_8_2_2, &Kernels::MxM_8_2_2),
    Of<8, 2, 8>(MxM_8_2_8, &Kernels::MxM_8_2_8),
    Of<8, 8, 1>(MxM_8_8_1, &Kernels::MxM_8_8_1),
    Of<8, 8, 8>(MxM_8_8_8, &Kernels::MxM_8_8_8),
    Of<9, 3, 3>(MxM_9_3_3, &Kernels::MxM_9_3_3),
    Of<9, 3, 9>(MxM_9_3_9, &Kernels::MxM_9_3_9),
    Of<9, 9, 9>(MxM_9_9_9, &Kernels::MxM_9_9_9),
    Of<16, 1, 8>(MxM_16_1_8, &Kernels::MxM_16_1_8),
    Of<16, 4, 16>(MxM_16_4_16, &Kernels::MxM_16_4_16),
};

/// The operands, cache lines of their own and no power of two apart.
struct Operands
{
    alignas(64) double A[128], padA[8], B[128], padB[16], C[256];

    Operands()
    {
        for (int i = 0; i < 128; ++i)
        {
            A[i] = 0.25 + 0.01 * i;
            B[i] = 1.5 - 0.02 * i;
        }
    }
};

template <class Product>
void Time(benchmark::State& state, Size size, Product product)
{
    Operands o;
    product(o.C, o.A, o.B);
    if (!MxM_Checker(o.C, o.A, o.B, size.m, size.n, size.p))
        return state.SkipWithError("wrong product");
    for ([[maybe_unused]] auto _ : state)
    {
        double *a = o.A, *b = o.B, *c = o.C;
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        benchmark::DoNotOptimize(c);
        product(c, a, b);
        benchmark::ClobberMemory();
    }
}

template <class Product>
void Add(const char* goal, const Size& s, const char* who, Product product)
{
    const std::string name = std::string(goal) + "|MxM " + std::to_string(s.m) + '_' +
                             std::to_string(s.n) + '_' + std::to_string(s.p) + '|' + who;
    benchmark::RegisterBenchmark(
        name.c_str(), [s, product](benchmark::State& state) { Time(state, s, product); });
}

/// Row-major C = A B is column-major C' = B' A'.
libxsmm_dmmfunction Libxsmm(const Size& s)
{
    const double one = 1, zero = 0;
    const int none = LIBXSMM_GEMM_FLAG_NONE;
    return libxsmm_dmmdispatch(s.p, s.m, s.n, &s.p, &s.n, &s.p, &one, &zero, &none, nullptr);
}

bool Register()
{
    for (const Case& c : kCases)
    {
        const Size s = c.size;
        Add("1a", s, "kvi", c.exported);
        Add("1a", s, "libxsmm",
            [f = Libxsmm(s)](double* C, const double* A, const double* B) { f(B, A, C); });
        if (platform::SimdLevelCappedBy("") == 2)
            Add("1a", s, "Eigen native", peer::native::EigenMaps(s.m, s.n, s.p));
        if (platform::SimdLevelCappedBy("") >= 1)
        {
            Add("1b avx2", s, "kvi", c.avx2);
            Add("1b avx2", s, "Eigen", peer::avx2::EigenMaps(s.m, s.n, s.p));
        }
        Add("1b baseline", s, "kvi", c.baseline);
        Add("1b baseline", s, "Eigen", peer::baseline::EigenMaps(s.m, s.n, s.p));
        Add("1c", s, "kvi",
            [s](double* C, const double* A, const double* B) { MxM(C, A, B, s.m, s.n, s.p); });
        Add("1c", s, "OpenBLAS dgemm", [s](double* C, const double* A, const double* B) {
            cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, s.m, s.p, s.n, 1, A, s.n, B, s.p,
                        0, C, s.p);
        });
    }
    return true;
}

const bool registered = Register();

} // namespace
