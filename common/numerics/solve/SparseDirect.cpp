#include "numerics/solve/SparseDirect.h"

#include "numerics/solve/AdjacencyGraph.h"
#include "numerics/solve/Equilibration.h"
#include "numerics/solve/Ordering.h"
#include "numerics/solve/PivotedLu.h"
#include "platform/platform_memory.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <utility>

namespace numerics
{
namespace
{

/// Digest of the values' bits.
void Digest(const double* values, std::size_t count, std::uint64_t digest[2])
{
    std::uint64_t lanes[4] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u,
                              0x27D4EB2F165667C5u};
    for (std::size_t k = 0; k < count; ++k)
    {
        std::uint64_t bits = 0;
        std::memcpy(&bits, values + k, sizeof bits);
        std::uint64_t& lane = lanes[k % 4];
        lane = (lane ^ bits) * 0xD6E8FEB86659FD93u;
        lane ^= lane >> 32;
    }
    digest[0] = lanes[0] * 31 + lanes[1] * 131 + count;
    digest[1] = lanes[2] * 31 + lanes[3] * 131;
}

std::wstring Mebibytes(double bytes)
{
    return std::to_wstring(std::llround(bytes / (1 << 20))) + L" MiB";
}

} // namespace

bool SparseDirect::HasPatternOf(const MatrixView& A) const
{
    return rowStart_.size() == std::size_t(A.n) + 1 &&
           std::equal(rowStart_.begin(), rowStart_.end(), A.rowStart) &&
           std::equal(columns_.begin(), columns_.end(), A.columns);
}

void SparseDirect::Analyse(const MatrixView& A, bool isSymmetric)
{
    Clear();
    const CompressedGraph compressed = Compress(A, isSymmetric);
    symbolic_ = numerics::Analyse(compressed, ChooseOrder(compressed.graph));
    for (const Supernode& node : symbolic_.supernodes) // positions within one are 32-bit numbers
        if (node.FactorSize() > std::size_t(std::numeric_limits<int>::max()))
            throw std::bad_alloc();
    factor_.SetStructure(symbolic_, A);
    columns_.assign(A.columns, A.columns + A.rowStart[A.n]);
    rowStart_.assign(A.rowStart, A.rowStart + A.n + 1);
    account_.hasAnalysed = true;
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
    account_.pivots = factor_.Factorise(A, scale_.data(), isSymmetric);
    account_.isSymmetric = isSymmetric;
    account_.hasFactorised = true;
    account_.flops = sides * symbolic_.flops;
    account_.bytes = factor_.Bytes() + (columns_.size() + symbolic_.rows.size()) * sizeof(int);
    return isFactorised_ = true;
}

/// r = A^-1 r by the factor at hand.
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

SolutionErrors SparseDirect::SolveByFactor(const MatrixView& A, const double* b, double* x)
{
    std::copy(b, b + A.n, x);
    Substitute(x);
    // Replaced pivots are made up for by steps that gain about eight digits each; where a pivot has
    // lost many, the last bits of the residual decide over the first ones of x.
    const int steps = account_.pivots.replaced > 0 ? 20 : 5;
    const double enough = account_.pivots.smallest > 1e-8 ? 1e-14 : 1e-16;
    const auto correct = [&](double* r) { Substitute(r); };
    return Refine(A, b, x, correct, steps, enough);
}

/// Is a pivot that rounding may have left a sign that A is singular? The solution z of A z = e for
/// its equation goes along the motion with the least resistance. If A resists it at all, the factor
/// takes A z back to z; what is left of z is what rounding alone holds.
bool SparseDirect::CheckPivots(const MatrixView& A, SolveRecord& record)
{
    const PivotReport& pivots = account_.pivots;
    if (pivots.doubtful == 0)
        return false;
    const std::size_t n = std::size_t(A.n);
    std::vector<double> z(n, 0.0), r(n), none(n, 0.0);
    z[std::size_t(pivots.equation)] = 1;
    Substitute(z.data());
    const SolutionErrors errors = MeasureErrors(A, none.data(), z.data(), r.data());
    Substitute(r.data()); // r = -A z
    double largest = 0, left = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        largest = std::max(largest, std::abs(z[i]));
        left = std::max(left, std::abs(z[i] + r[i]));
    }
    constexpr double kNoDigit = 0.1;
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

SolveRecord SparseDirect::TrySolve(const MatrixView& A, const double* b, double* x)
{
    SolveRecord record;
    if (const int bad = FirstNotFinite(A, b); bad >= 0)
        return RefuseNotFinite(bad, std::move(record));
    if (A.n == 0)
        return record;
    const Symmetry symmetry = FindSymmetry(A);
    if (!HasPatternOf(A))
        Analyse(A, symmetry.ofPattern);
    std::uint64_t digest[2];
    Digest(A.values, std::size_t(A.rowStart[A.n]), digest);
    if (!std::equal(digest, digest + 2, digest_))
        isFactorised_ = needsGeneral_ = false;
    std::copy(digest, digest + 2, digest_);
    if (!isFactorised_ && !Factorise(A, symmetry.ofValues && !needsGeneral_))
        return RefuseSize();
    SolutionErrors errors = SolveByFactor(A, b, x);
    const auto isSolved = [&] { return errors.rowWise <= kSolvedRowWise; };
    bool isSingular = CheckPivots(A, record);
    if (account_.isSymmetric && !isSingular && !isSolved())
    {
        // Other pivots may do better: those of a matrix that is not symmetric come from rows.
        needsGeneral_ = true;
        if (!Factorise(A, false))
            return RefuseSize();
        errors = SolveByFactor(A, b, x);
        isSingular = CheckPivots(A, record);
    }
    if (!isSingular && !isSolved())
    {
        std::vector<double> other(std::size_t(A.n));
        SolutionErrors ofOther;
        if (SolveWithPivoting(A, scale_.data(), b, other.data(), ofOther) &&
            !(ofOther.rowWise >= errors.rowWise))
        {
            std::copy(other.begin(), other.end(), x);
            errors = ofOther;
        }
    }
    Judge(A, errors, record);
    return record;
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
    account_.hasAnalysed = account_.hasFactorised = false;
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
    rowStart_ = {};
    columns_ = {};
    symbolic_ = {};
    factor_ = {};
    scale_ = work_ = {};
    isFactorised_ = needsGeneral_ = false;
}

} // namespace numerics
