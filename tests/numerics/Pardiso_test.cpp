#include "SolverSystems.h"
#include "numerics/math_SparseSolver.h"
#include "numerics/numerics_Pardiso.h"
#include "numerics/numerics_Vendor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

using namespace math;
using namespace math::impl;

/// What one call of the vendor's function was given.
struct Call
{
    std::vector<void*> pt;
    int maxfct, mnum, mtype, phase, n, perm, nrhs, msglvl;
    std::vector<int> iparm, ia, ja;
    std::vector<double> a, b;
    bool hasMatrix, hasVectors;
};

std::vector<Call> calls;
int nextError = 0;

void StandIn(void* pt, const int* maxfct, const int* mnum, const int* mtype, const int* phase,
             const int* n, const void* a, const int* ia, const int* ja, int* perm, const int* nrhs,
             int* iparm, const int* msglvl, void* b, void* x, int* error)
{
    void** handles = static_cast<void**>(pt);
    Call call{std::vector<void*>(handles, handles + 64),
              *maxfct,
              *mnum,
              *mtype,
              *phase,
              *n,
              *perm,
              *nrhs,
              *msglvl,
              std::vector<int>(iparm, iparm + 64),
              {},
              {},
              {},
              {},
              a || ia || ja,
              b || x};
    if (call.hasMatrix)
    {
        const double* values = static_cast<const double*>(a);
        const double* right = static_cast<const double*>(b);
        call.ia.assign(ia, ia + *n + 1);
        call.ja.assign(ja, ja + (ia[*n] - 1));
        call.a.assign(values, values + (ia[*n] - 1));
        call.b.assign(right, right + *n);
        std::fill_n(static_cast<double*>(x), *n, 7.0);
    }
    handles[3] = &calls;
    *error = nextError;
    calls.push_back(call);
}

/// Puts the stand-in in the vendor's place while it lives.
class PardisoCall : public testing::Test
{
protected:
    PardisoCall()
    {
        calls.clear();
        nextError = 0;
        ReplacePardiso(&functions_);
    }
    ~PardisoCall() override { ReplacePardiso(nullptr); }

    const PardisoFunctions functions_{&StandIn, nullptr, nullptr, L"stand-in"};
    // Explicit zeros; row 1 keeps nothing, row 3 has nothing stored.
    const std::vector<int> rowStart_{0, 3, 5, 7, 7}, columns_{0, 1, 3, 1, 2, 0, 2};
    const std::vector<double> values_{4, 0, -1, 0, 0, 0, 5}, b_{1, 2, 3, 4};
    const MatrixView A_{4, rowStart_.data(), columns_.data(), values_.data()};
    std::vector<double> x_ = std::vector<double>(4);
};

TEST_F(PardisoCall, PassesEveryArgumentAsPrescribed)
{
    Pardiso pardiso;
    pardiso.SetUp();
    EXPECT_TRUE(calls.empty()) << "nothing was held";
    const SolveRecord record = pardiso.Solve(A_, b_.data(), x_.data());
    ASSERT_EQ(calls.size(), 1u);
    const Call& call = calls[0];
    EXPECT_EQ(call.pt, std::vector<void*>(64, nullptr));
    EXPECT_EQ(call.maxfct, 1);
    EXPECT_EQ(call.mnum, 1);
    EXPECT_EQ(call.mtype, 11);
    EXPECT_EQ(call.phase, 13);
    EXPECT_EQ(call.n, 4);
    EXPECT_EQ(call.perm, 0);
    EXPECT_EQ(call.nrhs, 1);
    EXPECT_EQ(call.msglvl, 0);
    EXPECT_EQ(call.iparm,
              (std::vector<int>{1, 3, 0, 0, 0, 0, 0, 0, 0, 13, 1, 0, 1, 0, 0, 0, 0, -1, -1, 0, 1, 0,
                                0, 1, 0, 0, 1, 0, 0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0, 0,  0,  0, 0, 0,
                                0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0, 0,  0,  0}));
    EXPECT_EQ(call.a, (std::vector<double>{4, -1, 5}));
    EXPECT_EQ(call.ja, (std::vector<int>{1, 4, 3}));
    EXPECT_EQ(call.ia, (std::vector<int>{1, 3, 3, 4, 4}));
    EXPECT_EQ(call.b, b_);
    EXPECT_EQ(x_, std::vector<double>(4, 7.0));
    EXPECT_EQ(record.outcome, SolveOutcome::Solved);
    EXPECT_EQ(record.solver, L"pardiso (stand-in)");
}

