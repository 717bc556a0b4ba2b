#include "numerics/iterative/KrylovMethods.h"

#include "foundation/kvidbg.h"
#include "numerics/iterative/IncompleteFactor.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace numerics
{
namespace
{

/// 1 / d for the diagonal matrix that makes the largest entries of D^-1/2 A D^-1/2 near 1: for a
/// definite A approximately its diagonal. Source: Ruiz (2001), Rutherford Appleton Laboratory,
/// RAL-TR-2001-034.
class Diagonal : public Preconditioner
{
public:
    explicit Diagonal(const MatrixView& A) : inverse_(std::size_t(A.n), 1.0)
    {
        Vec scale(std::size_t(A.n), 1.0);
        for (int pass = 0; pass < 5; ++pass)
        {
            for (int i = 0; i < A.n; ++i)
            {
                double largest = 0;
                for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
                    largest = std::max(largest,
                                       std::fabs(A.values[k]) * scale[std::size_t(A.columns[k])]);
                largest *= scale[std::size_t(i)];
                inverse_[std::size_t(i)] = largest > 0 ? 1 / std::sqrt(largest) : 1.0;
            }
            for (std::size_t i = 0; i < scale.size(); ++i)
                scale[i] *= inverse_[i];
        }
        for (std::size_t i = 0; i < scale.size(); ++i)
            inverse_[i] = scale[i] * scale[i];
    }

    void Apply(const double* r, double* z) override
    {
        for (std::size_t i = 0; i < inverse_.size(); ++i)
            z[i] = inverse_[i] * r[i];
    }
    double Entries() const override { return double(inverse_.size()); }

private:
    Vec inverse_;
};

std::unique_ptr<Preconditioner> MakeDiagonal(const MatrixView& A, KrylovCache&)
{
    return std::make_unique<Diagonal>(A);
}

std::unique_ptr<Preconditioner> MakeFactors(const MatrixView& A, const FactorDetail& detail)
{
    auto factors = std::make_unique<IncompleteFactor>(A, detail);
    KVI_LOG(kvi::diag::verbose, kvi::diag::kMathCategory,
            L"incomplete factors of %d equations: %.1f entries for each of the matrix, %.1f MB",
            A.n, double(factors->Stored()) / std::max(1, A.rowStart[A.n]),
            double(factors->Bytes()) / 1e6);
    return factors;
}

std::unique_ptr<Preconditioner> MakeIncomplete(const MatrixView& A, KrylovCache&)
{
    return MakeFactors(A, {1e-3, 20, 0, true});
}

/// For matrices whose skew part dominates, whose factors tolerate little dropping.
std::unique_ptr<Preconditioner> MakeNearlyComplete(const MatrixView& A, KrylovCache&)
{
    constexpr std::size_t kOfMatrix = 15, kOfRows = 200; // at most, entries of the factors
    const std::size_t room =
        std::min(kOfMatrix * std::size_t(A.rowStart[A.n]), kOfRows * static_cast<std::size_t>(A.n));
    return MakeFactors(A, {1e-8, 50, room, false});
}

/// The multigrid levels, which the cache owns.
class Borrowed : public Preconditioner
{
public:
    explicit Borrowed(Multigrid& multigrid) : multigrid_(multigrid) {}
    void Apply(const double* r, double* z) override { multigrid_.Apply(r, z); }
    double Entries() const override { return multigrid_.Entries(); }

private:
    Multigrid& multigrid_;
};

std::unique_ptr<Preconditioner> MakeMultigrid(const MatrixView& A, KrylovCache& cache)
{
    KrylovCache::Storage& storage = cache.Get();
    const UnknownPlaces& places = cache.Places();
    const bool hasModes = places.dimensions > 0;
    if (hasModes)
        storage.blocks.Build(A, places);
    else
        storage.blocks.Build(A);
    const bool isReordered = storage.blocks.IsReordered();
    const MatrixView matrix = isReordered ? storage.blocks.matrix.View() : A;
    if (hasModes)
    {
        RigidBodyModes modes(matrix, places, storage.blocks.from);
        storage.multigrid.Build(matrix, &modes);
    }
    else
        storage.multigrid.Build(matrix);
    if (isReordered)
        return std::make_unique<Reordered>(storage.multigrid, storage.blocks);
    return std::make_unique<Borrowed>(storage.multigrid);
}

constexpr Method kSymmetric[] = {
    {L"conjugate gradients with multigrid", RunConjugateGradients, MakeMultigrid, {200}},
    {L"MINRES with the diagonal", RunMinRes, MakeDiagonal, {2000}},
};
constexpr Method kQuickMultigrid = {
    L"BiCGSTAB with multigrid", RunBiCgStab, MakeMultigrid, {40, 0.1}};
constexpr Method kMultigrid = {L"BiCGSTAB with multigrid", RunBiCgStab, MakeMultigrid, {100}};
constexpr Method kIncomplete = {
    L"IDR(4) with incomplete factors", RunIdr, MakeIncomplete, {100, 0.1}};
constexpr Method kNearlyComplete = {
    L"IDR(4) with nearly complete factors", RunIdr, MakeNearlyComplete, {100, 0.1}};
constexpr Method kNonSymmetric[] = {kQuickMultigrid, kIncomplete, kMultigrid, kNearlyComplete};
constexpr Method kCarried[] = {kIncomplete, kNearlyComplete, kMultigrid};

/// Does the skew part of A outweigh its symmetric off-diagonal part, as where advection dominates
/// diffusion? Coarse levels lose such a part.
bool IsCarried(const MatrixView& A)
{
    constexpr double kSkew = 0.35;
    double skew = 0, symmetric = 0;
    ForMirrors(A, [&](int k, int m) {
        const double mirrored = m < 0 ? 0.0 : A.values[m];
        skew += std::fabs(A.values[k] - mirrored);
        symmetric += std::fabs(A.values[k] + mirrored);
    });
    return skew > kSkew * symmetric;
}

} // namespace

Methods SymmetricMethods() { return kSymmetric; }

Methods NonSymmetricMethods(const MatrixView& A)
{
    return IsCarried(A) ? Methods(kCarried) : Methods(kNonSymmetric);
}

} // namespace numerics
