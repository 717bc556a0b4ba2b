#include "numerics/ISysEqnImpl.h"

#include "numerics/solve/BlockVector.h"
#include "numerics/solve/Threads.h"
#include "numerics/system/Product.h"
#include "numerics/system/SystemState.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

using math::SolveOutcome;
using math::SolveRecord;

ISysEqnImpl::ISysEqnImpl() : state_(std::make_unique<State>())
{
    ISysEqnImpl::Initialize(nullptr, 0);
}

ISysEqnImpl::~ISysEqnImpl() = default;

long ISysEqnImpl::Initialize(const tagMultiVectorInt* equations)
{
    return Initialize(equations, 0);
}

long ISysEqnImpl::Initialize(const tagMultiVectorInt* equations, int count)
{
    State& s = *state_;
    const tagMultiVectorInt none;
    s.refusal = BuildPattern(equations ? *equations : none, count, s.pattern, s.threads);
    try
    {
        s.Clear();
    }
    catch (const std::bad_alloc&)
    {
        s.refusal = numerics::EmptyPattern(s.pattern, SolveOutcome::TooLarge,
                                           L"memory cannot hold the system");
        s.Clear();
    }
    s.last = s.refusal;
    s.Tell(s.refusal);
    return 0;
}

int ISysEqnImpl::EquationCount() const { return state_->Size(); }

long ISysEqnImpl::ResetToZero()
{
    State& s = *state_;
    std::fill(s.values.begin(), s.values.end(), 0);
    std::fill(s.b.begin(), s.b.end(), 0);
    if (s.fixedCount > 0)
    {
        std::fill(s.prescribed.begin(), s.prescribed.end(), 0);
        std::fill(s.fixed.begin(), s.fixed.end(), 0);
    }
    s.fixedCount = 0;
    s.fault = {};
    return 0;
}

long ISysEqnImpl::InsertIntoSysCoefMtx(int element, const tagMatrixDbl* m)
{
    State& s = *state_;
    const numerics::Pattern& p = s.pattern;
    if (std::size_t(element) >= p.elements.Count() ||
        m->values.size() !=
            p.offsetStart[std::size_t(element) + 1] - p.offsetStart[std::size_t(element)])
        s.Drop(-1, -1, L"an element matrix does not fit its element");
    else
        AddElement(p, std::size_t(element), m->values.data(), s.values.data());
    return 0;
}

long ISysEqnImpl::InsertElementsIntoSysCoefMtx(int first, int count, const double* matrices)
{
    State& s = *state_;
    if (first < 0 || count < 0 ||
        std::size_t(first) + std::size_t(count) > s.pattern.elements.Count())
        s.Drop(-1, -1, L"element matrices reach beyond the elements");
    else
        AddElements(s.pattern, std::size_t(first), std::size_t(count), matrices, s.values.data(),
                    s.threads);
    return 0;
}

long ISysEqnImpl::InsertIntoSysCoefMtxByEqnIndxs(const tagVectorInt* equations,
                                                 const tagMatrixDbl* m)
{
    State& s = *state_;
    const std::vector<int>& list = equations->values;
    const std::size_t size = list.size();
    if (m->values.size() != std::uint64_t{size} * size)
    {
        s.Drop(-1, -1, L"a matrix does not fit its list of equations");
        return 0;
    }
    const double* entry = m->values.data();
    for (std::size_t i = 0; i < size; ++i)
        for (std::size_t j = 0; j < size; ++j, ++entry)
        {
            const int at = s.Has(list[i]) && s.Has(list[j]) ? s.pattern.Find(list[i], list[j]) : -1;
            if (at >= 0)
                s.values[std::size_t(at)] += *entry;
            else
                s.Drop(list[i], list[j], L"a coefficient lies outside the pattern");
        }
    return 0;
}

namespace
{

/// Calls f(equation, value) for each pair, and drop(equation) for those outside the system.
template <class F, class D>
void ForEach(const tagVectorInt& equations, const tagVectorDbl& v, int n, F f, D drop)
{
    const std::size_t count = std::min(equations.values.size(), v.values.size());
    for (std::size_t k = 0; k < count; ++k)
    {
        if (unsigned(equations.values[k]) < unsigned(n))
            f(std::size_t(equations.values[k]), v.values[k]);
        else
            drop(equations.values[k]);
    }
}

} // namespace

