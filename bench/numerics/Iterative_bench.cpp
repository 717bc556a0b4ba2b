// Goal 2d: the symmetric iterative solver to 1e-8, set-up included, beside hypre's conjugate
// gradients with BoomerAMG and Eigen's with the diagonal. One thread each.
#include "numerics/FeMesh.h"
#include "numerics/direct/Profile.h"
#include "numerics/iterative/Krylov.h"
#include "parallel/ThreadCount.h"

#include <Eigen/IterativeLinearSolvers>
#include <benchmark/benchmark.h>

#include <HYPRE.h>
#include <HYPRE_IJ_mv.h>
#include <HYPRE_krylov.h>
#include <HYPRE_parcsr_ls.h>
#include <cmath>
#include <mpi.h>
#include <numeric>
#include <string>
#include <vector>

namespace
{

using fe_mesh::Case;
using fe_mesh::SystemOf;

constexpr double kTolerance = 1e-8;

constexpr Case kCases[] = {
    {"Q4 1e4", 4, 1, 10000, false},          {"Q4 1e5", 4, 1, 100000, false},
    {"Q4 1e5 shuffled", 4, 1, 100000, true}, {"Q8x2 1e4", 8, 2, 10000, false},
    {"Q8x2 1e5", 8, 2, 100000, false},       {"Q4 1e6", 4, 1, 1000000, false},
};

/// Runs @p solve, which returns x and its iterations, after one checked run.
template <class F>
void Time(benchmark::State& state, const fe_mesh::System& system, F solve)
{
    std::pair<Eigen::VectorXd, int> result = solve();
    const double residual = (system.b - system.A * result.first).norm() / system.b.norm();
    if (!(residual <= 1.01 * kTolerance))
        return state.SkipWithError(("residual " + std::to_string(residual)).c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(solve());
    state.counters["iterations"] = result.second;
}

void Kvi(benchmark::State& state, const Case& given)
{
    const fe_mesh::System& system = SystemOf(given);
    const parallel::ThreadLimit limit(1);
    Time(state, system, [&] {
        Eigen::VectorXd x = Eigen::VectorXd::Zero(system.b.size());
        numerics::KrylovCache cache;
        const math::SolveRecord record = numerics::SolveKrylovSymmetric(
            system.View(), system.b.data(), x.data(), kTolerance, 1000, cache);
        return std::pair(x, record.iterations);
    });
}

/// KVI's own direct solver, which the iteration is not to be much slower than.
void Direct(benchmark::State& state, const Case& given)
{
    const fe_mesh::System& system = SystemOf(given);
    numerics::ProfileSolver solver;
    Time(state, system, [&] {
        Eigen::VectorXd x(system.b.size());
        solver.Solve(system.View(), true, system.b.data(), x.data(), 1);
        return std::pair(x, 1);
    });
}

void EigenDiagonal(benchmark::State& state, const Case& given)
{
    const fe_mesh::System& system = SystemOf(given);
    Time(state, system, [&] {
        Eigen::ConjugateGradient<fe_mesh::RowMajor, Eigen::Lower | Eigen::Upper> solver;
        solver.setTolerance(kTolerance);
        solver.setMaxIterations(20000);
        solver.compute(system.A);
        Eigen::VectorXd x = solver.solve(system.b);
        return std::pair(x, int(solver.iterations()));
    });
}

/// The matrix and vectors in hypre's storage; created outside the timed section.
class Hypre
{
public:
    Hypre(const fe_mesh::System& system, int unknowns)
        : n_(int(system.b.size())), unknowns_(unknowns), rows_(std::size_t(n_))
    {
        static const bool isInitialized = Initialize();
        (void)isInitialized;
        std::iota(rows_.begin(), rows_.end(), 0);
        std::vector<HYPRE_Int> counts(rows_.size());
        for (int i = 0; i < n_; ++i)
            counts[std::size_t(i)] = system.A.outerIndexPtr()[i + 1] - system.A.outerIndexPtr()[i];
        HYPRE_IJMatrixCreate(MPI_COMM_WORLD, 0, n_ - 1, 0, n_ - 1, &ijA_);
        HYPRE_IJMatrixSetObjectType(ijA_, HYPRE_PARCSR);
        HYPRE_IJMatrixInitialize(ijA_);
        HYPRE_IJMatrixSetValues(ijA_, n_, counts.data(), rows_.data(), system.A.innerIndexPtr(),
                                system.A.valuePtr());
        HYPRE_IJMatrixAssemble(ijA_);
        HYPRE_IJMatrixGetObject(ijA_, reinterpret_cast<void**>(&A_));
        b_ = Vector(ijB_, system.b.data());
        const Eigen::VectorXd zero = Eigen::VectorXd::Zero(n_);
        x_ = Vector(ijX_, zero.data());
    }
    ~Hypre()
    {
        HYPRE_IJVectorDestroy(ijX_);
        HYPRE_IJVectorDestroy(ijB_);
        HYPRE_IJMatrixDestroy(ijA_);
    }
    Hypre(const Hypre&) = delete;
    Hypre& operator=(const Hypre&) = delete;

    std::pair<Eigen::VectorXd, int> Solve()
    {
        HYPRE_ParVectorSetConstantValues(x_, 0);
        HYPRE_Solver amg, pcg;
        HYPRE_BoomerAMGCreate(&amg);
        HYPRE_BoomerAMGSetMaxIter(amg, 1);
        HYPRE_BoomerAMGSetTol(amg, 0);
        HYPRE_BoomerAMGSetRelaxType(amg, 6); // symmetric Gauss-Seidel, for conjugate gradients
        HYPRE_BoomerAMGSetNumFunctions(amg, unknowns_);
        HYPRE_ParCSRPCGCreate(MPI_COMM_WORLD, &pcg);
        HYPRE_PCGSetTol(pcg, 0.99 * kTolerance);
        HYPRE_PCGSetMaxIter(pcg, 1000);
        HYPRE_PCGSetTwoNorm(pcg, 1);
        HYPRE_PCGSetPrecond(pcg, HYPRE_PtrToSolverFcn(HYPRE_BoomerAMGSolve),
                            HYPRE_PtrToSolverFcn(HYPRE_BoomerAMGSetup), amg);
        HYPRE_ParCSRPCGSetup(pcg, A_, b_, x_);
        HYPRE_ParCSRPCGSolve(pcg, A_, b_, x_);
        HYPRE_Int iterations = 0;
        HYPRE_PCGGetNumIterations(pcg, &iterations);
        HYPRE_ParCSRPCGDestroy(pcg);
        HYPRE_BoomerAMGDestroy(amg);
        Eigen::VectorXd x(n_);
        HYPRE_IJVectorGetValues(ijX_, n_, rows_.data(), x.data());
        return {x, iterations};
    }

private:
    static bool Initialize()
    {
        MPI_Init(nullptr, nullptr);
        HYPRE_Init();
        std::atexit([] {
            HYPRE_Finalize();
            MPI_Finalize();
        });
        return true;
    }
    HYPRE_ParVector Vector(HYPRE_IJVector& vector, const double* values)
    {
        HYPRE_ParVector object = nullptr;
        HYPRE_IJVectorCreate(MPI_COMM_WORLD, 0, n_ - 1, &vector);
        HYPRE_IJVectorSetObjectType(vector, HYPRE_PARCSR);
        HYPRE_IJVectorInitialize(vector);
        HYPRE_IJVectorSetValues(vector, n_, rows_.data(), values);
        HYPRE_IJVectorAssemble(vector);
        HYPRE_IJVectorGetObject(vector, reinterpret_cast<void**>(&object));
        return object;
    }

    int n_, unknowns_;
    std::vector<HYPRE_BigInt> rows_;
    HYPRE_IJMatrix ijA_ = nullptr;
    HYPRE_IJVector ijB_ = nullptr, ijX_ = nullptr;
    HYPRE_ParCSRMatrix A_ = nullptr;
    HYPRE_ParVector b_ = nullptr, x_ = nullptr;
};

void BoomerAmg(benchmark::State& state, const Case& given)
{
    const fe_mesh::System& system = SystemOf(given);
    Hypre hypre(system, given.perNode);
    Time(state, system, [&] { return hypre.Solve(); });
}

const bool registered = [] {
    for (const Case& given : kCases)
    {
        const std::string name = std::string("2d|") + given.name + "|";
        const auto add = [&](const char* who, void (*run)(benchmark::State&, const Case&)) {
            benchmark::RegisterBenchmark((name + who).c_str(), run, given)
                ->Unit(benchmark::kMillisecond);
        };
        add("kvi", Kvi);
        add("hypre CG BoomerAMG", BoomerAmg);
        if (given.equations == 100000 && !given.isShuffled)
            add("KVI's profile solver", Direct);
        if (given.equations <= 10000)
            add("Eigen CG diagonal", EigenDiagonal);
    }
    return true;
}();

} // namespace
