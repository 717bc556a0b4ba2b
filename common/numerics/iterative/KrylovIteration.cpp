#include "numerics/iterative/KrylovIteration.h"

#include "numerics/system/Product.h"
#include "numerics/system/StopRequest.h"

#include <cmath>
#include <limits>

namespace numerics
{
namespace
{

void Resize(std::vector<Vec>& work, std::size_t vectors, int n)
{
    work.resize(std::max(work.size(), vectors));
    for (std::size_t k = 0; k < vectors; ++k)
        work[k].resize(std::size_t(n));
}

} // namespace

bool StagnationCheck::HasStagnated(double norm)
{
    if (!std::isfinite(norm))
        return true;
    if (norm < limit_.part * smallest_)
    {
        smallest_ = norm;
        since_ = 0;
    }
    return ++since_ > limit_.steps;
}

IterationEnd RunConjugateGradients(IterationRun& run, std::vector<Vec>& work)
{
    const int n = run.A.n;
    Resize(work, 4, n);
    double* z = work[0].data();
    double* p = work[1].data();
    double* q = work[2].data();
    double* best = work[3].data();
    double rz = 0, norm = Norm2(n, run.r), smallest = norm;
    bool isBestKept = false;
    StagnationCheck stagnation(norm, run.limit);
    IterationEnd end = IterationEnd::OutOfSteps;
    while (run.steps < run.stepsAllowed)
    {
        StopRequest::ThrowIfCurrent();
        run.M.Apply(run.r, z);
        const double rzNew = Dot(n, run.r, z);
        const double beta = run.steps == 0 ? 0.0 : rzNew / rz;
        rz = rzNew;
        ForBlocks(n, [=, first = run.steps == 0](int, int begin, int blockEnd) {
            for (int i = begin; i < blockEnd; ++i)
                p[i] = first ? z[i] : z[i] + beta * p[i];
        });
        Product(run.A, p, q);
        const double pq = Dot(n, p, q);
        // For a definite matrix and preconditioner both have one sign, and neither is zero.
        const bool isFinite = std::isfinite(rz) && std::isfinite(pq);
        if (!isFinite || (!(rz > 0 && pq > 0) && !(rz < 0 && pq < 0)))
        {
            end = isFinite ? IterationEnd::NotDefinite : IterationEnd::Stalled;
            break;
        }
        const double alpha = rz / pq;
        AddScaled(n, alpha, p, run.x);
        AddScaled(n, -alpha, q, run.r);
        ++run.steps;
        norm = Norm2(n, run.r);
        if (norm <= run.target)
            return IterationEnd::Reached;
        if (norm <= smallest)
        {
            smallest = norm;
            isBestKept = false;
        }
        else if (!isBestKept) // x was best before this step, the first to increase the residual
        {
            ForBlocks(n, [=, x = run.x](int, int begin, int blockEnd) {
                for (int i = begin; i < blockEnd; ++i)
                    best[i] = x[i] - alpha * p[i];
            });
            isBestKept = true;
        }
        if (stagnation.HasStagnated(norm))
        {
            end = IterationEnd::Stalled;
            break;
        }
        run.Observe(norm);
    }
    if (isBestKept)
        std::copy(best, best + n, run.x);
    return end;
}

IterationEnd RunMinRes(IterationRun& run, std::vector<Vec>& work)
{
    constexpr int kLookEvery = 10; // steps; the residual itself is computed only then
    const int n = run.A.n;
    const auto size = std::size_t(n);
    Resize(work, 6, n);
    double *v = work[0].data(), *vBefore = work[1].data(), *z = work[2].data();
    double *w = work[3].data(), *wBefore = work[4].data(), *q = work[5].data();
    const Vec b = [&] { // the run has x and the residual only
        Vec right(size);
        Product(run.A, run.x, right.data());
        AddScaled(n, 1, run.r, right.data());
        return right;
    }();
    std::copy(run.r, run.r + n, v);
    for (double* zero : {vBefore, w, wBefore})
        std::fill(zero, zero + n, 0.0);
    run.M.Apply(v, z);
    double gammaBefore = 1, gamma = std::sqrt(Dot(n, z, v)), eta = gamma;
    double sBefore = 0, s = 0, cBefore = 1, c = 1;
    StagnationCheck stagnation(Norm2(n, run.r), {run.limit.steps / kLookEvery, run.limit.part});
    while (run.steps < run.stepsAllowed && gamma > 0 && std::isfinite(gamma))
    {
        StopRequest::ThrowIfCurrent();
        for (std::size_t i = 0; i < size; ++i)
            z[i] /= gamma;
        Product(run.A, z, q);
        const double delta = Dot(n, q, z);
        ForBlocks(n, [=](int, int begin, int end) {
            for (int i = begin; i < end; ++i)
            {
                const double next = q[i] - delta / gamma * v[i] - gamma / gammaBefore * vBefore[i];
                vBefore[i] = v[i];
                v[i] = next;
            }
        });
        std::copy(z, z + n, q);
        run.M.Apply(v, z);
        const double gammaNext = std::sqrt(std::max(Dot(n, z, v), 0.0));
        const double a0 = c * delta - cBefore * s * gamma;
        const double a1 = std::sqrt(a0 * a0 + gammaNext * gammaNext);
        const double a2 = s * delta + cBefore * c * gamma, a3 = sBefore * gamma;
        if (!(a1 > 0))
            return IterationEnd::ZeroProduct;
        cBefore = c;
        sBefore = s;
        c = a0 / a1;
        s = gammaNext / a1;
        ForBlocks(n, [=, x = run.x](int, int begin, int end) {
            for (int i = begin; i < end; ++i)
            {
                const double next = (q[i] - a3 * wBefore[i] - a2 * w[i]) / a1;
                wBefore[i] = w[i];
                w[i] = next;
                x[i] += c * eta * next;
            }
        });
        eta *= -s;
        gammaBefore = gamma;
        gamma = gammaNext;
        if (++run.steps % kLookEvery != 0)
            continue;
        Residual(run.A, b.data(), run.x, run.r);
        const double norm = Norm2(n, run.r);
        if (norm <= run.target)
            return IterationEnd::Reached;
        if (stagnation.HasStagnated(norm))
            return IterationEnd::Stalled;
        run.Observe(norm);
    }
    return run.steps < run.stepsAllowed ? IterationEnd::Reached : IterationEnd::OutOfSteps;
}

namespace
{

/// The vectors of BiCGSTAB under the names of van der Vorst (1992), SIAM J. Sci. Stat. Comput.
/// 13(2), 631-644.
struct BiCgStab
{
    static constexpr int kProducts = 2;
    IterationRun& run;
    int n;
    double *rHat, *p, *v, *s, *t, *hat, *best;
    double rho = 1, alpha = 1, omega = 1;
    double smallest = 0;