long ISysEqnImpl::AddToRHSVector(const tagVectorInt* equations, const tagVectorDbl* v)
{
    State& s = *state_;
    ForEach(
        *equations, *v, s.Size(), [&](std::size_t i, double value) { s.b[i] += value; },
        [&](int i) { s.Drop(i, -1, L"a load belongs to no equation"); });
    return 0;
}

long ISysEqnImpl::SetUnknownVector(const tagVectorInt* equations, const tagVectorDbl* v)
{
    State& s = *state_;
    ForEach(
        *equations, *v, s.Size(), [&](std::size_t i, double value) { s.x[i] = value; },
        [&](int i) { s.Drop(i, -1, L"an unknown belongs to no equation"); });
    return 0;
}

long ISysEqnImpl::FixUnknowns(const tagVectorInt* equations, const tagVectorDbl* v)
{
    State& s = *state_;
    ForEach(
        *equations, *v, s.Size(),
        [&](std::size_t i, double value) {
            s.fixedCount += 1 - s.fixed[i];
            s.fixed[i] = 1;
            s.prescribed[i] = value;
        },
        [&](int i) { s.Drop(i, -1, L"a fixed unknown belongs to no equation"); });
    return 0;
}

long ISysEqnImpl::SetThreads(int count)
{
    state_->threads = std::max(count, 0);
    return 0;
}

long ISysEqnImpl::GetUnknownVector(tagVectorDbl* out) const
{
    out->values = state_->x;
    return 0;
}

long ISysEqnImpl::GetRhsVector(tagVectorDbl* out) const
{
    out->values = state_->b;
    return 0;
}

long ISysEqnImpl::GetReactionVector(tagVectorDbl* out) const
{
    const State& s = *state_;
    out->values.resize(s.x.size());
    Reaction(s.Matrix(), s.b.data(), s.x.data(), out->values.data(), s.threads);
    return 0;
}

long ISysEqnImpl::GetSolverIterTol(int* iterations, double* tolerance) const
{
    *iterations = state_->iterations;
    *tolerance = state_->tolerance;
    return 0;
}

long ISysEqnImpl::GetResidualVecNorm(int kind, double* norm) const
{
    if (kind < 0 || kind > 2)
        return 0;
    const State& s = *state_;
    std::vector<double> r(s.x.size());
    Residual(s.Matrix(), s.b.data(), s.x.data(), r.data(), s.threads);
    if (s.fixedCount > 0)
        for (std::size_t i = 0; i < r.size(); ++i)
            if (s.fixed[i] != 0)
                r[i] = s.prescribed[i] - s.x[i];
    using numerics::MaxNorm, numerics::SumNorm, numerics::Norm2;
    if (kind == 0)
        *norm = MaxNorm(r.data(), r.size());
    else if (kind == 1)
        *norm = SumNorm(r.data(), r.size());
    else
        numerics::OnThreads(s.threads, [&] { *norm = Norm2(s.Size(), r.data()); });
    return 0;
}

const math::SolveRecord& ISysEqnImpl::LastSolve() const { return state_->last; }

numerics::MatrixView ISysEqnImpl::State::Matrix() const
{
    return {Size(), pattern.rowStart.data(), pattern.columns.data(), values.data()};
}

void ISysEqnImpl::State::Clear()
{
    const std::size_t n = std::size_t(pattern.n);
    values.assign(pattern.columns.size(), 0);
    x.assign(n, 0);
    b.assign(n, 0);
    prescribed.assign(n, 0);
    fixed.assign(n, 0);
    fixedCount = 0;
    fault = {};
    iterations = 0;
    tolerance = 0;
    profile.Forget();
    krylov.Clear();
}

void ISysEqnImpl::State::Drop(int row, int column, const wchar_t* reason)
{
    if (fault.outcome != SolveOutcome::Solved)
        return;
    fault.outcome = SolveOutcome::Failed;
    fault.equation = row;
    fault.reason = reason;
    if (column >= 0)
        fault.reason += L", row " + std::to_wstring(row) + L", column " + std::to_wstring(column);
    Tell(fault);
}
