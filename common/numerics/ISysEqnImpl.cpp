#include "numerics/ISysEqnImpl.h"

#include "numerics/solve/SystemState.h"
#include "numerics/system/BlockVector.h"
#include "numerics/system/Product.h"
#include "numerics/system/Threads.h"
#include "numerics/system/TrapsOff.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <string>
#include <utility>

using math::SolveOutcome;
using math::SolveRecord;

ISysEqnImpl::ISysEqnImpl() : state_(std::make_unique<State>())
{
    State& s = *state_;
    ISysEqnImpl::Initialize(nullptr, 0);
    s.refusal.outcome = SolveOutcome::Failed;
    s.refusal.reason = L"the system was never initialised";
    s.last = s.refusal;
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
    s.Report(s.refusal);
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
    const std::size_t e = std::size_t(element);
    if (m == nullptr)
        s.Drop(L"InsertIntoSysCoefMtx: there is no matrix");
    else if (element < 0 || e >= p.elements.Count())
        s.Drop(L"InsertIntoSysCoefMtx: there is no element " + std::to_wstring(element));
    else if (const std::size_t size = p.offsetStart[e + 1] - p.offsetStart[e];
             m->values.size() != size)
        s.Drop(L"InsertIntoSysCoefMtx: the matrix of element " + std::to_wstring(element) +
               L" has " + std::to_wstring(m->values.size()) + L" entries instead of " +
               std::to_wstring(size));
    else
        AddElement(p, e, m->values.data(), s.values.data());
    return 0;
}

long ISysEqnImpl::InsertElementsIntoSysCoefMtx(int first, int count, const double* matrices)
{
    State& s = *state_;
    if (matrices == nullptr && count != 0)
        s.Drop(L"InsertElementsIntoSysCoefMtx: there are no matrices");
    else if (first < 0 || count < 0 ||
             std::size_t(first) + std::size_t(count) > s.pattern.elements.Count())
        s.Drop(L"InsertElementsIntoSysCoefMtx: element matrices reach past the last element");
    else
        AddElements(s.pattern, std::size_t(first), std::size_t(count), matrices, s.values.data(),
                    s.threads);
    return 0;
}

long ISysEqnImpl::InsertIntoSysCoefMtxByEqnIndxs(const tagVectorInt* equations,
                                                 const tagMatrixDbl* m)
{
    State& s = *state_;
    if (equations == nullptr || m == nullptr)
    {
        s.Drop(L"InsertIntoSysCoefMtxByEqnIndxs: equations or matrix are missing");
        return 0;
    }
    const std::vector<int>& list = equations->values;
    const std::size_t size = list.size();
    if (m->values.size() != std::uint64_t{size} * size)
    {
        s.Drop(L"InsertIntoSysCoefMtxByEqnIndxs: the matrix does not fit its list of equations");
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
                s.Drop(L"InsertIntoSysCoefMtxByEqnIndxs: a coefficient lies outside the pattern, "
                       L"row " +
                           std::to_wstring(list[i]) + L", column " + std::to_wstring(list[j]),
                       list[i]);
        }
    return 0;
}

namespace
{

/// Calls f(equation, value) for each pair. Drops a whole contribution that is missing or has
/// unequal counts, and of others the pairs outside the system; @p call names the operation.
template <class State, class F>
void ForEach(State& s, const wchar_t* call, const tagVectorInt* equations, const tagVectorDbl* v,
             F f)
{
    if (equations == nullptr || v == nullptr)
        return s.Drop(std::wstring(call) + L": equations or values are missing");
    const std::size_t count = equations->values.size();
    if (count != v->values.size())
        return s.Drop(call + (L": " + std::to_wstring(count)) + L" equations, but " +
                      std::to_wstring(v->values.size()) + L" values");
    for (std::size_t k = 0; k < count; ++k)
        if (const int i = equations->values[k]; s.Has(i))
            f(std::size_t(i), v->values[k]);
        else
            s.Drop(call + (L": there is no equation " + std::to_wstring(i)), i);
}

} // namespace

long ISysEqnImpl::AddToRHSVector(const tagVectorInt* equations, const tagVectorDbl* v)
{
    State& s = *state_;
    ForEach(s, L"AddToRHSVector", equations, v,
            [&](std::size_t i, double value) { s.b[i] += value; });
    return 0;
}

long ISysEqnImpl::SetUnknownVector(const tagVectorInt* equations, const tagVectorDbl* v)
{
    State& s = *state_;
    ForEach(s, L"SetUnknownVector", equations, v,
            [&](std::size_t i, double value) { s.x[i] = value; });
    return 0;
}

long ISysEqnImpl::FixUnknowns(const tagVectorInt* equations, const tagVectorDbl* v)
{
    State& s = *state_;
    ForEach(s, L"FixUnknowns", equations, v, [&](std::size_t i, double value) {
        s.fixedCount += 1 - s.fixed[i];
        s.fixed[i] = 1;
        s.prescribed[i] = value;
    });
    return 0;
}

long ISysEqnImpl::SetCoordinates(const tagVectorInt* components, const tagMatrixDbl* coordinates)
{
    State& s = *state_;
    if (components == nullptr || coordinates == nullptr)
    {
        s.Drop(L"SetCoordinates: components or coordinates are missing");
        return 0;
    }
    const std::vector<int>& axes = components->values;
    const std::vector<double>& values = coordinates->values;
    if (axes.empty() && values.empty())
    {
        s.krylov.Places() = {};
        return 0;
    }
    const int columns = coordinates->columns;
    const std::uint64_t n = std::uint64_t(s.Size());
    if ((columns != 2 && columns != 3) || axes.size() != n ||
        values.size() != n * unsigned(columns))
    {
        s.Drop(L"SetCoordinates: there is not one component and one row of 2 or 3 coordinates for "
               L"each equation");
        return 0;
    }
    for (std::size_t i = 0; i < axes.size(); ++i)
        if (axes[i] < -1 || axes[i] >= columns ||
            !numerics::IsFinite(&values[i * unsigned(columns)], columns))
        {
            s.Drop(L"SetCoordinates: the component of equation " + std::to_wstring(i) +
                       L" is no axis, or a coordinate is not finite",
                   int(i));
            return 0;
        }
    s.krylov.Places() = numerics::FindPlaces(columns, axes, values);
    return 0;
}

long ISysEqnImpl::SetThreads(int count)
{
    state_->threads = std::max(count, 0);
    return 0;
}

long ISysEqnImpl::RequestStop()
{
    state_->stop.Stop();
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

long ISysEqnImpl::GetMatrix(tagVectorInt* rowStarts, tagVectorInt* columns,
                            tagVectorDbl* values) const
{
    const State& s = *state_;
    if (rowStarts != nullptr)
        rowStarts->values.assign(s.pattern.rowStart.begin(), s.pattern.rowStart.end());
    if (columns != nullptr)
        columns->values.assign(s.pattern.columns.begin(), s.pattern.columns.end());
    if (values != nullptr)
        values->values.assign(s.values.begin(), s.values.end());
    return 0;
}

long ISysEqnImpl::GetReactionVector(tagVectorDbl* out) const
{
    const State& s = *state_;
    const numerics::TrapsOff guard;
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
    const numerics::TrapsOff guard;
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
    krylov = {};
}

void ISysEqnImpl::State::Drop(std::wstring reason, int equation)
{
    if (fault.outcome != SolveOutcome::Solved)
        return;
    fault.outcome = SolveOutcome::Failed;
    fault.equation = equation;
    fault.reason = std::move(reason);
    Report(fault);
}
