#include "numerics/numerics_Krylov.h"

#include "numerics/numerics_KrylovIteration.h"

#include <cmath>
#include <new>

namespace math::impl
{

struct KrylovCache::Storage
{
    std::vector<Vec> work;
    Vec b, r;
};

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

class Diagonal : public Preconditioner
{
public:
    explicit Diagonal(const MatrixView& A) : inverse_(std::size_t(A.n), 1.0)
    {
        for (int i = 0; i < A.n; ++i)
            for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
                if (A.columns[k] == i && A.values[k] != 0)
                    inverse_[std::size_t(i)] = 1 / A.values[k];
    }

    void Apply(const double* r, double* z) override
    {
        for (std::size_t i = 0; i < inverse_.size(); ++i)
            z[i] = inverse_[i] * r[i];
    }

private:
    Vec inverse_;
};

/// What a look over the data finds before anything is computed.
struct Findings
{
    int notFinite = -1;  ///< first equation with NaN or infinity in its row or right side
    int unsolvable = -1; ///< first all-zero row under a right side that is not zero
};

/// Sets the right side of all-zero rows to 0 in @p b, so that their unknowns stay as they are.
Findings Examine(const MatrixView& A, double* b)
{
    Findings found;
    for (int i = 0; i < A.n && found.notFinite < 0; ++i)
    {
        double sum = 0; // of magnitudes: finite only if all are, or they overflow together
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            sum += std::abs(A.values[k]);
        if (!std::isfinite(sum + std::abs(b[i])))
            found.notFinite = i;
        if (sum != 0)
            continue;
        if (b[i] != 0 && found.unsolvable < 0)
            found.unsolvable = i;
        b[i] = 0;
    }
    return found;
}

using Iterate = IterationEnd (*)(IterationRun&, std::vector<Vec>&);

const wchar_t* ReasonText(IterationEnd end)
{
    switch (end)
    {
    case IterationEnd::NotDefinite:
        return L"the matrix is not definite";
    case IterationEnd::ZeroProduct:
        return L"a product of the iteration is zero";
    default:
        return L"the residual does not get smaller";
    }
}

/// Repeats the iteration until the residual computed from x itself fulfils the target.
class Attempt
{
public:
    Attempt(const MatrixView& A, const double* b, double* x, double tol, int maxIter,
            KrylovCache::Storage& storage)
        : A_(A), b_(b), x_(x), storage_(storage), allowed_(maxIter > 0 ? maxIter : 0),
          target_((tol > 0 ? tol : 0.0) * Norm2(A.n, b))
    {
    }

    void Run(Iterate iterate, Preconditioner& M, SolveRecord& record)
    {
        double before = std::numeric_limits<double>::infinity();
        IterationEnd end = IterationEnd::OutOfSteps;
        for (;;)
        {
            BlockResidual(A_, b_, x_, storage_.r.data());
            const double norm = Norm2(A_.n, storage_.r.data());
            if (norm <= target_)
            {
                record.outcome = SolveOutcome::Solved;
                return;
            }
            if (record.iterations >= allowed_)
            {
                record.outcome = SolveOutcome::NotConverged;
                record.reason =
                    L"not converged in " + std::to_wstring(record.iterations) + L" iterations";
                return;
            }
            // A new start pays while it brings down what rounding has left.
            if (!(norm < 0.5 * before) || end == IterationEnd::NotDefinite)
            {
                record.outcome = SolveOutcome::Breakdown;
                record.reason = ReasonText(end);
                return;
            }
            before = norm;
            IterationRun run{A_, M, target_, allowed_ - record.iterations, x_, storage_.r.data()};
            end = iterate(run, storage_.work);
            record.iterations += run.steps;
        }
    }

private:
    const MatrixView& A_;
    const double* b_;
    double* x_;
    KrylovCache::Storage& storage_;
    int allowed_;
    double target_;
};

/// Relative residual of x under the right side as it was given.
void MeasureResidual(const MatrixView& A, const double* b, const double* x, Vec& r,
                     SolveRecord& record)
{
    BlockResidual(A, b, x, r.data());
    const double scale = Norm2(A.n, b);
    const double norm = Norm2(A.n, r.data());
    record.residual = scale > 0 ? norm / scale : norm;
    record.tolerance = record.residual;
}

SolveRecord Solve(const MatrixView& A, const double* b, double* x, double tol, int maxIter,
                  KrylovCache& cache, Iterate iterate, SolveRecord record)
{
    if (A.n <= 0)
        return record;
    KrylovCache::Storage& storage = cache.Get();
    const auto size = std::size_t(A.n);
    storage.b.assign(b, b + size);
    storage.r.resize(size);
    const Findings found = Examine(A, storage.b.data());
    if (found.notFinite >= 0)
    {
        record.outcome = SolveOutcome::NotFinite;
        record.equation = found.notFinite;
        record.reason = L"the row or the right side of equation " +
                        std::to_wstring(found.notFinite) + L" holds a value that is not finite";
        record.residual = record.tolerance = std::numeric_limits<double>::quiet_NaN();
        return record;
    }
    for (std::size_t i = 0; i < size; ++i)
        x[i] = std::isfinite(x[i]) ? x[i] : 0.0;
    Diagonal M(A);
    Attempt(A, storage.b.data(), x, tol, maxIter, storage).Run(iterate, M, record);
    if (found.unsolvable >= 0)
    {
        record.outcome = SolveOutcome::ZeroPivot;
        record.equation = found.unsolvable;
        record.reason = L"the row of equation " + std::to_wstring(found.unsolvable) +
                        L" is zero, its right side is not";
    }
    MeasureResidual(A, b, x, storage.r, record);
    return record;
}

SolveRecord Guarded(const MatrixView& A, const double* b, double* x, double tol, int maxIter,
                    KrylovCache& cache, Iterate iterate, SolveRecord record)
{
    try
    {
        return Solve(A, b, x, tol, maxIter, cache, iterate, record);
    }
    catch (const std::bad_alloc&)
    {
        cache.Clear();
        record.outcome = SolveOutcome::Failed;
        record.reason = L"not enough memory";
        return record;
    }
}

} // namespace

SolveRecord SolveKrylovSymmetric(const MatrixView& A, const double* b, double* x, double tol,
                                 int maxIter, KrylovCache& cache)
{
    SolveRecord record;
    record.method = SolveMethod::IterativeSymmetric;
    record.solver = L"conjugate gradients";
    return Guarded(A, b, x, tol, maxIter, cache, RunConjugateGradients, record);
}

SolveRecord SolveKrylovNonSymmetric(const MatrixView& A, const double* b, double* x, double tol,
                                    int maxIter, KrylovCache& cache)
{
    SolveRecord record;
    record.method = SolveMethod::IterativeNonSymmetric;
    record.solver = L"BiCGSTAB";
    return Guarded(A, b, x, tol, maxIter, cache, RunBiCgStab, record);
}

} // namespace math::impl