TEST_F(PardisoCall, ReleasesOnceWithTheSameHandleAndNoMatrix)
{
    Pardiso pardiso;
    pardiso.Release();
    pardiso.SetUp();
    pardiso.Release();
    EXPECT_TRUE(calls.empty()) << "nothing is held before a solve";
    pardiso.Solve(A_, b_.data(), x_.data());
    pardiso.Solve(A_, b_.data(), x_.data());
    ASSERT_EQ(calls.size(), 2u) << "a second solve keeps the handle";
    EXPECT_EQ(calls[1].pt[3], &calls);
    pardiso.Release();
    pardiso.Release();
    ASSERT_EQ(calls.size(), 3u);
    const Call& call = calls[2];
    EXPECT_EQ(call.pt[3], &calls);
    EXPECT_EQ(call.phase, -1);
    EXPECT_EQ(call.n, 0);
    EXPECT_EQ(call.mtype, 11);
    EXPECT_EQ(call.maxfct, 1);
    EXPECT_EQ(call.mnum, 1);
    EXPECT_FALSE(call.hasMatrix);
    EXPECT_FALSE(call.hasVectors);
}

TEST_F(PardisoCall, SetUpReleasesWhatIsHeldAndStartsAnew)
{
    {
        Pardiso pardiso;
        pardiso.SetUp();
        pardiso.Solve(A_, b_.data(), x_.data());
        pardiso.SetUp();
        ASSERT_EQ(calls.size(), 2u);
        EXPECT_EQ(calls[1].phase, -1);
        pardiso.Solve(A_, b_.data(), x_.data());
        EXPECT_EQ(calls[2].pt[3], nullptr);
        const MatrixView smaller{2, rowStart_.data(), columns_.data(), values_.data()};
        pardiso.Solve(smaller, b_.data(), x_.data());
        ASSERT_EQ(calls.size(), 5u) << "another size: released, then solved";
        EXPECT_EQ(calls[3].phase, -1);
    }
    ASSERT_EQ(calls.size(), 6u) << "the destructor releases";
    EXPECT_EQ(calls[5].phase, -1);
}

TEST_F(PardisoCall, TellsTheErrorAndTheEmptyRow)
{
    nextError = -4;
    Pardiso pardiso;
    const SolveRecord record = pardiso.Solve(A_, b_.data(), x_.data());
    EXPECT_EQ(record.outcome, SolveOutcome::ZeroPivot);
    EXPECT_EQ(record.equation, 1);
    EXPECT_NE(record.reason.find(L"-4"), std::wstring::npos);
    EXPECT_EQ(pardiso.Error(), -4);
    EXPECT_TRUE(pardiso.IsHeld());
}

std::vector<int> threadsSet;

TEST_F(PardisoCall, HandsTheNumberOfThreadsOn)
{
    PardisoFunctions functions = functions_;
    functions.setThreads = [](int threads) { threadsSet.push_back(threads); };
    threadsSet.clear();
    ReplacePardiso(&functions);
    SetSparseSolverThreads(3);
    SetSparseSolverThreads(0); // at least one
    EXPECT_EQ(threadsSet, (std::vector<int>{3, 1}));
}

/// The built-in counterpart in the vendor's place.
class PardisoBuiltIn : public testing::Test
{
protected:
    PardisoBuiltIn() { ReplacePardiso(&BuiltInPardiso()); }
    ~PardisoBuiltIn() override { ReplacePardiso(nullptr); }

    SolveRecord Solve(const systems::System& system)
    {
        x_.assign(system.b.size(), 0.0);
        return Pardiso().Solve(system.View(), system.b.data(), x_.data());
    }

    std::vector<double> x_;
};

TEST_F(PardisoBuiltIn, SolvesSymmetricAndOtherSystems)
{
    const auto jump = [](int x, int y) { return (x + y) % 3 ? 1.0 : 1e6; };
    for (const double wind : {0.0, 0.4})
    {
        const systems::System system = systems::Flow(30, jump, 1, wind);
        const SolveRecord record = Solve(system);
        EXPECT_EQ(record.outcome, SolveOutcome::Solved) << record.equation;
        // Rounding leaves a residual in proportion to the matrix and the solution.
        EXPECT_LT(record.residual, 1e-14 * system.Largest(x_) * 1e6 / system.Largest(system.b));
        EXPECT_EQ(record.solver, L"pardiso (built in)");
    }
}

