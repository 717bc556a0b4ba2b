#include "numerics/system/Verdict.h"

#include "numerics/system/Product.h"

#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace numerics
{
namespace
{

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kRows = 1024; // of a block; a constant, so that the result depends on no thread

/// max(largest, ratio); @returns whether it became larger
bool Raise(double& largest, double ratio)
{
    const bool isLarger = ratio > largest;
    largest = isLarger ? ratio : largest;
    return isLarger;
}

/// The largest magnitudes in x and b.
struct Largest
{
    double x, b;

    /// Whether an error shows among the loads: an equation that misses so much is not solved, even
    /// if its unknowns are only rounding beside the largest.
    bool IsVisible(double error, double load) const
    {
        constexpr double kPart = 1e-8;
        return (load > 0 && error > kPart * load) || (b > 0 && error > kPart * b);
    }
};

/// The contribution of the rows of one block.
struct BlockErrors
{
    double rowWise = 0;
    int worst = -1;
    double residual = 0, norm = 0; // largest |r|, largest sum of |a|
    double resistance = 0;
    double farResidual = 0, farLoad = 0; // largest |r|, |b| of the equations that x goes far in

    void Take(const BlockErrors& other)
    {
        if (Raise(rowWise, other.rowWise))
            worst = other.worst;
        Raise(residual, other.residual);
        Raise(norm, other.norm);
        Raise(resistance, other.resistance);
        Raise(farResidual, other.farResidual);
        Raise(farLoad, other.farLoad);
    }
    void Add(int i, double r, double b, const RowSizes& row, const Largest& largest,
             double cancelled)
    {
        constexpr double kFar = 1e-6; // of the bound of the row's products
        const double most = row.norm * largest.x, load = std::fabs(b), error = std::fabs(r);
        double terms = row.products + load;
        if (terms <= cancelled * (most + load) && !largest.IsVisible(error, load))
            terms += most;
        if (error > 0 && Raise(rowWise, terms > 0 ? error / terms : 1))
            worst = i;
        Raise(residual, error);
        Raise(norm, row.norm);
        if (row.products > 0 && row.products >= kFar * most)
        {
            Raise(resistance, std::fabs(b - r) / row.products);
            Raise(farResidual, error);
            Raise(farLoad, load);
        }
    }
};

/// @returns the first unknown of the largest magnitude, which goes to @p largest; -1 when all are 0
int Farthest(int n, const double* x, double& largest)
{
    std::vector<int> farthest(std::size_t(BlockCount(n)), -1);
    ForBlocks(n, [&](int block, int begin, int end) {
        double most = 0;
        for (int i = begin; i < end; ++i)
            if (Raise(most, std::fabs(x[i])))
                farthest[std::size_t(block)] = i;
    });
    int first = -1;
    for (const int i : farthest)
        if (i >= 0 && Raise(largest, std::fabs(x[i])))
            first = i;
    return first;
}

SolutionErrors NotANumber() { return {kNaN, -1, kNaN, kNaN, kNaN, kNaN, -1}; }

} // namespace

SolutionErrors MeasureErrors(const MatrixView& A, const double* b, const double* x, double* r,
                             double cancelled)
{
    SolutionErrors errors;
    if (A.n <= 0)
        return errors;
    const auto n = std::size_t(A.n);
    if (!IsFinite(x, n))
    {
        std::fill(r, r + n, kNaN);
        return NotANumber();
    }
    Largest largest = {0, MaxNorm(b, n)};
    errors.farthest = Farthest(A.n, x, largest.x);
    std::vector<BlockErrors> blocks(std::size_t(BlockCount(A.n, kRows)));
    ForBlocks(
        A.n,
        [&](int number, int begin, int end) {
            RowSizes sizes[kRows];
            CheckRows(A, b, x, r, sizes, begin, end);
            for (int i = begin; i < end; ++i)
                blocks[std::size_t(number)].Add(i, r[i], b[i], sizes[i - begin], largest,
                                                cancelled);
        },
        kRows);
    if (!IsFinite(r, n))
        return NotANumber();
    BlockErrors all;
    for (const BlockErrors& block : blocks)
        all.Take(block);
    const double scale = Norm2(A.n, b);
    errors.rowWise = all.rowWise;
    errors.worst = all.worst;
    if (all.residual > 0)
        errors.normWise = all.residual / (all.norm * largest.x + largest.b);
    errors.residual = Norm2(A.n, r) / (scale > 0 ? scale : 1);
    errors.resistance = largest.x > 0 ? all.resistance : 1;
    errors.unbalanced =
        all.farLoad > 0 ? all.farResidual / all.farLoad : double(all.farResidual > 0);
    return errors;
}

bool IsFinite(const double* v, std::size_t n)
{
    const auto isPieceFinite = [v](std::size_t begin, std::size_t end) {
        // The exponent of a number that is not finite is all ones: one more carries into the sign.
        constexpr std::uint64_t kMagnitude = ~std::uint64_t(0) >> 1, kOne = std::uint64_t(1) << 52;
        std::uint64_t carried = 0;
        for (std::size_t i = begin; i < end; ++i)
        {
            std::uint64_t bits;
            std::memcpy(&bits, v + i, sizeof bits);
            carried |= (bits & kMagnitude) + kOne;
        }
        return carried >> 63 == 0;
    };
    constexpr std::size_t kWorthThreads = 50'000, kGrain = 8192;
    if (n < kWorthThreads)
        return isPieceFinite(0, n);
    std::atomic<bool> isFinite = true;
    parallel::For(n, kGrain, [&](std::size_t begin, std::size_t end) {
        if (!isPieceFinite(begin, end))
            isFinite = false;
    });
    return isFinite;
}

int FirstNotFinite(const MatrixView& A, const double* b)
{
    if (A.n <= 0 ||
        (IsFinite(A.values, std::size_t(A.rowStart[A.n])) && IsFinite(b, std::size_t(A.n))))
        return -1;
    for (int i = 0; i < A.n; ++i)
        if (!IsFinite(b + i, 1) ||
            !IsFinite(A.values + A.rowStart[i], std::size_t(A.rowStart[i + 1] - A.rowStart[i])))
            return i;
    return -1;
}

namespace
{

void Conclude(SolveRecord& record, SolveOutcome outcome, int equation, std::wstring reason)
{
    record.outcome = outcome;
    record.equation = equation;
    record.reason = std::move(reason);
}

SolveRecord Refuse(SolveRecord record, SolveOutcome outcome, int equation, std::wstring reason)
{
    Conclude(record, outcome, equation, std::move(reason));
    record.residual = record.rowWiseError = record.normWiseError = kNaN;
    return record;
}

} // namespace

SolveRecord RefuseNotFinite(int equation, SolveRecord record)
{
    return Refuse(std::move(record), SolveOutcome::NotFinite, equation,
                  L"its row or right side holds a value that is not finite");
}

SolveRecord RefuseTooLarge(const wchar_t* reason, SolveRecord record)
{
    return Refuse(std::move(record), SolveOutcome::TooLarge, -1, reason);
}

SolveRecord RefuseStopped()
{
    return Refuse({}, SolveOutcome::Interrupted, -1, L"the solve was stopped on request");
}

bool IsSingularAlong(const SolutionErrors& errors)
{
    // Perturbed pivots of the vendor's solver are 1e-13; rounding in factors grows with their size.
    constexpr double kNoResistance = 1e-12;
    constexpr double kUnbalanced = 1e-2;
    return errors.resistance <= kNoResistance && errors.unbalanced > kUnbalanced;
}

namespace
{

bool IsZeroRow(const MatrixView& A, int i)
{
    for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        if (A.values[k] != 0)
            return false;
    return true;
}

} // namespace

void Judge(const MatrixView& A, const SolutionErrors& errors, SolveRecord& record, double limit)
{
    record.residual = errors.residual;
    record.rowWiseError = errors.rowWise;
    record.normWiseError = errors.normWise;
    record.worstEquation = errors.worst;
    if (record.outcome != SolveOutcome::Solved)
        return;
    if (std::isnan(errors.rowWise))
        return Conclude(record, SolveOutcome::Breakdown, -1, L"the solution is not finite");
    if (errors.worst >= 0 && errors.rowWise > limit && IsZeroRow(A, errors.worst))
    {
        record.looseModes = 1;
        return Conclude(record, SolveOutcome::Singular, errors.worst,
                        L"an equation without coefficients has a load");
    }
    if (IsSingularAlong(errors))
    {
        record.looseModes = 1;
        return Conclude(record, SolveOutcome::Singular, errors.farthest,
                        L"the matrix is singular but for rounding; this unknown is the loosest");
    }
    if (!(errors.rowWise <= limit))
        Conclude(record, SolveOutcome::Stagnated, errors.worst,
                 L"the error of the solution does not get smaller; this equation has the largest");
}

} // namespace numerics
