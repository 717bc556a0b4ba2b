#include "numerics/iterative/KrylovIteration.h"
#include "numerics/system/Product.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace numerics
{
namespace
{

constexpr int kMostShadows = 4;

/// Numbers from -1 to 1 without a pattern, the same on every machine.
void FillShadow(int number, int n, double* p)
{
    for (int i = 0; i < n; ++i)
    {
        std::uint64_t h = (std::uint64_t(i) * kMostShadows + std::uint64_t(number) + 1) *
                          std::uint64_t(0x9e3779b97f4a7c15);
        h = (h ^ (h >> 31)) * std::uint64_t(0xbf58476d1ce4e5b9);
        h ^= h >> 29;
        p[i] = double(std::int32_t(h >> 32)) / 2147483648.0;
    }
}

/// The vectors under the names of the paper.
struct Idr
{
    static constexpr int kProducts = 1;
    IterationRun& run;
    int n, shadows;
    std::array<double*, kMostShadows> P{}, G{}, U{};
    double *v, *t, *best;
    std::array<std::array<double, kMostShadows>, kMostShadows> M{}; ///< P^T G, lower triangle
    std::array<double, kMostShadows> f{};                           ///< P^T r
    int next = 0; ///< step within the subspace; after those for each shadow the one into the next
    double omega = 1, smallest;

    Idr(IterationRun& given, std::vector<Vec>& work)
        : run(given), n(given.A.n), shadows(std::min(kMostShadows, given.A.n))
    {
        constexpr std::size_t kVectors = 3 * kMostShadows + 3;
        work.resize(std::max(work.size(), kVectors));
        for (std::size_t k = 0; k < kVectors; ++k)
            work[k].resize(std::size_t(n));
        std::size_t vector = 0;
        for (int k = 0; k < shadows; ++k)
        {
            for (auto* group : {&P, &G, &U})
                (*group)[std::size_t(k)] = work[vector++].data();
            for (auto* group : {&G, &U})
                std::fill((*group)[std::size_t(k)], (*group)[std::size_t(k)] + n, 0.0);
            M[std::size_t(k)][std::size_t(k)] = 1;
            MakeShadow(std::size_t(k));
        }
        for (double** other : {&v, &t, &best})
            *other = work[vector++].data();
        std::copy(run.x, run.x + n, best);
        smallest = Norm2(n, run.r);
    }

    /// A direction orthogonal to those before it, of length 1.
    void MakeShadow(std::size_t k)
    {
        FillShadow(int(k), n, P[k]);
        for (std::size_t i = 0; i < k; ++i)
            AddScaled(n, -Dot(n, P[i], P[k]), P[i], P[k]);
        const double norm = Norm2(n, P[k]);
        for (int i = 0; i < n; ++i)
            P[k][i] = norm > 0 ? P[k][i] / norm : 0.0;
    }

    /// One step within the subspace: new G_k = A U_k, orthogonal to the first k shadows, and the
    /// residual orthogonal to one more. @returns the norm of the residual, or kBroken
    double Extend(std::size_t k)
    {
        const auto count = std::size_t(shadows);
        std::array<double, kMostShadows> c{};
        for (std::size_t i = k; i < count; ++i)
        {
            c[i] = f[i];
            for (std::size_t j = k; j < i; ++j)
                c[i] -= M[i][j] * c[j];
            c[i] /= M[i][i];
        }
        std::copy(run.r, run.r + n, v);
        for (std::size_t i = k; i < count; ++i)
            AddScaled(n, -c[i], G[i], v);
        run.M.Apply(v, t);
        double* u = U[k];
        ForBlocks(n, [this, u, ck = c[k]](int, int begin, int end) {
            for (int i = begin; i < end; ++i)
                u[i] = ck * u[i] + omega * t[i];
        });
        for (std::size_t i = k + 1; i < count; ++i)
            AddScaled(n, c[i], U[i], u);
        Product(run.A, u, G[k]);
        for (std::size_t i = 0; i < k; ++i)
        {
            const double alpha = Dot(n, P[i], G[k]) / M[i][i];
            AddScaled(n, -alpha, G[i], G[k]);
            AddScaled(n, -alpha, U[i], u);
        }
        for (std::size_t i = k; i < count; ++i)
            M[i][k] = Dot(n, P[i], G[k]);
        if (M[k][k] == 0)
            return kBroken;
        const double beta = f[k] / M[k][k];
        AddScaled(n, -beta, G[k], run.r);
        AddScaled(n, beta, u, run.x);
        for (std::size_t i = k + 1; i < count; ++i)
            f[i] -= beta * M[i][k];
        return NormOfResidual();
    }

    /// The step into the next subspace. @returns the norm of the residual, or kBroken
    double Descend()
    {
        // Below this cosine of the angle between r and A M^-1 r a longer step keeps the recursion
        // accurate (Sleijpen and van der Vorst 1995).
        constexpr double kCosine = 0.7;
        run.M.Apply(run.r, v);
        Product(run.A, v, t);
        const double tt = Norm2(n, t), tr = Dot(n, t, run.r);
        if (tt == 0 || tr == 0)
            return kBroken;
        const double cosine = std::fabs(tr) / tt / Norm2(n, run.r);
        omega = tr / tt / tt;
        if (cosine < kCosine)
            omega *= kCosine / cosine;
        AddScaled(n, omega, v, run.x);
        AddScaled(n, -omega, t, run.r);
        return NormOfResidual();
    }

    /// Counts the step. Numbers out of their range are no division by zero: infinite.
    double NormOfResidual()
    {
        ++run.steps;
        const double norm = Norm2(n, run.r);
        return std::isnan(norm) ? HUGE_VAL : norm;
    }

    double Step()
    {
        const int k = std::exchange(next, next == shadows ? 0 : next + 1);
        if (k == 0)
            for (std::size_t i = 0; i < std::size_t(shadows); ++i)
                f[i] = Dot(n, P[i], run.r);
        return k < shadows ? Extend(std::size_t(k)) : Descend();
    }
};

} // namespace

IterationEnd RunIdr(IterationRun& run, std::vector<Vec>& work)
{
    Idr state(run, work);
    return RunOscillating(run, state);
}

} // namespace numerics
