// Goal 2c: the whole PARDISO solve of a system of equations, conversion and residual included,
// beside the bare call of MKL on the matrix as MKL takes it; and the built-in counterpart.
#include "numerics/FeMesh.h"
#include "numerics/numerics_Pardiso.h"

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace
{

using namespace math::impl;

struct Case
{
    const char* name;
    int equations, nodes, unknowns;
    bool isShuffled;
};

constexpr Case kCases[] = {
    {"Q4 1e4", 10000, 4, 1, false},          {"Q4 1e5", 100000, 4, 1, false},
    {"Q4 1e5 shuffled", 100000, 4, 1, true}, {"Q8x2 1e4", 10000, 8, 2, false},
    {"Q8x2 1e5", 100000, 8, 2, false},
};

const fe_mesh::System& SystemOf(const Case& given)
{
    static std::map<std::string, fe_mesh::System> kept;
    auto [at, isNew] = kept.try_emplace(given.name);
    if (isNew)
        at->second = fe_mesh::System(
            fe_mesh::FeMesh(given.nodes, given.unknowns, given.equations, given.isShuffled));
    return at->second;
}

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
        if (given.equations <= 10000)
            add("2c|built in " + name + "|kvi", Whole, BuiltInPardiso());
        if (given.equations <= 10000 && hasMkl)
            add("2c|built in " + name + "|MKL PARDISO", Bare, found);
    }
    return true;
}();

} // namespace
