#include "numerics/iterative/Krylov.h"

#include "foundation/kvidbg.h"
#include "numerics/iterative/KrylovMethods.h"
#include "numerics/system/Product.h"
#include "numerics/system/Verdict.h"

#include <cmath>
#include <limits>
#include <new>
#include <optional>
#include <utility>

namespace numerics
{

KrylovCache::KrylovCache() = default;
KrylovCache::~KrylovCache() = default;
KrylovCache::KrylovCache(KrylovCache&&) noexcept = default;
KrylovCache& KrylovCache::operator=(KrylovCache&&) noexcept = default;

void KrylovCache::Clear() { storage_.reset(); }

KrylovCache::Storage& KrylovCache::Get()
{
    if (!storage_)
        storage_ = std::make_unique<Storage>();
    return *storage_;
}

namespace
{

/// The result of examining the rows before anything is computed.
struct Findings
{
    int unsolvable = -1; ///< first all-zero row with a nonzero right side
    int noPivot = -1;    ///< first row with entries but without a diagonal
};

/// Sets the right side of all-zero rows to 0 in @p b, so that their unknowns stay as they are.
Findings Examine(const MatrixView& A, double* b)
{
    std::vector<Findings> blocks(std::size_t(BlockCount(A.n)));
    ForBlocks(A.n, [&](int block, int begin, int end) {
        Findings found;
        for (int i = begin; i < end; ++i)
        {
            bool hasEntry = false, hasDiagonal = false;
            for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            {
                hasEntry |= A.values[k] != 0;
                hasDiagonal |= A.columns[k] == i && A.values[k] != 0;
            }
            if (!hasDiagonal && hasEntry && found.noPivot < 0)
                found.noPivot = i;
            if (hasEntry)
                continue;
            if (b[i] != 0 && found.unsolvable < 0)
                found.unsolvable = i;
            b[i] = 0;
        }
        blocks[std::size_t(block)] = found;
    });
    Findings first;
    for (const Findings& found : blocks)
    {
        first.unsolvable = first.unsolvable < 0 ? found.unsolvable : first.unsolvable;
        first.noPivot = first.noPivot < 0 ? found.noPivot : first.noPivot;
    }
    return first;
}

using Storage = KrylovCache::Storage;

const wchar_t* ReasonText(IterationEnd end)
{
    switch (end)
    {
    case IterationEnd::Reached:
        return L"rounding lets the residual get no smaller";
    case IterationEnd::NotDefinite:
        return L"the matrix is not definite";
    case IterationEnd::ZeroProduct:
        return L"a product of the iteration is zero";
    default:
        return L"the residual does not get smaller";
    }
}

/// The system scaled to a right side near 1, and its convergence criteria.
struct Task
{
    const MatrixView& A;
    const double* b;
    double* x;
    double target;       ///< 2-norm of the residual
    double floor;        ///< below it the recursive residual of an iteration is meaningless
    double cancelled;    ///< of the row-wise error
    double rowWiseLimit; ///< row-wise error that a solution may have
    int allowed;
    Storage& storage;
    KrylovCache& cache;
};

/// Is every equation solved to some digits? The norm of the residual hides equations with much
/// smaller coefficients than the others.
bool IsSolvedRowWise(const Task& task)
{
    return MeasureErrors(task.A, task.b, task.x, task.storage.r.data(), task.cancelled).rowWise <=
           task.rowWiseLimit;
}

/// Repeats an iteration until the residual computed from x itself fulfils the target. x becomes the
/// best approximation found, the start included.
/// @returns how the last run ended
IterationEnd Repeat(const Task& task, const Method& method, SolveRecord& record)
{
    const int n = task.A.n;
    double* r = task.storage.r.data();
    Vec& start = task.storage.start;
    std::unique_ptr<Preconditioner> M;
    double before = std::numeric_limits<double>::infinity(), target = task.target;
    IterationEnd end = IterationEnd::OutOfSteps;
    for (;;)
    {
        Residual(task.A, task.b, task.x, r);
        const double norm = Norm2(n, r);
        if (!(norm <= before)) // or NaN
            std::copy(start.begin(), start.end(), task.x);
        record.outcome = SolveOutcome::Solved;
        if (norm <= target)
        {
            if (IsSolvedRowWise(task))
                return end;
            target = 0.01 * norm;
        }
        record.outcome = SolveOutcome::NotConverged;
        if (record.iterations >= task.allowed)
            return end;
        // A restart is worth it while it reduces the error left by rounding.
        const bool isBroken = end == IterationEnd::NotDefinite || end == IterationEnd::ZeroProduct;
        record.outcome = isBroken ? SolveOutcome::Breakdown : SolveOutcome::Stagnated;
        if (end != IterationEnd::OutOfSteps && !(norm < 0.5 * before))
            return end;
        before = norm;
        start.assign(task.x, task.x + n);
        if (!M)
            M = method.precondition(task.A, task.cache);
        IterationRun run{task.A,
                         *M,
                         std::max(target, task.floor),
                         task.allowed - record.iterations,
                         task.x,
                         r,
                         method.limit,
                         task.cache.Advice(),
                         method.name,
                         norm};
        end = method.iterate(run, task.storage.work);
        record.iterations += run.steps;
    }
}

/// The same; where memory cannot hold what the method takes, x is as before and the outcome is
/// Stagnated.
/// @returns how the last run ended, nothing when memory ran out
std::optional<IterationEnd> RepeatWithinMemory(const Task& task, const Method& method,
                                               SolveRecord& record)
{
    Vec& start = task.storage.start;
    start.clear();
    try
    {
        return Repeat(task, method, record);
    }
    catch (const std::bad_alloc&)
    {
        std::copy(start.begin(), start.end(), task.x);
        record.outcome = SolveOutcome::Stagnated;
        return std::nullopt;
    }
}

void Iterate(const Task& task, Methods methods, int noPivot, SolveRecord& record)
{
    bool hasRun = false;
    for (const Method& method : methods)
    {
        record.solver = method.name;
        const std::optional<IterationEnd> end = RepeatWithinMemory(task, method, record);
        hasRun = hasRun || end;
        record.reason = end ? L"" : L"memory cannot hold what the preconditioner takes";
        if (!end)
            continue;
        if (record.outcome == SolveOutcome::NotConverged)
            record.reason =
                L"not converged in " + std::to_wstring(record.iterations) + L" iterations";
        if (record.outcome == SolveOutcome::Solved || record.outcome == SolveOutcome::NotConverged)
            return;
        record.reason = ReasonText(*end);
        if (*end == IterationEnd::Reached)
            return; // no other method would be more accurate
        KVI_LOG(kvi::diag::verbose, kvi::diag::kMathCategory,
                L"%s: given up after %d iterations, %s", method.name, record.iterations,
                record.reason);
    }
    if (!hasRun)
        throw std::bad_alloc();
    record.equation = noPivot;
    if (noPivot >= 0)
        record.reason += L"; equation " + std::to_wstring(noPivot) + L" has no diagonal";
}

/// A power of two near the largest entry, 1 while the numbers are moderate.
double Scale(const Vec& b)
{
    const double largest = MaxNorm(b.data(), b.size());
    return largest == 0 || (largest > 1e-60 && largest < 1e60)
               ? 1.0
               : std::ldexp(1.0, std::clamp(std::ilogb(largest), -1000, 1000));
}

/// The solution for a zero right side; the unknowns of all-zero rows stay.
void ZeroUnknowns(const MatrixView& A, double* x)
{
    for (int i = 0; i < A.n; ++i)
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            if (A.values[k] != 0)
                x[i] = 0;
}

SolveRecord Solve(const MatrixView& A, const double* b, double* x, double tol, int maxIter,
                  KrylovCache& cache, Methods methods, SolveRecord record)
{
    const auto size = std::size_t(A.n);
    if (const int bad = FirstNotFinite(A, b); bad >= 0)
    {
        record = RefuseNotFinite(bad, std::move(record));
        record.tolerance = record.residual;
        return record;
    }
    Storage& storage = cache.Get();
    storage.b.assign(b, b + size);
    storage.r.resize(size);
    const Findings found = Examine(A, storage.b.data());
    const double scale = Scale(storage.b);
    ForBlocks(A.n, [=, right = storage.b.data()](int, int begin, int end) {
        for (int i = begin; i < end; ++i)
        {
            right[i] /= scale;
            x[i] = IsFinite(x + i, 1) ? x[i] / scale : 0.0;
        }
    });
    const double norm = Norm2(A.n, storage.b.data());
    if (norm == 0)
        ZeroUnknowns(A, x);
    const double wanted = tol > 0 ? tol : 0.0;
    const double cancelled = std::max(wanted, kCancelled);
    const double rowWiseLimit = std::sqrt(std::max(wanted, kCancelled));
    const Task task{A,
                    storage.b.data(),
                    x,
                    wanted * norm,
                    1e-16 * norm,
                    cancelled,
                    rowWiseLimit,
                    std::max(maxIter, 0),
                    storage,
                    cache};
    Iterate(task, methods, found.noPivot, record);
    ForBlocks(A.n, [=](int, int begin, int end) {
        for (int i = begin; i < end; ++i)
            x[i] *= scale;
    });
    if (found.unsolvable >= 0)
    {
        record.outcome = SolveOutcome::Singular;
        record.looseModes = 1;
        record.equation = found.unsolvable;
        record.reason = L"the row of the equation is zero, its right side is not";
    }
    const SolutionErrors errors = MeasureErrors(A, b, x, storage.r.data(), cancelled);
    record.tolerance = errors.residual;
    Judge(A, errors, record, rowWiseLimit);
    cache.Advice().Conclude(A, record);
    return record;
}

SolveRecord Guarded(const MatrixView& A, const double* b, double* x, double tol, int maxIter,
                    KrylovCache& cache, SolveMethod method)
{
    SolveRecord record;
    record.method = method;
    if (A.n <= 0)
        return record;
    try
    {
        const Methods methods =
            method == SolveMethod::IterativeSymmetric ? SymmetricMethods() : NonSymmetricMethods(A);
        record.solver = methods[0].name;
        return Solve(A, b, x, tol, maxIter, cache, methods, record);
    }
    catch (const std::bad_alloc&)
    {
        cache.Clear();
        return RefuseTooLarge(L"memory cannot hold what the iteration takes", std::move(record));
    }
}

} // namespace

SolveRecord SolveKrylovSymmetric(const MatrixView& A, const double* b, double* x, double tol,
                                 int maxIter, KrylovCache& cache)
{
    return Guarded(A, b, x, tol, maxIter, cache, SolveMethod::IterativeSymmetric);
}

SolveRecord SolveKrylovNonSymmetric(const MatrixView& A, const double* b, double* x, double tol,
                                    int maxIter, KrylovCache& cache)
{
    return Guarded(A, b, x, tol, maxIter, cache, SolveMethod::IterativeNonSymmetric);
}

} // namespace numerics
