#include "RunChild.h"
#include "foundation/str.h"
#include "numerics/FilledSystem.h"
#include "numerics/math_SparseSolver.h"
#include "numerics/solve/Pardiso.h"
#include "numerics/solve/Vendor.h"
#include "support/RecordingSink.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>

namespace
{

using namespace math;
using namespace numerics;

/// What one call of the vendor's function was given.
struct Call
{
    std::vector<void*> pt;
    std::vector<int> numbers, iparm; // maxfct, mnum, mtype, phase, n, perm, nrhs, msglvl
    bool hasMatrix, hasVectors;
    std::vector<int> ia{}, ja{};
    std::vector<double> a{}, b{};
};

std::vector<Call> calls;
int nextError = 0;

void StandIn(void* pt, const int* maxfct, const int* mnum, const int* mtype, const int* phase,
             const int* n, const void* a, const int* ia, const int* ja, int* perm, const int* nrhs,
             int* iparm, const int* msglvl, void* b, void* x, int* error)
{
    void** handles = static_cast<void**>(pt);
    Call call{std::vector<void*>(handles, handles + 64),
              {*maxfct, *mnum, *mtype, *phase, *n, *perm, *nrhs, *msglvl},
              {iparm, iparm + 64},
              a || ia || ja,
              b || x};
    if (call.hasMatrix)
    {
        const auto *values = static_cast<const double*>(a), *right = static_cast<const double*>(b);
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

/// Replaces the vendor's solver by the test double for its lifetime.
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
    EXPECT_EQ(call.numbers, (std::vector<int>{1, 1, 11, 13, 4, 0, 1, 0}));
    std::vector<int> iparm = {1, 3, 0, 0,  0,  0, 0, 0, 0, 13, 1, 0, 1, 0,
                              0, 0, 0, -1, -1, 0, 1, 0, 0, 1,  0, 0, 1};
    iparm.resize(64);
    EXPECT_EQ(call.iparm, iparm);
    EXPECT_EQ(call.a, (std::vector<double>{4, -1, 5}));
    EXPECT_EQ(call.ja, (std::vector<int>{1, 4, 3}));
    EXPECT_EQ(call.ia, (std::vector<int>{1, 3, 3, 4, 4}));
    EXPECT_EQ(call.b, b_);
    EXPECT_EQ(x_, std::vector<double>(4, 7.0));
    EXPECT_EQ(record.outcome, SolveOutcome::Singular) << "sevens are no solution: row 1 is empty";
    EXPECT_EQ(record.equation, 1);
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
    EXPECT_EQ(call.numbers, (std::vector<int>{1, 1, 11, -1, 0, 0, 1, 0}));
    EXPECT_FALSE(call.hasMatrix || call.hasVectors);
}

TEST_F(PardisoCall, SetUpReleasesWhatIsHeldAndStartsAnew)
{
    {
        Pardiso pardiso;
        pardiso.SetUp();
        pardiso.Solve(A_, b_.data(), x_.data());
        pardiso.SetUp();
        ASSERT_EQ(calls.size(), 2u);
        EXPECT_EQ(calls[1].numbers[3], -1);
        pardiso.Solve(A_, b_.data(), x_.data());
        EXPECT_EQ(calls[2].pt[3], nullptr);
        const MatrixView smaller{2, rowStart_.data(), columns_.data(), values_.data()};
        pardiso.Solve(smaller, b_.data(), x_.data());
        ASSERT_EQ(calls.size(), 5u) << "another size: released, then solved";
        EXPECT_EQ(calls[3].numbers[3], -1);
    }
    ASSERT_EQ(calls.size(), 6u) << "the destructor releases";
    EXPECT_EQ(calls[5].numbers[3], -1);
}

TEST_F(PardisoCall, ReportsTheErrorAndTheEmptyRow)
{
    nextError = -4;
    Pardiso pardiso;
    const SolveRecord record = pardiso.Solve(A_, b_.data(), x_.data());
    EXPECT_EQ(record.outcome, SolveOutcome::Singular);
    EXPECT_EQ(record.equation, 1);
    EXPECT_THAT(record.reason, testing::HasSubstr(L"-4"));
    EXPECT_EQ(pardiso.Error(), -4);
    EXPECT_TRUE(pardiso.IsHeld());
}

TEST_F(PardisoCall, HandsTheNumberOfThreadsOn)
{
    static std::vector<int> threadsSet;
    PardisoFunctions functions = functions_;
    functions.setThreads = [](int threads) { threadsSet.push_back(threads); };
    ReplacePardiso(&functions);
    SetSparseSolverThreads(3);
    SetSparseSolverThreads(0); // at least one
    EXPECT_EQ(threadsSet, (std::vector<int>{3, 1}));
}

SolveRecord Solve(const filled_system::System& system, const PardisoFunctions& functions)
{
    ReplacePardiso(&functions);
    std::vector<double> x(system.b.size());
    const SolveRecord record = Pardiso().Solve(system.View(), system.b.data(), x.data());
    ReplacePardiso(nullptr);
    return record;
}

TEST(PardisoBuiltIn, MakesUpForHalvesThatDifferByRounding)
{
    filled_system::System system = filled_system::Flow(20);
    for (int i = 1; i < system.Size(); ++i)
        system.At(i, i - 1) *= 1 + 4e-13;
    const SolveRecord record = Solve(system, BuiltInPardiso());
    EXPECT_EQ(record.outcome, SolveOutcome::Solved);
    EXPECT_LT(record.residual, 1e-13);
}

TEST(PardisoVendor, IsFoundByItsNameAndTakesThreads)
{
    EXPECT_FALSE(LoadVendor(L"no such folder"));
    const std::optional<Vendor> found = LoadVendor(L"");
    if (!found)
        GTEST_SKIP() << "no MKL on this machine";
    EXPECT_THAT(found->solver.name, testing::StartsWith(L"mkl 20"));
    found->solver.setThreads(2);
    const SolveRecord record = Solve(filled_system::Flow(40), found->solver);
    EXPECT_EQ(record.solver, L"pardiso (" + found->solver.name + L")");
    EXPECT_LT(record.residual, 1e-12);
    ReplacePardiso(&found->solver);
    EXPECT_EQ(SparseSolverName(), record.solver);
    FreeSparseSolverMemory();
    ReplacePardiso(nullptr);
}

TEST(VendorChild, DISABLED_IsGivenARelativeFolder)
{
    support::RecordingSink log;
    EXPECT_FALSE(FoundVendor());
    EXPECT_THAT(str::as_cstring(log.TakeText()), testing::HasSubstr("KVI_MKL is no absolute path"));
}

TEST(VendorChild, DISABLED_HasNoSolverOverSeveralProcesses)
{
    support::RecordingSink log;
    EXPECT_EQ(SparseSolverName(), L"pardiso (built in)");
    EXPECT_EQ(SparseSolverName(), L"pardiso (built in)") << "the reason is logged once";
    const std::wstring text = log.TakeText();
    EXPECT_EQ(std::count(text.begin(), text.end(), L'\n'), 1) << str::as_cstring(text);
    EXPECT_THAT(text, testing::StartsWith(L"KVI_SOLVER=mumps: the library's own solver runs"));
    EXPECT_THAT(text, testing::AnyOf(testing::HasSubstr(L"KVI_MUMPS is no absolute path"),
                                     testing::HasSubstr(L"cannot be loaded: ")));
}

/// The first look decides, so each folder has a process of its own.
TEST(Vendor, IsNotLoadedFromTheCurrentFolder)
{
    const auto set = [](const std::string& variable) {
        return child::IsWindows() ? "set \"" + variable + "\"&& " : variable + ' ';
    };
    for (const std::string folder : {".", "lib", "..", "./lib"})
    {
        EXPECT_TRUE(
            child::Run("VendorChild", "IsGivenARelativeFolder", 0, set("KVI_MKL=" + folder)));
        EXPECT_TRUE(child::Run("VendorChild", "HasNoSolverOverSeveralProcesses", 0,
                               set("KVI_SOLVER=mumps") + set("KVI_MUMPS=/none/" + folder)));
        EXPECT_TRUE(child::Run("VendorChild", "HasNoSolverOverSeveralProcesses", 0,
                               set("KVI_SOLVER=mumps") + set("KVI_MUMPS=" + folder)))
            << folder;
    }
}

} // namespace
