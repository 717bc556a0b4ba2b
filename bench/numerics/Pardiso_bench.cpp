// Goals 2c and 2e: the library's own sparse direct solver beside MKL's PARDISO as prescribed and
// other libraries, on plane meshes and on patterns in space; and the call of MKL beside the bare
// one. Analysis, factor and a checked solution each time; "repeat" keeps the pattern. One thread
// each.
#include "numerics/FeMesh.h"
#include "numerics/solve/Pardiso.h"
#include "numerics/solve/Vendor.h"

#include <Eigen/CholmodSupport>
#include <Eigen/SparseCholesky>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <utility>
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

/// A cube of side^3 nodes, each connected with its 26 neighbours.
const fe_mesh::System& BrickOf(const char* name, int side, int perNode)
{
    static std::map<std::string, fe_mesh::System> kept;
    fe_mesh::System& system = kept[name];
    if (system.b.size() > 0)
        return system;
    std::vector<Eigen::Triplet<double>> entries;
    const auto number = [side](int x, int y, int z) { return (z * side + y) * side + x; };
    const int nodes = side * side * side;
    for (int node = 0; node < nodes; ++node)
        for (int k = 0; k < 27; ++k)
        {
            const int u = node % side + k % 3 - 1, v = node / side % side + k / 3 % 3 - 1;
            const int w = node / (side * side) + k / 9 - 1;
            if (std::min({u, v, w}) < 0 || std::max({u, v, w}) >= side)
                continue;
            for (int i = 0; i < perNode; ++i)
                for (int j = 0; j < perNode; ++j)
                    entries.emplace_back(node * perNode + i, number(u, v, w) * perNode + j,
                                         (k == 13 ? 26.5 : -1.0) * (i == j ? 1 : 0.2));
        }
    system.A = fe_mesh::RowMajor(nodes * perNode, nodes * perNode);
    system.A.setFromTriplets(entries.begin(), entries.end());
    system.b = Eigen::VectorXd::LinSpaced(nodes * perNode, 1, 3);
    return system;
}

/// The same pattern with advection: nonsymmetric values.
fe_mesh::System Skewed(const fe_mesh::System& symmetric)
{
    fe_mesh::System system = symmetric;
    for (int i = 0; i < int(system.A.rows()); ++i)
        for (fe_mesh::RowMajor::InnerIterator entry(system.A, i); entry; ++entry)
            entry.valueRef() *= entry.col() > i ? 1.1 : entry.col() < i ? 0.9 : 1.0;
    return system;
}

bool IsSolved(const fe_mesh::System& system, const std::vector<double>& x)
{
    const Eigen::Map<const Eigen::VectorXd> solution(x.data(), system.b.size());
    return (system.b - system.A * solution).norm() <= 1e-8 * system.b.norm();
}

/// A system solved through the table @p functions. The own solver, which keeps what it can, begins
/// anew each time, or from the analysis where @p isRepeat.
void Whole(benchmark::State& state, fe_mesh::System& system, const PardisoFunctions& functions,
           bool isRepeat)
{
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
    {
        if (functions.pardiso == nullptr && !isRepeat)
            pardiso.SetUp();
        system.A.valuePtr()[0] *= 1 + 1e-9;
        pardiso.Solve(system.View(), system.b.data(), x.data());
    }
    pardiso.Release();
    ReplacePardiso(nullptr);
}

/// MKL's function on one-based rows made beforehand, with the same parameters.
void Bare(benchmark::State& state, fe_mesh::System& system, const PardisoFunctions& mkl, bool)
{
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
void Other(benchmark::State& state, const fe_mesh::System& system)
{
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

const PardisoFunctions* Mkl() { return FoundVendor() ? &FoundVendor()->solver : nullptr; }

using Run = void (*)(benchmark::State&, fe_mesh::System&, const PardisoFunctions&, bool);

/// Creates its system at the first run.
using Make = std::function<fe_mesh::System()>;

void Add(const std::string& name, const Make& make, Run run, const PardisoFunctions& who,
         bool isRepeat = false)
{
    benchmark::RegisterBenchmark(name.c_str(), [=, &who](benchmark::State& state) {
        fe_mesh::System system = make();
        run(state, system, who, isRepeat);
    })->Unit(benchmark::kMillisecond);
}

template <class Factor>
void AddOther(const std::string& name, const Make& make)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        Other<Factor>(state, make());
    })->Unit(benchmark::kMillisecond);
}

void AddOwn(const std::string& name, const Make& make, bool hasPeers)
{
    using Columns = Eigen::SparseMatrix<double>;
    Add(name + "|kvi", make, Whole, BuiltInPardiso());
    if (Mkl() != nullptr)
        Add(name + "|MKL PARDISO", make, Bare, *Mkl());
    if (!hasPeers)
        return;
    AddOther<Eigen::SimplicialLDLT<Columns>>(name + "|Eigen LDLT", make);
    AddOther<Eigen::CholmodDecomposition<Columns>>(name + "|CHOLMOD", make);
}

const bool registered = [] {
    for (const Case& given : kCases)
    {
        const std::string name = given.name;
        const Make make = [given] { return SystemOf(given); };
        if (Mkl() != nullptr)
        {
            Add("2c|calling MKL " + name + "|kvi", make, Whole, *Mkl());
            Add("2c|calling MKL " + name + "|MKL PARDISO", make, Bare, *Mkl());
            Add("2c|own, repeat " + name + "|kvi", make, Whole, BuiltInPardiso(), true);
            Add("2c|own, repeat " + name + "|MKL PARDISO", make, Bare, *Mkl());
        }
        AddOwn("2c|own " + name, make, true);
        AddOwn(
            "2c|own, not symmetric " + name, [make] { return Skewed(make()); }, false);
    }
    AddOwn(
        "2e|own, 27 points 3e4", [] { return BrickOf("3e4", 31, 1); }, false);
    AddOwn(
        "2e|own, brick x3 3e4", [] { return BrickOf("x3", 21, 3); }, false);
    if (fe_mesh::WantsLarge())
        AddOwn(
            "2e|own, 27 points 1e5", [] { return BrickOf("1e5", 46, 1); }, false);
    return true;
}();

} // namespace
