// Goal 2b: the profile solvers in the natural numbering, beside LAPACK's banded ones on one thread.
// OPENBLAS_CORETYPE=SkylakeX gives the peer its AVX-512 kernels, KVI_SIMD_MAX=avx2 takes KVI's.
#include "numerics/FeMesh.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>
#include <vector>

extern "C"
{
    void openblas_set_num_threads(int);
    void dpbtrf_(const char* uplo, const int* n, const int* kd, double* ab, const int* ldab,
                 int* info);
    void dpbtrs_(const char* uplo, const int* n, const int* kd, const int* nrhs, const double* ab,
                 const int* ldab, double* b, const int* ldb, int* info);
    void dgbtrf_(const int* m, const int* n, const int* kl, const int* ku, double* ab,
                 const int* ldab, int* pivots, int* info);
    void dgbtrs_(const char* trans, const int* n, const int* kl, const int* ku, const int* nrhs,
                 const double* ab, const int* ldab, const int* pivots, double* b, const int* ldb,
                 int* info);
}

namespace
{

using fe_mesh::Case;
using fe_mesh::FeMesh;
using fe_mesh::MeshOf;

void Fill(ISysEqnImpl& system, const FeMesh& mesh)
{
    system.Initialize(&mesh.elements);
    system.InsertElementsIntoSysCoefMtx(0, int(mesh.elements.Count()), mesh.matrices.data());
    tagVectorInt all{std::vector<int>(std::size_t(mesh.n))};
    std::iota(all.values.begin(), all.values.end(), 0);
    const tagVectorDbl ones{std::vector<double>(std::size_t(mesh.n), 1.0)};
    system.AddToRHSVector(&all, &ones);
}

/// The mesh's matrix in LAPACK's band storage.
struct Band
{
    int n, half = 0, leading;
    std::vector<double> values;

    Band(const FeMesh& mesh, bool symmetric) : n(mesh.n)
    {
        ForEach(mesh, [&](int i, int j, double) { half = std::max(half, i - j); });
        leading = symmetric ? half + 1 : 3 * half + 1;
        values.resize(std::size_t(n) * std::size_t(leading));
        const int diagonal = symmetric ? 0 : 2 * half;
        ForEach(mesh, [&](int i, int j, double a) {
            if (!symmetric || i >= j)
                values[std::size_t(j) * std::size_t(leading) + std::size_t(diagonal + i - j)] += a;
        });
    }
    template <class F>
    static void ForEach(const FeMesh& mesh, F f)
    {
        std::size_t start = 0;
        const double* m = mesh.matrices.data();
        for (const std::size_t end : mesh.elements.ends)
        {
            for (std::size_t i = start; i < end; ++i)
                for (std::size_t j = start; j < end; ++j)
                    f(mesh.elements.values[i], mesh.elements.values[j], *m++);
            start = end;
        }
    }
};

void Kvi(benchmark::State& state, const Case& given, bool symmetric, int threads)
{
    ISysEqnImpl system;
    Fill(system, MeshOf(given));
    system.SetThreads(threads);
    for (auto _ : state)
    {
        if (symmetric)
            system.SolveForUnknownVector_Direct_Sym();
        else
            system.SolveForUnknownVector_Direct_NonSym();
    }
    if (system.LastSolve().outcome != math::SolveOutcome::Solved ||
        !(system.LastSolve().residual < 1e-9))
        state.SkipWithError("wrong solution");
    state.counters["residual"] = system.LastSolve().residual;
}

void Peer(benchmark::State& state, const Case& given, bool symmetric)
{
    openblas_set_num_threads(1);
    const FeMesh& mesh = MeshOf(given);
    const Band band(mesh, symmetric);
    std::vector<double> values(band.values.size()), x;
    std::vector<int> pivots(std::size_t(band.n));
    const int one = 1;
    int info = 0;
    for (auto _ : state)
    {
        state.PauseTiming(); // setting up the band is not counted
        values = band.values;
        x.assign(std::size_t(band.n), 1.0);
        state.ResumeTiming();
        if (symmetric)
        {
            dpbtrf_("L", &band.n, &band.half, values.data(), &band.leading, &info);
            dpbtrs_("L", &band.n, &band.half, &one, values.data(), &band.leading, x.data(), &band.n,
                    &info);
        }
        else
        {
            dgbtrf_(&band.n, &band.n, &band.half, &band.half, values.data(), &band.leading,
                    pivots.data(), &info);
            dgbtrs_("N", &band.n, &band.half, &band.half, &one, values.data(), &band.leading,
                    pivots.data(), x.data(), &band.n, &info);
        }
        benchmark::DoNotOptimize(x.data());
    }
    std::vector<double> r(std::size_t(band.n), 1.0);
    Band::ForEach(mesh,
                  [&](int i, int j, double a) { r[std::size_t(i)] -= a * x[std::size_t(j)]; });
    double sum = 0;
    for (const double entry : r)
        sum += entry * entry;
    state.counters["residual"] = std::sqrt(sum / band.n);
    if (info != 0 || !(sum < 1e-12 * band.n))
        state.SkipWithError("wrong solution");
}

const bool kRegistered = [] {
    constexpr Case cases[] = {{"Q4 x1 1e4", 4, 1, 10000, false},
                              {"Q8 x2 1e4", 8, 2, 10000, false},
                              {"Q4 x1 1e5", 4, 1, 100000, false},
                              {"Q8 x2 1e5", 8, 2, 100000, false}};
    const auto add = [](const std::string& name, auto run) {
        benchmark::RegisterBenchmark(name.c_str(), run)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    };
    for (const Case& c : cases)
        for (const bool symmetric : {true, false})
            for (const int threads : {1, 2})
            {
                std::string name = symmetric ? "2b|sym " : "2b|nonsym ";
                name += c.name;
                name += threads == 1 ? " 1 thread|" : " 2 threads|";
                add(name + "kvi",
                    [=](benchmark::State& state) { Kvi(state, c, symmetric, threads); });
                add(name + (symmetric ? "OpenBLAS dpb" : "OpenBLAS dgb"),
                    [=](benchmark::State& state) { Peer(state, c, symmetric); });
            }
    return true;
}();

} // namespace
