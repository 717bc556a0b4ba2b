#include "numerics/solve/Krylov.h"

#include "numerics/solve/IncompleteFactor.h"
#include "numerics/solve/KrylovIteration.h"
#include "numerics/solve/Multigrid.h"
#include "numerics/system/Product.h"

#include <cmath>
#include <limits>
#include <new>

namespace numerics
{

struct KrylovCache::Storage
{
    std::vector<Vec> work;
    Multigrid multigrid;
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
    int noPivot = -1;    ///< first row with entries but without a diagonal
};

/// Sets the right side of all-zero rows to 0 in @p b, so that their unknowns stay as they are.
Findings Examine(const MatrixView& A, double* b)
{
    Findings found;
    for (int i = 0; i < A.n; ++i)
    {
        double sum = 0, diagonal = 0; // of magnitudes: finite only if all are
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        {
            sum += std::abs(A.values[k]);
            diagonal += A.columns[k] == i ? std::abs(A.values[k]) : 0.0;
        }
        if (!std::isfinite(sum + std::abs(b[i])))
        {
            found.notFinite = i;
            break;
        }
        if (diagonal == 0 && sum != 0 && found.noPivot < 0)
            found.noPivot = i;
        if (sum != 0)
            continue;
        if (b[i] != 0 && found.unsolvable < 0)
            found.unsolvable = i;
        b[i] = 0;
    }
    return found;
}

using Storage = KrylovCache::Storage;

std::unique_ptr<Preconditioner> MakeDiagonal(const MatrixView& A, Storage&)
{
    return std::make_unique<Diagonal>(A);
}

std::unique_ptr<Preconditioner> MakeIncomplete(const MatrixView& A, Storage&)
{
    return std::make_unique<IncompleteFactor>(A);
}

/// Lends the multigrid levels that the cache keeps.
class Lent : public Preconditioner
{
public:
    explicit Lent(Multigrid& multigrid) : multigrid_(multigrid) {}
    void Apply(const double* r, double* z) override { multigrid_.Apply(r, z); }

private:
    Multigrid& multigrid_;
};

std::unique_ptr<Preconditioner> MakeMultigrid(const MatrixView& A, Storage& storage)
{
    storage.multigrid.Build(A);
    return std::make_unique<Lent>(storage.multigrid);
}

/// An iteration with its preconditioner.
struct Method
{
    const wchar_t* name;
    IterationEnd (*iterate)(IterationRun&, std::vector<Vec>&);
    std::unique_ptr<Preconditioner> (*precondition)(const MatrixView&, Storage&);
    int patience;
};

/// What is tried, in this order, until one does not break down.
using Methods = const Method (&)[2];
constexpr Method kSymmetric[] = {
    {L"conjugate gradients with multigrid", RunConjugateGradients, MakeMultigrid, 200},
    {L"conjugate gradients with the diagonal", RunConjugateGradients, MakeDiagonal, 1000},
};
constexpr Method kNonSymmetric[] = {
    {L"BiCGSTAB with multigrid", RunBiCgStab, MakeMultigrid, 100},
    {L"BiCGSTAB with incomplete factors", RunBiCgStab, MakeIncomplete, 400},
};

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

/// The system brought to a right side near 1, and the residual that counts.
struct Task
{
    const MatrixView& A;
    const double* b;
    double* x;
    double size; ///< 2-norm of b
    double target;
    double floor; ///< below it the residual that an iteration carries along says nothing
    int allowed;
    Storage& storage;
};

/// Below this 2-norm a computed residual is made of rounding errors.
double RoundingLevel(const MatrixView& A, const double* b, const double* x)
{
    Vec sums(std::size_t(A.n));
    ForBlocks(A.n, [&](int, int begin, int end) {
        for (int i = begin; i < end; ++i)
        {
            double sum = std::abs(b[i]);
            for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
                sum += std::abs(A.values[k] * x[A.columns[k]]);
            sums[std::size_t(i)] = sum;
        }
    });
    return 32 * std::numeric_limits<double>::epsilon() * Norm2(A.n, sums.data());
}

/// Repeats an iteration until the residual computed from x itself fulfils the target.
/// @returns how the last run ended
IterationEnd Repeat(const Task& task, const Method& method, SolveRecord& record)
{
    const int n = task.A.n;
    double* r = task.storage.r.data();
    std::unique_ptr<Preconditioner> M;
    double before = std::numeric_limits<double>::infinity();
    IterationEnd end = IterationEnd::OutOfSteps;
    for (;;)
    {
        Residual(task.A, task.b, task.x, r);
        const double norm = Norm2(n, r);
        record.outcome = SolveOutcome::Solved;
        if (norm <= task.target || (end == IterationEnd::Reached && norm <= 1e-3 * task.size &&
                                    norm <= RoundingLevel(task.A, task.b, task.x)))
            return end;
        record.outcome = SolveOutcome::NotConverged;
        if (record.iterations >= task.allowed)
            return end;
        // A new start pays while it brings down what rounding has left.
        record.outcome = SolveOutcome::Breakdown;
        if (end != IterationEnd::OutOfSteps && !(norm < 0.5 * before))
            return end;
        before = norm;
        if (!M)
            M = method.precondition(task.A, task.storage);
        IterationRun run{task.A,
                         *M,
                         std::max(task.target, task.floor),
                         task.allowed - record.iterations,
                         task.x,
                         r,
                         method.patience};
        end = method.iterate(run, task.storage.work);
        record.iterations += run.steps;
        // What overflowed is of no use to anybody.
        for (int i = 0; i < n; ++i)
            task.x[i] = std::isfinite(task.x[i]) ? task.x[i] : 0.0;
    }
}

void Iterate(const Task& task, Methods methods, int noPivot, SolveRecord& record)
{
    for (const Method& method : methods)
    {
        record.solver = method.name;
        const IterationEnd end = Repeat(task, method, record);
        record.reason.clear();
        if (record.outcome == SolveOutcome::NotConverged)
            record.reason =
                L"not converged in " + std::to_wstring(record.iterations) + L" iterations";
        if (record.outcome != SolveOutcome::Breakdown)
            return;
        record.reason = ReasonText(end);
        if (end == IterationEnd::Reached)
            return; // no other method has more digits
    }
    record.equation = noPivot;
    if (noPivot >= 0)
        record.reason += L"; equation " + std::to_wstring(noPivot) + L" has no diagonal";
}

/// A power of two near the largest entry, 1 while the numbers are moderate.
double Scale(const Vec& b)
{
    double largest = 0;
    for (const double entry : b)
        largest = std::max(largest, std::abs(entry));
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

/// Relative residual of x under the right side as it was given.
void MeasureResidual(const MatrixView& A, const double* b, const double* x, Vec& r,
                     SolveRecord& record)
{
    Residual(A, b, x, r.data());
    const double scale = Norm2(A.n, b);
    const double norm = Norm2(A.n, r.data());
    record.residual = scale > 0 ? norm / scale : norm;
    record.tolerance = record.residual;
}

SolveRecord NotFinite(int equation, SolveRecord record)
{
    record.outcome = SolveOutcome::NotFinite;
    record.equation = equation;
    record.reason = L"the row or the right side of equation " + std::to_wstring(equation) +
                    L" holds a value that is not finite";
    record.residual = record.tolerance = std::numeric_limits<double>::quiet_NaN();
    return record;
}

SolveRecord Solve(const MatrixView& A, const double* b, double* x, double tol, int maxIter,
                  Storage& storage, Methods methods, SolveRecord record)
{
    const auto size = std::size_t(A.n);
    storage.b.assign(b, b + size);
    storage.r.resize(size);
    const Findings found = Examine(A, storage.b.data());
    if (found.notFinite >= 0)
        return NotFinite(found.notFinite, record);
    const double scale = Scale(storage.b);
    for (std::size_t i = 0; i < size; ++i)
    {
        storage.b[i] /= scale;
        x[i] = std::isfinite(x[i]) ? x[i] / scale : 0.0;
    }
    const double norm = Norm2(A.n, storage.b.data());
    if (norm == 0)
        ZeroUnknowns(A, x);
    const double target = tol > 0 ? tol * norm : 0.0;
    const Task task{A,      storage.b.data(), x, norm, target, 1e-16 * norm, std::max(maxIter, 0),
                    storage};
    Iterate(task, methods, found.noPivot, record);
    for (std::size_t i = 0; i < size; ++i)
        x[i] *= scale;
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
                    KrylovCache& cache, Methods methods, SolveMethod method)
{
    SolveRecord record;
    record.method = method;
    record.solver = methods[0].name;
    if (A.n <= 0)
        return record;
    try
    {
        return Solve(A, b, x, tol, maxIter, cache.Get(), methods, record);
    }
    catch (const std::bad_alloc&)
    {
        cache.Clear();
        record.outcome = SolveOutcome::TooLarge;
        record.reason = L"memory cannot hold what the iteration takes";
        return record;
    }
}

} // namespace

SolveRecord SolveKrylovSymmetric(const MatrixView& A, const double* b, double* x, double tol,
                                 int maxIter, KrylovCache& cache)
{
    return Guarded(A, b, x, tol, maxIter, cache, kSymmetric, SolveMethod::IterativeSymmetric);
}

SolveRecord SolveKrylovNonSymmetric(const MatrixView& A, const double* b, double* x, double tol,
                                    int maxIter, KrylovCache& cache)
{
    return Guarded(A, b, x, tol, maxIter, cache, kNonSymmetric, SolveMethod::IterativeNonSymmetric);
}

} // namespace numerics
