// Goal 2a: adding element matrices into the system, and building it the first time, beside Eigen.
// With the environment variable KVI_BENCH_LARGE also for a million equations.
#include "numerics/FeMesh.h"

#include <Eigen/Sparse>
#include <benchmark/benchmark.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace
{

using fe_mesh::Case;
using fe_mesh::FeMesh;
using fe_mesh::ForEachElement;
using fe_mesh::FromTriplets;
using fe_mesh::MeshOf;
using fe_mesh::RowMajor;

/// Does A x of the system equal that of Eigen's matrix? Tested by the reaction to x = 1, 2, 3, ...
bool IsRight(ISysEqnImpl& system, const Case& given)
{
    static std::map<Case, Eigen::VectorXd> expected;

    tagVectorInt all;
    tagVectorDbl x;
    for (int i = 0; i < system.EquationCount(); ++i)
    {
        all.values.push_back(i);
        x.values.push_back(1 + i % 7);
    }
    system.SetUnknownVector(&all, &x);
    tagVectorDbl y;
    system.GetReactionVector(&y);
    const auto n = Eigen::Index(y.values.size());
    const Eigen::Map<const Eigen::VectorXd> xs(x.values.data(), n), ys(y.values.data(), n);
    auto [at, isNew] = expected.try_emplace(given);
    if (isNew)
        at->second = FromTriplets(MeshOf(given)) * xs;
    return at->second.size() == n && (at->second - ys).norm() <= 1e-12 * ys.norm();
}

void Count(benchmark::State& state, const FeMesh& mesh)
{
    state.counters["entry"] = benchmark::Counter(double(mesh.matrices.size()),
                                                 benchmark::Counter::kIsIterationInvariantRate |
                                                     benchmark::Counter::kInvert);
}

void KviAdd(benchmark::State& state, const Case& given, bool together)
{
    const FeMesh& mesh = MeshOf(given);
    std::vector<tagMatrixDbl> matrices;
    for (std::size_t e = 0; e < mesh.elements.Count() && !together; ++e)
        matrices.push_back(mesh.Matrix(e));
    ISysEqnImpl system;
    system.Initialize(&mesh.elements);
    for (auto _ : state)
    {
        system.ResetToZero();
        if (together)
            system.InsertElementsIntoSysCoefMtx(0, int(mesh.elements.Count()),
                                                mesh.matrices.data());
        for (std::size_t e = 0; e < matrices.size(); ++e)
            system.InsertIntoSysCoefMtx(int(e), &matrices[e]);
        benchmark::ClobberMemory();
    }
    if (!IsRight(system, given))
        state.SkipWithError("wrong matrix");
    Count(state, mesh);
}

void EigenAdd(benchmark::State& state, const Case& given)
{
    const FeMesh& mesh = MeshOf(given);
    RowMajor A = FromTriplets(mesh);
    for (auto _ : state)
    {
        std::fill_n(A.valuePtr(), A.nonZeros(), 0.0);
        ForEachElement(mesh, [&](std::size_t size, const int* list, const double* m) {
            for (std::size_t i = 0; i < size; ++i)
                for (std::size_t j = 0; j < size; ++j)
                    A.coeffRef(list[i], list[j]) += *m++;
        });
        benchmark::ClobberMemory();
    }
    Count(state, mesh);
}

void KviFirst(benchmark::State& state, const Case& given)
{
    const FeMesh& mesh = MeshOf(given);
    for (auto _ : state)
    {
        ISysEqnImpl system;
        system.Initialize(&mesh.elements);
        system.InsertElementsIntoSysCoefMtx(0, int(mesh.elements.Count()), mesh.matrices.data());
        benchmark::ClobberMemory();
    }
    Count(state, mesh);
}

void EigenFirst(benchmark::State& state, const Case& given)
{
    const FeMesh& mesh = MeshOf(given);
    for (auto _ : state)
        benchmark::DoNotOptimize(FromTriplets(mesh).valuePtr());
    Count(state, mesh);
}

/// b - A x for x of ones, which is what a residual costs.
void KviProduct(benchmark::State& state, const Case& given)
{
    const FeMesh& mesh = MeshOf(given);
    ISysEqnImpl system;
    system.Initialize(&mesh.elements);
    system.InsertElementsIntoSysCoefMtx(0, int(mesh.elements.Count()), mesh.matrices.data());
    if (!IsRight(system, given))
        return state.SkipWithError("wrong matrix");
    tagVectorDbl y;
    for (auto _ : state)
    {
        system.GetReactionVector(&y);
        benchmark::ClobberMemory();
    }
}

void EigenProduct(benchmark::State& state, const Case& given)
{
    const FeMesh& mesh = MeshOf(given);
    const RowMajor A = FromTriplets(mesh);
    const Eigen::VectorXd x = Eigen::VectorXd::Ones(mesh.n), b = x;
    Eigen::VectorXd y;
    for (auto _ : state)
    {
        y.noalias() = A * x - b;
        benchmark::DoNotOptimize(y.data());
        benchmark::ClobberMemory();
    }
}

const bool kRegistered = [] {
    constexpr Case cases[] = {
        {"Q4 x1 1e4 natural", 4, 1, 10000, false},  {"Q4 x1 1e5 natural", 4, 1, 100000, false},
        {"Q4 x1 1e5 shuffled", 4, 1, 100000, true}, {"Q8 x2 1e5 natural", 8, 2, 100000, false},
        {"Q8 x2 1e5 shuffled", 8, 2, 100000, true}, {"Q4 x1 1e6 natural", 4, 1, 1000000, false},
        {"Q8 x2 1e6 natural", 8, 2, 1000000, false}};
    for (const Case& c : cases)
    {
        if (c.equations >= 1000000 && !fe_mesh::WantsLarge())
            continue;
        const auto add = [c](const char* goal, const char* what, const char* who, auto run) {
            std::string name = goal;
            (name += what) += c.name;
            (name += "|") += who;
            benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
                run(state, c);
            })->UseRealTime();
        };
        add("2a|", "add ", "kvi",
            [](auto& state, const Case& given) { KviAdd(state, given, false); });
        add("2a|", "add ", "Eigen coeffRef", EigenAdd);
        add("2a|", "add together ", "kvi",
            [](auto& state, const Case& given) { KviAdd(state, given, true); });
        add("2a|", "add together ", "Eigen coeffRef", EigenAdd);
        add("2a|", "first ", "kvi", KviFirst);
        add("2a|", "first ", "Eigen setFromTriplets", EigenFirst);
        add("2d|", "product ", "kvi", KviProduct);
        add("2d|", "product ", "Eigen", EigenProduct);
    }
    return true;
}();

} // namespace
