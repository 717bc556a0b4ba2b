// Goal 2c: the whole PARDISO solve of a system of equations, conversion and residual included,
// beside the bare call of MKL on the matrix as MKL takes it; and the built-in counterpart, also
// beside other libraries. One thread each.
#include "numerics/FeMesh.h"
#include "numerics/solve/Pardiso.h"

#include <Eigen/CholmodSupport>
#include <Eigen/SparseCholesky>
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

extern "C" void openblas_set_num_threads(int);

namespace
{

using fe_mesh::Case;
using fe_mesh::SystemOf;
using namespace numerics;

constexpr Case kCases[] = {
    {"Q4 1e4", 4, 1, 10000, false},          {"Q4 1e5", 4, 1, 100000, false},
    {"Q4 1e5 shuffled", 4, 1, 100000, true}, {"Q8x2 1e4", 8, 2, 10000, false},
    {"Q8x2 1e5", 8, 2, 100000, false},
};

bool IsSolved(const fe_mesh::System& system, const std::vector<double>& x)
{
    const Eigen::Map<const Eigen::VectorXd> solution(x.data(), system.b.size());
    return (system.b - system.A * solution).norm() <= 1e-8 * system.b.norm();
}

/// A system solved through the table @p functions.
void Whole(benchmark::State& state, const Case& given, const PardisoFunctions& functions)
{
    const fe_mesh::System& system = SystemOf(given);
    if (functions.setThreads != nullptr)
        functions.setThreads(1);
    ReplacePardiso(&functions);
    std::vector<double> x(std::size_t(system.b.size()));
    Pardiso pardiso;
    pardiso.SetUp();
    pardiso.Solve(system.View(), system.b.data(), x.data());
    if (!IsSolved(system, x))
        state.SkipWithError("wrong solution");
    for (auto _ : state)
        pardiso.Solve(system.View(), system.b.data(), x.data());
    pardiso.Release();
    ReplacePardiso(nullptr);
}

/// MKL's function on one-based rows made beforehand, with the same parameters.
void Bare(benchmark::State& state, const Case& given, const PardisoFunctions& mkl)
{
    const fe_mesh::System& system = SystemOf(given);
    mkl.setThreads(1);
    const int n = int(system.b.size()), one = 1, zero = 0, mtype = 11;
    const int* starts = system.A.outerIndexPtr();
    std::vector<int> ia(starts, starts + n + 1);
    std::vector<int> ja(system.A.innerIndexPtr(), system.A.innerIndexPtr() + starts[n]);
    for (int& start : ia)
        ++start;
    for (int& column : ja)
        ++column;
    void* pt[64] = {};
    int iparm[64] = {1, 3}, perm = 0, error = 0;
    for (const auto& [place, value] :
         {std::pair(9, 13), {10, 1}, {12, 1}, {17, -1}, {18, -1}, {20, 1}, {23, 1}, {26, 1}})
        iparm[place] = value;
    Eigen::VectorXd b = system.b;
    std::vector<double> x(static_cast<std::size_t>(n));
    const auto call = [&](int phase) {
        mkl.pardiso(pt, &one, &one, &mtype, &phase, &n, system.A.valuePtr(), ia.data(), ja.data(),
                    &perm, &one, iparm, &zero, b.data(), x.data(), &error);
    };
    call(13);
    if (error != 0 || !IsSolved(system, x))
        state.SkipWithError("wrong solution");
    for (auto _ : state)
        call(13);
    call(-1);
}

/// Another library's factor, analysis included, as the vendor's phase 13 has it.
template <class Factor>
void Other(benchmark::State& state, const Case& given)
{
    const fe_mesh::System& system = SystemOf(given);
    openblas_set_num_threads(1);
    std::vector<double> x(std::size_t(system.b.size()));
    Eigen::Map<Eigen::VectorXd> solution(x.data(), system.b.size());
    const auto solve = [&] {
        const Factor factor(system.A);
        solution = factor.solve(system.b);
    };
    solve();
    if (!IsSolved(system, x))
        state.SkipWithError("wrong solution");
    for (auto _ : state)
        solve();
}

const bool registered = [] {
    const PardisoFunctions& found = ActivePardiso();
    const bool hasMkl = found.pardiso != BuiltInPardiso().pardiso;
    for (const Case& given : kCases)
    {
        const std::string name = given.name;
        const auto add = [&](const std::string& full, auto run, const PardisoFunctions& who) {
            benchmark::RegisterBenchmark(full.c_str(), [=, &who](benchmark::State& state) {
                run(state, given, who);
            })->Unit(benchmark::kMillisecond);
        };
        if (hasMkl)
        {
            add("2c|calling MKL " + name + "|kvi", Whole, found);
            add("2c|calling MKL " + name + "|MKL PARDISO", Bare, found);
        }
        add("2c|built in " + name + "|kvi", Whole, BuiltInPardiso());
        using Columns = Eigen::SparseMatrix<double>;
        const auto addOther = [&](const char* who, auto run) {
            benchmark::RegisterBenchmark(("2c|built in " + name + who).c_str(), run, given)
                ->Unit(benchmark::kMillisecond);
        };
        addOther("|Eigen LDLT", Other<Eigen::SimplicialLDLT<Columns>>);
        addOther("|CHOLMOD", Other<Eigen::CholmodDecomposition<Columns>>);
        if (hasMkl)
            add("2c|built in " + name + "|MKL PARDISO", Bare, found);
    }
    return true;
}();

} // namespace
