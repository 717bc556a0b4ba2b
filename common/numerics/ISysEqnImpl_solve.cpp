#include "numerics/ISysEqnImpl_state.h"
#include "numerics/numerics_Product.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

using math::SolveMethod;
using math::SolveOutcome;
using math::SolveRecord;
using math::impl::MatrixView;

MatrixView ISysEqnImpl::State::Reduce(const double*& rhs)
{
    MatrixView A = Matrix();
    rhs = b.data();
    for (double& start : x)
        if (!std::isfinite(start))
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
            else if (row == column) // any number will do; this one suits its neighbours
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

void ISysEqnImpl::State::Finish(const MatrixView& reduced, const double* rhs, SolveRecord record)
{
    std::vector<double> r(x.size());
    Residual(reduced, rhs, x.data(), r.data());
    const double size = math::impl::TwoNorm(rhs, x.size());
    record.residual = math::impl::TwoNorm(r.data(), r.size()) / (size > 0 ? size : 1);
    if (fixedCount > 0)
        for (std::size_t i = 0; i < x.size(); ++i)
            if (fixed[i] != 0)
                x[i] = prescribed[i];
    if (record.outcome == SolveOutcome::Solved && fault.outcome != SolveOutcome::Solved)
    {
        record.outcome = fault.outcome;
        record.equation = fault.equation;
        record.reason = fault.reason;
    }
    if (record.method == SolveMethod::IterativeSymmetric ||
        record.method == SolveMethod::IterativeNonSymmetric)
    {
        iterations = record.iterations;
        tolerance = record.tolerance;
    }
    last = std::move(record);
}

namespace
{

SolveRecord NotYet(SolveMethod method)
{
    SolveRecord record;
    record.method = method;
    record.outcome = SolveOutcome::Failed;
    record.reason = L"this solver is not built in";
    return record;
}

} // namespace

long ISysEqnImpl::SolveForUnknownVector_Direct_Sym()
{
    State& s = *state_;
    const double* rhs = nullptr;
    const MatrixView A = s.Reduce(rhs);
    s.Finish(A, rhs, s.profile.Solve(A, true, rhs, s.x.data(), s.threads));
    return 0;
}

long ISysEqnImpl::SolveForUnknownVector_Direct_NonSym()
{
    State& s = *state_;
    const double* rhs = nullptr;
    const MatrixView A = s.Reduce(rhs);
    s.Finish(A, rhs, s.profile.Solve(A, false, rhs, s.x.data(), s.threads));
    return 0;
}

long ISysEqnImpl::SolveForUnknownVector_Iterative_Sym(double, int)
{
    State& s = *state_;
    const double* rhs = nullptr;
    const MatrixView A = s.Reduce(rhs);
    s.Finish(A, rhs, NotYet(SolveMethod::IterativeSymmetric));
    return 0;
}

long ISysEqnImpl::SolveForUnknownVector_Iterative_NonSym(double, int)
{
    State& s = *state_;
    const double* rhs = nullptr;
    const MatrixView A = s.Reduce(rhs);
    s.Finish(A, rhs, NotYet(SolveMethod::IterativeNonSymmetric));
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

long ISysEqnImpl::SolveForUnknownVector_PARDISO_SetUp() { return 0; }

long ISysEqnImpl::SolveForUnknownVector_PARDISO()
{
    State& s = *state_;
    const double* rhs = nullptr;
    const MatrixView A = s.Reduce(rhs);
    s.Finish(A, rhs, NotYet(SolveMethod::Pardiso));
    return 1;
}

long ISysEqnImpl::SolveForUnknownVector_PARDISO_Release() { return 0; }
