#include "numerics/direct/SparseDirect.h"

#include "numerics/direct/PivotedLu.h"
#include "numerics/order/AdjacencyGraph.h"
#include "numerics/order/Equilibration.h"
#include "numerics/order/Ordering.h"
#include "numerics/order/WeightedMatching.h"
#include "numerics/system/StopRequest.h"
#include "platform/platform_memory.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <string>
#include <utility>

namespace numerics
{
namespace
{

std::wstring Mebibytes(double bytes)
{
    return std::to_wstring(std::llround(bytes / (1 << 20))) + L" MiB";
}

} // namespace

void SparseDirect::Analyse(const MatrixView& A, bool isSymmetric)
{
    Clear();
    const CompressedGraph compressed = Compress(A, isSymmetric);
    symbolic_ = numerics::Analyse(compressed, ChooseOrder(compressed.graph));
    for (const Supernode& node : symbolic_.supernodes) // positions within one are 32-bit numbers
        if (node.FactorSize() > std::size_t(std::numeric_limits<int>::max()))
            throw std::bad_alloc();
    factor_.SetStructure(symbolic_, A);
    kept_.SetPattern(A);
    cost_.hasAnalysed = true;
}

/// @returns false when the factors will not fit; nothing is touched then
bool SparseDirect::Factorise(const MatrixView& A, bool isSymmetric)
{
    isFactorised_ = false;
    const double sides = isSymmetric ? 1 : 2;
    const double held = double(factor_.Bytes());
    needed_ = sides * sizeof(double) * (double(symbolic_.factorSize) + double(symbolic_.stackSize));
    if (needed_ > double(platform::AvailableMemory()) + held)
        return false;
    scale_ = Equilibrate(A);
    cost_.pivots = factor_.Factorise(A, scale_.data(), isSymmetric);
    cost_.isSymmetric = isSymmetric;
    cost_.hasFactorised = true;
    cost_.flops = sides * symbolic_.flops;
    cost_.bytes = factor_.Bytes() + kept_.Bytes() + symbolic_.rows.size() * sizeof(int);
    return isFactorised_ = true;
}

/// r = A^-1 r by the current factor.
void SparseDirect::Substitute(double* r)
{
    const std::size_t n = symbolic_.order.size();
    work_.resize(n);
    for (std::size_t k = 0; k < n; ++k)
    {
        const std::size_t i = std::size_t(symbolic_.order[k]);
        work_[k] = r[i] * scale_[i];
    }
    factor_.Solve(work_.data(), 1, 0);
    for (std::size_t k = 0; k < n; ++k)
    {
        const std::size_t i = std::size_t(symbolic_.order[k]);
        r[i] = work_[k] * scale_[i];
    }
}

namespace
{

/// Whether @p errors are those of a better x than @p others, which may be NaN: nothing yet.
bool IsBetter(const SolutionErrors& errors, const SolutionErrors& others)
{
    return errors.rowWise < others.rowWise || std::isnan(others.rowWise);
}

/// Solves A x = b by correct(r), r = A^-1 r with a factor that had @p pivots.
template <class Correct>
SolutionErrors SolveRefined(const MatrixView& A, const double* b, double* x, Correct correct,
                            const PivotReport& pivots)
{
    StopRequest::ThrowIfCurrent();
    std::copy(b, b + A.n, x);
    correct(x);
    // Replaced pivots are compensated by steps that gain about eight digits each; where a pivot has
    // lost many, the last bits of the residual determine the leading ones of x.
    const int steps = pivots.replaced > 0 ? 20 : 5;
    const double enough = pivots.smallest > 1e-8 ? 1e-14 : 1e-16;
    return Refine(A, b, x, correct, steps, enough);
}

/// Is a pivot that rounding may have left a sign that A is singular? The solution z of A z = e for
/// its row goes along the motion with the least resistance. A is singular where A z is nothing but
/// rounding of its products (else the factor is a bad one), and the factor does not take A z back
/// to z: what it takes back is what A resists with.
template <class Correct>
bool IsSingular(const MatrixView& A, Correct correct, const PivotReport& pivots, int row,
                SolveRecord& record)
{
    constexpr double kNoDigit = 0.1, kRounding = 1e-10;
    if (pivots.doubtful == 0)
        return false;
    const std::size_t n = std::size_t(A.n);
    std::vector<double> z(n, 0.0), r(n), none(n, 0.0);
    z[std::size_t(row)] = 1;
    correct(z.data());
    const SolutionErrors errors = MeasureErrors(A, none.data(), z.data(), r.data());
    if (!(errors.resistance <= kRounding))
        return false;
    correct(r.data()); // r = -A z
    double largest = 0, left = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        largest = std::max(largest, std::abs(z[i]));
        left = std::max(left, std::abs(z[i] + r[i]));
    }
    if (left < kNoDigit * largest)
        return false;
    record.outcome = SolveOutcome::Singular;
    record.equation = errors.farthest;
    record.looseModes = pivots.doubtful;
    record.reason = L"the matrix is singular but for rounding, " +
                    std::to_wstring(pivots.doubtful) +
                    L" pivots vanish; this unknown is the loosest";
    return true;
}

} // namespace

