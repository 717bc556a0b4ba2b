#include "numerics/iterative/Multigrid.h"

#include "numerics/iterative/Aggregation.h"
#include "numerics/iterative/WholeBlocks.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace numerics
{
namespace
{

constexpr int kMostLevels = 40;
constexpr int kDense = 120; ///< largest coarsest matrix that is factorised
/// Of strong couplings, against the strongest of both nodes. With one unknown a node, 0.37 leaves
/// out the diagonal couplings of stretched bilinear elements, 0.25 inside the mesh and 0.354
/// between the two outer rows of nodes of a natural boundary; couplings of several unknowns are
/// less clear-cut, and more of them are needed.
constexpr double kThreshold = 0.37, kThresholdOfBlocks = 0.1;

} // namespace

void CoarseFactor::Factorise(const MatrixView& A)
{
    n_ = A.n;
    const auto n = std::size_t(n_);
    a_.assign(n * n, 0.0);
    row_.resize(n);
    work_.resize(n);
    double largest = 0;
    for (int i = 0; i < n_; ++i)
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        {
            a_[std::size_t(i) * n + std::size_t(A.columns[k])] = A.values[k];
            largest = std::max(largest, std::abs(A.values[k]));
        }
    for (std::size_t k = 0; k < n; ++k)
    {
        std::size_t best = k;
        for (std::size_t i = k + 1; i < n; ++i)
            if (std::abs(a_[i * n + k]) > std::abs(a_[best * n + k]))
                best = i;
        row_[k] = int(best);
        if (best != k)
            for (std::size_t j = 0; j < n; ++j)
                std::swap(a_[best * n + j], a_[k * n + j]);
        double& pivot = a_[k * n + k];
        pivot = std::abs(pivot) > 1e-14 * largest ? 1 / pivot : 0.0;
        for (std::size_t i = k + 1; i < n; ++i)
        {
            const double factor = a_[i * n + k] *= pivot;
            if (factor != 0)
                for (std::size_t j = k + 1; j < n; ++j)
                    a_[i * n + j] -= factor * a_[k * n + j];
        }
    }
}

void CoarseFactor::Solve(double* x) const
{
    const auto n = std::size_t(n_);
    for (std::size_t k = 0; k < n; ++k)
        std::swap(x[k], x[row_[k]]);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < i; ++j)
            x[i] -= a_[i * n + j] * x[j];
    for (std::size_t i = n; i-- > 0;)
    {
        for (std::size_t j = i + 1; j < n; ++j)
            x[i] -= a_[i * n + j] * x[j];
        x[i] *= a_[i * n + i];
    }
}

void Multigrid::Build(const MatrixView& A, RigidBodyModes* modes)
{
    int unknowns = modes ? modes->Unknowns() : UnknownsPerNode(A);
    const double threshold = unknowns == 1 ? kThreshold : kThresholdOfBlocks;
    used_ = 1;
    levels_.resize(std::max<std::size_t>(levels_.size(), 1));
    levels_[0].A = A;
    for (;;)
    {
        const auto at = std::size_t(used_ - 1);
        Level& level = levels_[at];
        level.smoother.Prepare(level.A);
        level.residual.resize(std::size_t(level.A.n));
        hasCoarseFactor_ = level.A.n <= kDense;
        if (hasCoarseFactor_ || used_ == kMostLevels)
            break;
        const Aggregates aggregates = FormAggregates(level.A, unknowns, threshold);
        unknowns = modes ? modes->Modes() : unknowns; // of the coarse level
        const int coarse = aggregates.count * unknowns;
        if (coarse == 0 || coarse > 0.9 * level.A.n)
            break;
        level.P = modes ? SmoothedModes(level.A, aggregates, modes->Restrict(aggregates), unknowns)
                        : SmoothedInterpolation(level.A, aggregates);
        level.R = Transposed(level.P);
        SparseRows product =
            modes ? BlockTripleProduct(level.R, level.A, level.P, {aggregates.unknowns, unknowns})
                  : TripleProduct(level.R, level.A, level.P);
        // Where a component is held in a whole region, nothing is coupled to it there.
        if (unknowns > 1 && !modes && !HasUniformGroups(product.View(), unknowns))
            product = Padded(product, unknowns);
        levels_.resize(std::max(levels_.size(), at + 2));
        Level& next = levels_[at + 1];
        next.owned = std::move(product);
        next.A = next.owned.View();
        next.b.resize(std::size_t(coarse));
        next.x.resize(std::size_t(coarse));
        ++used_;
    }
    if (hasCoarseFactor_)
        coarse_.Factorise(levels_[std::size_t(used_ - 1)].A);
}

void Multigrid::Apply(const double* r, double* z) { Cycle(0, r, z); }

double Multigrid::Entries() const
{
    constexpr double kSweeps = 3; // two, and the residual between them
    double entries = 0;
    for (std::size_t at = 0; at < std::size_t(used_); ++at)
    {
        const Level& level = levels_[at];
        const bool isLast = int(at) == used_ - 1;
        entries += kSweeps * level.A.rowStart[level.A.n];
        entries += isLast ? 0.0 : double(level.P.values.size() + level.R.values.size());
    }
    return entries;
}

void Multigrid::Cycle(std::size_t at, const double* r, double* z)
{
    Level& level = levels_[at];
    const bool isLast = int(at) == used_ - 1;
    if (isLast && hasCoarseFactor_)
    {
        std::copy(r, r + level.A.n, z);
        coarse_.Solve(z);
        return;
    }
    level.smoother.ForwardFromZero(r, z, level.residual.data());
    if (isLast)
    {
        level.smoother.Backward(r, z);
        return;
    }
    Level& next = levels_[at + 1];
    Product(level.R, level.residual.data(), next.b.data());
    Cycle(at + 1, next.b.data(), next.x.data());
    AddProduct(level.P, next.x.data(), z);
    level.smoother.Backward(r, z);
}

} // namespace numerics