    BiCgStab(IterationRun& given, std::vector<Vec>& work) : run(given), n(given.A.n)
    {
        Resize(work, 8, n);
        double** const names[] = {&rHat, &p, &v, &s, &t, &hat, &best};
        for (std::size_t k = 0; k < std::size(names); ++k)
            *names[k] = work[k].data();
        std::copy(run.r, run.r + n, rHat);
        std::fill(p, p + n, 0.0);
        std::fill(v, v + n, 0.0);
        std::copy(run.x, run.x + n, best);
        smallest = Norm2(n, run.r);
    }

    /// One step. @returns the new norm of the residual; NaN when a product is zero
    double Step()
    {
        const double* r = run.r;
        const double rhoNew = Dot(n, rHat, r);
        if (rhoNew == 0 || omega == 0)
            return kBroken;
        const double beta = run.steps == 0 ? 0.0 : (rhoNew / rho) * (alpha / omega);
        rho = rhoNew;
        ForBlocks(n, [=, this](int, int begin, int end) {
            for (int i = begin; i < end; ++i)
                p[i] = r[i] + beta * (p[i] - omega * v[i]);
        });
        run.M.Apply(p, hat);
        Product(run.A, hat, v);
        const double down = Dot(n, rHat, v);
        if (down == 0)
            return kBroken;
        alpha = rho / down;
        std::copy(r, r + n, s);
        AddScaled(n, -alpha, v, s);
        AddScaled(n, alpha, hat, run.x);
        ++run.steps;
        const double half = Norm2(n, s);
        if (half <= run.target)
        {
            std::copy(s, s + n, run.r);
            return half;
        }
        run.M.Apply(s, hat);
        Product(run.A, hat, t);
        const double tt = Dot(n, t, t);
        omega = tt == 0 ? 0.0 : Dot(n, t, s) / tt;
        AddScaled(n, omega, hat, run.x);
        std::copy(s, s + n, run.r);
        AddScaled(n, -omega, t, run.r);
        return Norm2(n, run.r);
    }
};

} // namespace

IterationEnd RunBiCgStab(IterationRun& run, std::vector<Vec>& work)
{
    BiCgStab state(run, work);
    return RunOscillating(run, state);
}

} // namespace numerics