/// Solves with the diagonal of A as it is. @returns false when the factors will not fit
bool SparseDirect::SolveAsItIs(const MatrixView& A, bool isSymmetric, const double* b, Attempt& to)
{
    if (!isFactorised_ && !Factorise(A, isSymmetric))
        return false;
    const auto correct = [this](double* r) { Substitute(r); };
    to.errors = SolveRefined(A, b, to.x, correct, cost_.pivots);
    to.isSingular = IsSingular(A, correct, cost_.pivots, cost_.pivots.equation, to.record);
    return true;
}

/// A with its rows exchanged and scaled so that the largest values stand on the diagonal.
struct SparseDirect::Matched
{
    Matched(const MatrixView& A, WeightedMatching matching)
        : rowOf(std::move(matching.rowOf)), work(rowOf.size())
    {
        for (const int exponent : matching.rowScale)
            rowScale.push_back(std::ldexp(1.0, exponent));
        for (const int exponent : matching.colScale)
            colScale.push_back(std::ldexp(1.0, exponent));
        for (const int row : rowOf)
        {
            for (int k = A.rowStart[row]; k < A.rowStart[row + 1]; ++k)
            {
                const std::size_t j = std::size_t(A.columns[k]);
                columns.push_back(A.columns[k]);
                values.push_back(std::ldexp(A.values[k], matching.rowScale[std::size_t(row)] +
                                                             matching.colScale[j]));
            }
            rowStart.push_back(int(columns.size()));
        }
    }

    MatrixView View() const
    {
        return {int(rowOf.size()), rowStart.data(), columns.data(), values.data()};
    }
    /// r = A^-1 r
    void Substitute(double* r)
    {
        for (std::size_t i = 0; i < work.size(); ++i)
            work[i] = r[rowOf[i]] * rowScale[std::size_t(rowOf[i])];
        direct.Substitute(work.data());
        for (std::size_t j = 0; j < work.size(); ++j)
            r[j] = work[j] * colScale[j];
    }

    std::vector<int> rowOf;
    std::vector<double> rowScale, colScale, work;
    std::vector<int> rowStart{0}, columns;
    std::vector<double> values;
    SparseDirect direct;
};

SparseDirect::SparseDirect() = default;
SparseDirect::~SparseDirect() = default;

