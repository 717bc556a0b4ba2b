#include "foundation/kvidbg.h"
#include "numerics/math_SparseSolver.h"
#include "numerics/solve/SystemState.h"
#include "numerics/system/Threads.h"
#include "numerics/system/TrapsOff.h"
#include "numerics/system/Verdict.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <new>
#include <string>

using math::SolveMethod;
using math::SolveOutcome;
using math::SolveRecord;
using numerics::MatrixView;

namespace
{

const wchar_t* Name(SolveMethod method)
{
    switch (method)
    {
    case SolveMethod::ProfileSymmetric:
        return L"symmetric profile solver";
    case SolveMethod::ProfileNonSymmetric:
        return L"non-symmetric profile solver";
    case SolveMethod::IterativeSymmetric:
        return L"symmetric iterative solver";
    case SolveMethod::IterativeNonSymmetric:
        return L"non-symmetric iterative solver";
    case SolveMethod::Pardiso:
        return L"PARDISO";
    case SolveMethod::None:
        break;
    }
    return L"system of equations";
}

} // namespace

void ISysEqnImpl::State::Report(const SolveRecord& record)
{
    if (record.outcome == SolveOutcome::Solved)
        return;
    const bool isAnswered =
        record.outcome == SolveOutcome::ZeroPivot || record.outcome == SolveOutcome::Breakdown ||
        record.outcome == SolveOutcome::Stagnated || record.outcome == SolveOutcome::NotConverged ||
        record.outcome == SolveOutcome::Interrupted;
    const int level = isAnswered ? kvi::diag::warning : kvi::diag::error;
    std::wstring what = record.reason;
    if (record.equation >= 0)
        what += L"; equation " + std::to_wstring(record.equation) + L", counted from 0";
    if (record.method == SolveMethod::None)
        KVI_LOG(level, kvi::diag::kMathCategory, L"%s: %s", Name(record.method), what);
    else
        KVI_LOG(level, kvi::diag::kMathCategory, L"%s: %s; residual %g, row-wise error %g",
                Name(record.method), what, record.residual, record.rowWiseError);
}

MatrixView ISysEqnImpl::State::Reduce(const double*& rhs)
{
    MatrixView A = Matrix();
    rhs = b.data();
    for (double& start : x)
        if (!numerics::IsFinite(&start, 1))
            start = 0;
    if (fixedCount == 0)
        return A;
    reducedValues.resize(values.size());
    reducedB = b;
    for (int i = 0; i < A.n; ++i)
    {
        const std::size_t row = std::size_t(i);
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        {
            const std::size_t column = std::size_t(A.columns[k]);
            const double a = A.values[k];
            if (fixed[row] == 0 && fixed[column] == 0)
                reducedValues[std::size_t(k)] = a;
            else if (row ==
                     column) // any number is valid; this one has the magnitude of its neighbours
                reducedValues[std::size_t(k)] = std::isfinite(a) && a != 0 ? a : 1;
            else
            {
                reducedValues[std::size_t(k)] = 0;
                if (fixed[row] == 0)
                    reducedB[row] -= a * prescribed[column];
            }
        }
        if (fixed[row] != 0)
            reducedB[row] = x[row] = 0;
    }
    A.values = reducedValues.data();
    rhs = reducedB.data();
    return A;
}

void ISysEqnImpl::State::Finish(SolveRecord record)
{
    if (fixedCount > 0)
        for (std::size_t i = 0; i < x.size(); ++i)
            if (fixed[i] != 0)
                x[i] = prescribed[i];
    const bool isTried =
        record.outcome != SolveOutcome::TooLarge && record.outcome != SolveOutcome::Interrupted;
    if (isTried && fault.outcome != SolveOutcome::Solved)
    {
        record.outcome = fault.outcome;
        record.equation = fault.equation;
        record.reason = fault.reason + (record.reason.empty() ? L"" : L"; " + record.reason);
    }
    if (record.method == SolveMethod::IterativeSymmetric ||
        record.method == SolveMethod::IterativeNonSymmetric)
    {
        iterations = record.iterations;
        tolerance = record.tolerance;
    }
    last = std::move(record);
    Report(last);
    if (last.outcome == SolveOutcome::Solved)
        KVI_LOG(kvi::diag::verbose, kvi::diag::kMathCategory,
                L"%s: %d equations solved, row-wise error %g",
                last.solver.empty() ? Name(last.method) : last.solver.c_str(), Size(),
                last.rowWiseError);
}