TEST_F(PardisoBuiltIn, MakesUpForHalvesThatDifferByRounding)
{
    systems::System system = systems::Flow(20, [](int, int) { return 1.0; });
    for (int i = 1; i < system.Size(); ++i)
        system.At(i, i - 1) *= 1 + 4e-13;
    const SolveRecord record = Solve(system);
    EXPECT_EQ(record.outcome, SolveOutcome::Solved);
    EXPECT_LT(record.residual, 1e-13);
}

TEST_F(PardisoBuiltIn, PivotsWhereTheDiagonalIsZero)
{
    systems::System system;
    system.AddRow({{0, 0.0}, {1, 2.0}}, 4.0);
    system.AddRow({{0, 2.0}, {1, 0.0}}, 6.0);
    EXPECT_EQ(Solve(system).outcome, SolveOutcome::Solved);
    EXPECT_EQ(x_, (std::vector<double>{3, 2}));
}

TEST_F(PardisoBuiltIn, TellsWhatItCannotSolve)
{
    systems::System singular = systems::Flow(3, [](int, int) { return 1.0; });
    singular.AddRow({}, 1.0);
    SolveRecord record = Solve(singular);
    EXPECT_EQ(record.outcome, SolveOutcome::ZeroPivot);
    EXPECT_EQ(record.equation, singular.Size() - 1);

    systems::System equalRows;
    equalRows.AddRow({{0, 1.0}, {1, 2.0}}, 1.0);
    equalRows.AddRow({{0, 2.0}, {1, 4.0}}, 1.0);
    record = Solve(equalRows);
    EXPECT_EQ(record.outcome, SolveOutcome::Failed);
    EXPECT_NE(record.reason.find(L"singular"), std::wstring::npos);

    systems::System infected = systems::Flow(3, [](int, int) { return 1.0; });
    infected.At(2, 2) = std::numeric_limits<double>::quiet_NaN();
    record = Solve(infected);
    EXPECT_EQ(record.outcome, SolveOutcome::NotFinite);
    EXPECT_EQ(record.equation, 2);
    EXPECT_EQ(Solve(systems::System()).outcome, SolveOutcome::Solved) << "no equations";
}

TEST(PardisoVendor, AgreesWithTheBuiltInSolverWhereItIsFound)
{
    EXPECT_FALSE(LoadVendor(L"no such folder"));
    const std::optional<Vendor> found = LoadVendor(L"");
    if (!found)
        GTEST_SKIP() << "no MKL on this machine";
    const PardisoFunctions* const vendor = &found->solver;
    EXPECT_EQ(vendor->name.find(L"mkl 20"), 0u);
    vendor->setThreads(2);
    for (const double wind : {0.0, 0.4})
    {
        const systems::System system = systems::Flow(
            40, [](int, int) { return 1.0; }, 1, wind);
        std::vector<double> solutions[2];
        const PardisoFunctions* tables[] = {vendor, &BuiltInPardiso()};
        for (int k = 0; k < 2; ++k)
        {
            ReplacePardiso(tables[k]);
            solutions[k].resize(system.b.size());
            Pardiso pardiso;
            const SolveRecord record =
                pardiso.Solve(system.View(), system.b.data(), solutions[k].data());
            EXPECT_EQ(record.outcome, SolveOutcome::Solved);
            EXPECT_LT(record.residual, 1e-12);
        }
        ReplacePardiso(nullptr);
        for (std::size_t i = 0; i < system.b.size(); ++i)
            EXPECT_NEAR(solutions[0][i], solutions[1][i],
                        1e-10 * systems::System::Largest(solutions[1]));
    }
    ReplacePardiso(vendor);
    EXPECT_EQ(SparseSolverName(), L"pardiso (" + vendor->name + L")");
    systems::System infected = systems::Flow(3, [](int, int) { return 1.0; });
    infected.At(2, 2) = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> x(infected.b.size());
    const SolveRecord record = Pardiso().Solve(infected.View(), infected.b.data(), x.data());
    EXPECT_EQ(record.outcome, SolveOutcome::NotFinite);
    EXPECT_EQ(record.equation, 2);
    FreeSparseSolverMemory();
    ReplacePardiso(nullptr);
}

} // namespace
