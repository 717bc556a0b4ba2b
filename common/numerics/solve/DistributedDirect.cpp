#include "numerics/solve/DistributedDirect.h"

#include "foundation/kvidbg.h"
#include "foundation/str.h"
#include "numerics/order/AdjacencyGraph.h"
#include "numerics/order/WeightedMatching.h"
#include "numerics/system/StopRequest.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace numerics
{
namespace
{

/// Thrown when a call of the solver's library did not end well.
struct CallFailed
{
    DistributedResult result;
};

void Check(DistributedResult result)
{
    if (result != kDistributedDone)
        throw CallFailed{result};
}

/// The record of a call that failed with @p report.
SolveRecord Explain(DistributedResult result, const DistributedReport& report, const MatrixView& A)
{
    SolveRecord record;
    record.reason = str::as_wstring(report.text);
    record.outcome = result == kDistributedTooLarge ? SolveOutcome::TooLarge : SolveOutcome::Failed;
    if (result == kDistributedSingular)
    {
        record.outcome = SolveOutcome::Singular;
        record.looseModes = 1;
        record.equation = MatchRows(A).freeRow;
        if (record.equation >= 0)
            record.reason += L"; too few unknowns occur in this equation and others";
    }
    record.residual = record.rowWiseError = record.normWiseError =
        std::numeric_limits<double>::quiet_NaN();
    return record;
}

} // namespace

void DistributedDirect::Analyse(const MatrixView& A, bool isSymmetric)
{
    const bool needsGeneral = needsGeneral_;
    const DistributedMatrix matrix{A.n, A.rowStart, A.columns, A.values, isSymmetric};
    Clear();
    Check(functions_->analyse(&matrix, &system_, &report_));
    isSymmetric_ = isSymmetric;
    needsGeneral_ = needsGeneral;
    kept_.SetPattern(A);
}

void DistributedDirect::Factorise(const MatrixView& A, bool findsNullPivots)
{
    isFactorised_ = false; // also for a solve that stops here: the factor is that of earlier values
    StopRequest::ThrowIfCurrent();
    Check(functions_->factorise(system_, A.values, findsNullPivots, &report_));
    isFactorised_ = true;
    nullPivots_ = report_.nullPivots;
    constexpr double kMebibyte = 1 << 20;
    KVI_LOG(kvi::diag::verbose, kvi::diag::kMathCategory,
            L"%d equations factorised in %.0f MiB, at most %.0f MiB in one process", A.n,
            report_.totalBytes / kMebibyte, report_.mostBytes / kMebibyte);
}

/// Whether the null vector of a factor with vanishing pivots is one of A too, but for rounding.
bool DistributedDirect::IsSingular(const MatrixView& A, SolveRecord& record)
{
    constexpr double kRounding = 1e-12;
    const std::size_t n = std::size_t(A.n);
    std::vector<double> z(n), r(n), none(n, 0.0);
    Check(functions_->nullVector(system_, z.data(), &report_));
    const SolutionErrors errors = MeasureErrors(A, none.data(), z.data(), r.data());
    if (errors.farthest < 0 || !(errors.resistance <= kRounding))
        return false;
    record.outcome = SolveOutcome::Singular;
    record.equation = errors.farthest;
    record.looseModes = nullPivots_;
    record.reason = L"the matrix is singular but for rounding, " + std::to_wstring(nullPivots_) +
                    L" pivots vanish; this unknown is the loosest";
    return true;
}

SolutionErrors DistributedDirect::SolveFactorised(const MatrixView& A, bool isSymmetric,
                                                  const double* b, double* x, SolveRecord& record)
{
    constexpr int kSteps = 5;
    constexpr double kEnough = 1e-14;
    if (system_ == nullptr || isSymmetric != isSymmetric_ || !kept_.HasPatternOf(A))
        Analyse(A, isSymmetric);
    if (!kept_.SetValues(A) || !isFactorised_)
        Factorise(A, true);
    if (nullPivots_ > 0 && !IsSingular(A, record))
        Factorise(A, false); // small pivots, but none that rounding alone left
    StopRequest::ThrowIfCurrent();
    const auto correct = [this](double* r) { Check(functions_->solve(system_, r, &report_)); };
    std::copy(b, b + A.n, x);
    correct(x);
    return Refine(A, b, x, correct, kSteps, kEnough);
}

SolveRecord DistributedDirect::TrySolve(const MatrixView& A, const double* b, double* x)
{
    SolveRecord record;
    if (const int bad = FirstNotFinite(A, b); bad >= 0)
        return RefuseNotFinite(bad, {});
    if (A.n == 0)
        return record;
    if (!kept_.HasPatternOf(A))
        needsGeneral_ = false;
    const bool isSymmetric = FindSymmetry(A).ofValues && !needsGeneral_;
    SolutionErrors errors = SolveFactorised(A, isSymmetric, b, x, record);
    const bool isDone =
        record.outcome == SolveOutcome::Singular || errors.rowWise <= kSolvedRowWise;
    if (isSymmetric && !isDone)
    {
        needsGeneral_ = true;
        errors = SolveFactorised(A, false, b, x, record);
    }
    Judge(A, errors, record);
    return record;
}

SolveRecord DistributedDirect::Solve(const DistributedFunctions& functions, const MatrixView& A,
                                     const double* b, double* x)
{
    SolveRecord record;
    functions_ = &functions;
    try
    {
        record = TrySolve(A, b, x);
    }
    catch (const CallFailed& failed)
    {
        record = Explain(failed.result, report_, A);
        Clear();
    }
    if (std::isnan(record.rowWiseError))
        std::fill(x, x + A.n, std::numeric_limits<double>::quiet_NaN());
    return record;
}

void DistributedDirect::Clear()
{
    if (system_ != nullptr)
        functions_->destroy(system_);
    system_ = nullptr;
    kept_ = {};
    report_ = {};
    isFactorised_ = needsGeneral_ = false;
}

} // namespace numerics
