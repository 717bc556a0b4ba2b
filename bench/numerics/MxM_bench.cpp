// Goals 1a, 1b, 1c: the fixed-size products and the general one beside libxsmm, Eigen and OpenBLAS,
// every product called through a function pointer, its operands in the first cache.
#include "numerics/MxM.h"
#include "numerics/MxM_peer.h"
#include "numerics/numerics_kernels_impl.h"
#include "platform/platform_cpu.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

#include <cblas.h>
#include <libxsmm.h>

namespace
{

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
Case Of(math::impl::Kernels::Fixed<M, N, P> exported,
        math::impl::Kernels::Fixed<M, N, P> math::impl::Kernels::*member)
{
    const auto flat = [](math::impl::Kernels::Fixed<M, N, P> kernel) {
        return reinterpret_cast<peer::Product>(kernel);
    };
    return {{M, N, P},
            flat(exported),
            flat(math::impl::sse2::kKernels.*member),
            flat(math::impl::avx2::kKernels.*member)};
}

#define CASE(name) Of(name, &math::impl::Kernels::name)
const Case kCases[] = {
    CASE(MxM_2_2_8),  CASE(MxM_2_8_2), CASE(MxM_3_3_9),  CASE(MxM_4_4_4),  CASE(MxM_4_4_16),
    CASE(MxM_8_1_16), CASE(MxM_8_2_2), CASE(MxM_8_2_8),  CASE(MxM_8_8_1),  CASE(MxM_8_8_8),
    CASE(MxM_9_3_3),  CASE(MxM_9_3_9), CASE(MxM_9_9_9),  CASE(MxM_16_1_8), CASE(MxM_16_4_16),
};
#undef CASE

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
    benchmark::RegisterBenchmark(name.c_str(), [s, product](benchmark::State& state) {
        Time(state, s, product);
    });
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
        Add("1a", s, "libxsmm", [f = Libxsmm(s)](double* C, const double* A, const double* B) {
            f(B, A, C);
        });
        if (platform::SimdLevelCappedBy("") == 2)
            Add("1a", s, "Eigen native", peer::native::EigenMaps(s.m, s.n, s.p));
        if (platform::SimdLevelCappedBy("") >= 1)
        {
            Add("1b avx2", s, "kvi", c.avx2);
            Add("1b avx2", s, "Eigen", peer::avx2::EigenMaps(s.m, s.n, s.p));
        }
        Add("1b baseline", s, "kvi", c.baseline);
        Add("1b baseline", s, "Eigen", peer::baseline::EigenMaps(s.m, s.n, s.p));
        Add("1c", s, "kvi", [s](double* C, const double* A, const double* B) {
            MxM(C, A, B, s.m, s.n, s.p);
        });
        Add("1c", s, "OpenBLAS dgemm", [s](double* C, const double* A, const double* B) {
            cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, s.m, s.p, s.n, 1, A, s.n, B, s.p,
                        0, C, s.p);
        });
    }
    return true;
}

const bool registered = Register();

} // namespace