/// Solves with rows exchanged by a weighted matching, where that is better.
void SparseDirect::SolveMatched(const MatrixView& A, const double* b, Attempt& to)
{
    if (matched_ == nullptr)
    {
        WeightedMatching matching = MatchRows(A);
        if (matching.freeRow >= 0)
        {
            to.isSingular = true;
            to.record.outcome = SolveOutcome::Singular;
            to.record.equation = matching.freeRow;
            to.record.looseModes = 1;
            to.record.reason = L"the matrix is singular whatever its values: too few unknowns "
                               L"occur in this equation and others";
            return;
        }
        auto matched = std::make_unique<Matched>(A, std::move(matching));
        const MatrixView view = matched->View();
        matched->direct.Analyse(view, false);
        if (!matched->direct.Factorise(view, false))
        {
            needed_ = matched->direct.needed_;
            throw std::bad_alloc();
        }
        matched_ = std::move(matched);
        cost_.hasAnalysed = cost_.hasFactorised = true;
        cost_.bytes +=
            matched_->direct.cost_.bytes + matched_->values.size() * (sizeof(double) + sizeof(int));
    }
    const PivotReport& pivots = matched_->direct.cost_.pivots;
    cost_.isSymmetric = false;
    cost_.pivots = pivots;
    std::vector<double> x(std::size_t(A.n));
    const auto correct = [this](double* r) { matched_->Substitute(r); };
    const SolutionErrors errors = SolveRefined(A, b, x.data(), correct, pivots);
    if (!IsBetter(errors, to.errors))
        return;
    std::copy(x.begin(), x.end(), to.x);
    to.errors = errors;
    const int column = pivots.equation;
    const int row = column < 0 ? 0 : matched_->rowOf[std::size_t(column)];
    to.isSingular = IsSingular(A, correct, pivots, row, to.record);
}

SolveRecord SparseDirect::TrySolve(const MatrixView& A, const double* b, double* x)
{
    Attempt attempt{x, {}, false, {}};
    if (const int bad = FirstNotFinite(A, b); bad >= 0)
        return RefuseNotFinite(bad, {});
    if (A.n == 0)
        return attempt.record;
    const Symmetry symmetry = FindSymmetry(A);
    if (!kept_.HasPatternOf(A))
        Analyse(A, symmetry.ofPattern);
    if (!kept_.SetValues(A))
    {
        isFactorised_ = needsGeneral_ = false;
        matched_.reset();
    }
    const auto isDone = [&] {
        return attempt.isSingular || attempt.errors.rowWise <= kSolvedRowWise;
    };
    attempt.errors.rowWise = std::numeric_limits<double>::quiet_NaN();
    if (matched_ == nullptr)
    {
        if (!SolveAsItIs(A, symmetry.ofValues && !needsGeneral_, b, attempt))
            return RefuseSize();
        if (cost_.isSymmetric && !isDone())
        {
            // Other pivots may be better: those of a nonsymmetric matrix are chosen from rows.
            needsGeneral_ = true;
            isFactorised_ = false;
            if (!SolveAsItIs(A, false, b, attempt))
                return RefuseSize();
        }
    }
    if (!isDone())
        SolveMatched(A, b, attempt);
    if (!isDone())
    {
        std::vector<double> other(std::size_t(A.n));
        SolutionErrors ofOther;
        if (SolveWithPivoting(A, scale_.data(), b, other.data(), ofOther) &&
            IsBetter(ofOther, attempt.errors))
        {
            std::copy(other.begin(), other.end(), x);
            attempt.errors = ofOther;
        }
    }
    Judge(A, attempt.errors, attempt.record);
    return attempt.record;
}

SolveRecord SparseDirect::RefuseSize() const
{
    SolveRecord record;
    record.outcome = SolveOutcome::TooLarge;
    record.reason = L"memory cannot hold the factors";
    if (needed_ > 0)
        record.reason += L": they take " + Mebibytes(needed_) + L", " +
                         Mebibytes(double(platform::AvailableMemory())) + L" are free";
    record.residual = record.rowWiseError = record.normWiseError =
        std::numeric_limits<double>::quiet_NaN();
    return record;
}

SolveRecord SparseDirect::Solve(const MatrixView& A, const double* b, double* x)
{
    SolveRecord record;
    cost_.hasAnalysed = cost_.hasFactorised = false;
    needed_ = 0;
    try
    {
        record = TrySolve(A, b, x);
    }
    catch (const std::bad_alloc&)
    {
        Clear();
        record = RefuseSize();
    }
    if (record.outcome == SolveOutcome::TooLarge || record.outcome == SolveOutcome::NotFinite)
        std::fill(x, x + A.n, std::numeric_limits<double>::quiet_NaN());
    return record;
}

void SparseDirect::Clear()
{
    kept_ = {};
    symbolic_ = {};
    factor_ = {};
    scale_ = work_ = {};
    isFactorised_ = needsGeneral_ = false;
    matched_.reset();
}

} // namespace numerics