template <class Solver>
void ISysEqnImpl::State::Solve(Solver solver)
{
    if (refusal.outcome != SolveOutcome::Solved)
    {
        last = refusal;
        Report(last);
        return;
    }
    const numerics::TrapsOff guard;
    const numerics::StopRequest::Scope scope(stop);
    // Without a result no older solution is left in x.
    const auto refuse = [&](SolveRecord record) {
        std::fill(x.begin(), x.end(), std::numeric_limits<double>::quiet_NaN());
        last = std::move(record);
        Report(last);
    };
    try
    {
        numerics::OnThreads(threads, [&] {
            const double* rhs = nullptr;
            const MatrixView A = Reduce(rhs);
            Finish(solver(A, rhs, x.data()));
        });
    }
    catch (const std::bad_alloc&)
    {
        refuse(numerics::RefuseTooLarge(L"memory cannot hold what solving takes"));
    }
    catch (const numerics::SolveStopped&)
    {
        refuse(numerics::RefuseStopped());
    }
}

long ISysEqnImpl::SolveForUnknownVector_Direct_Sym()
{
    State& s = *state_;
    s.Solve([&](const MatrixView& A, const double* b, double* x) {
        return s.profile.Solve(A, true, b, x, s.threads);
    });
    return 0;
}

long ISysEqnImpl::SolveForUnknownVector_Direct_NonSym()
{
    State& s = *state_;
    s.Solve([&](const MatrixView& A, const double* b, double* x) {
        return s.profile.Solve(A, false, b, x, s.threads);
    });
    return 0;
}

long ISysEqnImpl::SolveForUnknownVector_Iterative_Sym(double tol, int maxIter)
{
    State& s = *state_;
    s.Solve([&](const MatrixView& A, const double* b, double* x) {
        return SolveKrylovSymmetric(A, b, x, tol, maxIter, s.krylov);
    });
    return 0;
}

long ISysEqnImpl::SolveForUnknownVector_Iterative_NonSym(double tol, int maxIter)
{
    State& s = *state_;
    s.Solve([&](const MatrixView& A, const double* b, double* x) {
        return SolveKrylovNonSymmetric(A, b, x, tol, maxIter, s.krylov);
    });
    return 0;
}

long ISysEqnImpl::SolveForUnknownVector_Iterative_Sym(double tol)
{
    return SolveForUnknownVector_Iterative_Sym(tol, EquationCount());
}

long ISysEqnImpl::SolveForUnknownVector_Iterative_NonSym(double tol)
{
    return SolveForUnknownVector_Iterative_Sym(tol, EquationCount());
}

long ISysEqnImpl::SolveForUnknownVector_PARDISO_SetUp()
{
    state_->pardiso.SetUp();
    return 0;
}

long ISysEqnImpl::SolveForUnknownVector_PARDISO()
{
    State& s = *state_;
    if (s.threads > 0)
        math::SetSparseSolverThreads(s.threads);
    s.Solve(
        [&](const MatrixView& A, const double* b, double* x) { return s.pardiso.Solve(A, b, x); });
    const bool isRefused =
        s.refusal.outcome != SolveOutcome::Solved || s.last.outcome == SolveOutcome::TooLarge;
    return isRefused || s.pardiso.Error() != 0 ? 1 : 0;
}

long ISysEqnImpl::SolveForUnknownVector_PARDISO_Release()
{
    state_->pardiso.Release();
    return 0;
}
