#include "numerics/solve/Profile.h"

#include "numerics/solve/BlockVector.h"
#include "numerics/solve/ProfileTiles.h"
#include "numerics/solve/Threads.h"
#include "numerics/system/Product.h"
#include "parallel/For.h"
#include "platform/platform_cpu.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <new>
#include <stdexcept>
#include <thread>

namespace numerics
{
namespace
{

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

const TileKernels& Kernels()
{
    static const TileKernels* const kernels[] = {&sse2::kTileKernels, &avx2::kTileKernels,
                                                 &avx512::kTileKernels};
    return *kernels[platform::SimdLevel()];
}

/// The first equation whose row or right-hand side holds NaN or infinity, -1 for none.
int FindNotFinite(const MatrixView& A, const double* b)
{
    double sum = 0; // of differences that are 0 for finite numbers, otherwise NaN
    for (int k = 0; k < A.rowStart[A.n]; ++k)
        sum += A.values[k] - A.values[k];
    for (int i = 0; i < A.n; ++i)
        sum += b[i] - b[i];
    for (int i = 0; sum != 0 && i < A.n; ++i)
    {
        bool finite = std::isfinite(b[i]);
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            finite = finite && std::isfinite(A.values[k]);
        if (!finite)
            return i;
    }
    return -1;
}

bool IsEmptyRow(const MatrixView& A, int i) { return A.rowStart[i] == A.rowStart[i + 1]; }

} // namespace

std::size_t ProfileSolver::Start(std::size_t tileRow) const
{
    return (tileRow == 0 ? 0 : endTile_[tileRow - 1]) * kTileSize;
}

/// Diagonal addresses, tiles and mirror positions; false when the profile is too large.
bool ProfileSolver::MakeProfile(const MatrixView& A)
{
    const std::size_t n = std::size_t(A.n);
    diagonal_.resize(n);
    firstTile_.assign((n + kTile - 1) / kTile, std::numeric_limits<int>::max());
    long long sum = 0;
    for (int i = 0; i < A.n; ++i)
    {
        const int first = IsEmptyRow(A, i) ? i : std::min(A.columns[A.rowStart[i]], i);
        sum += i - first + 1;
        if (sum > std::numeric_limits<int>::max())
            return false;
        diagonal_[std::size_t(i)] = int(sum - 1);
        int& firstTile = firstTile_[std::size_t(i) / kTile];
        firstTile = std::min(firstTile, first / kTile);
    }
    endTile_.resize(TileRows());
    std::size_t tiles = 0;
    for (std::size_t I = 0; I < TileRows(); ++I)
        endTile_[I] = tiles += Width(I) + 1;
    if (tiles > std::numeric_limits<std::size_t>::max() / (kTileSize * sizeof(double)))
        return false;

    mirror_.assign(std::size_t(A.rowStart[n]), -1);
    std::vector<int> next(A.rowStart, A.rowStart + n); // entry of a row that comes next
    for (int i = 0; i < A.n; ++i)
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1] && A.columns[k] < i; ++k)
        {
            const int j = A.columns[k];
            int& at = next[std::size_t(j)];
            while (at < A.rowStart[j + 1] && A.columns[at] < i)
                ++at;
            if (at < A.rowStart[j + 1] && A.columns[at] == i)
                mirror_[std::size_t(k)] = at;
        }
    return true;
}

/// One factorisation with the forward substitution, shared by its threads.
struct ProfileSolver::Run
{
    ProfileSolver& solver;
    const MatrixView& A;
    const bool symmetric;
    double* const y; ///< b on entry, L^-1 b in the end; whole tiles
    const TileKernels& kernels = Kernels();
    std::vector<double> tiny;
    std::vector<std::atomic<bool>> done;
    std::atomic<std::size_t> nextRow{0};
    std::atomic<std::size_t> smallPivot{kNone}; ///< first equation with a pivot like zero
    std::atomic<std::size_t> skewed{kNone};     ///< first row that differs from its column

    Run(ProfileSolver& solver_, const MatrixView& A_, bool symmetric_, double* y_)
        : solver(solver_), A(A_), symmetric(symmetric_), y(y_), tiny(solver_.TileRows() * kTile),
          done(solver_.TileRows())
    {
    }

    /// The values of A in the row of tiles: W the lower triangle, Z the upper one transposed; the
    /// diagonal tile stands in W whole. Notes below which size a pivot is rounding only.
    void Fill(std::size_t I, double* W, double* Z)
    {
        const std::size_t size = (solver.Width(I) + 1) * kTileSize;
        std::fill(W, W + size, 0);
        if (!symmetric)
            std::fill(Z, Z + size, 0);
        const int firstRow = int(I) * kTile;
        const int firstColumn = solver.firstTile_[I] * kTile;
        for (int r = 0; r < kTile; ++r)
        {
            const int i = firstRow + r;
            if (i >= A.n) // behind the last equation: a unit matrix
            {
                W[(i - firstColumn) * kTile + r] = 1;
                continue;
            }
            double largest = 0, difference = 0;
            for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            {
                largest = std::max(largest, std::fabs(A.values[k]));
                const int j = A.columns[k];
                if (j > i)
                    continue;
                const int at = j == i ? k : solver.mirror_[std::size_t(k)];
                const double mirrored = at < 0 ? 0 : A.values[at];
                difference = std::max(difference, std::fabs(A.values[k] - mirrored));
                W[(j - firstColumn) * kTile + r] = symmetric ? mirrored : A.values[k];
                if (!symmetric && j < firstRow)
                    Z[(j - firstColumn) * kTile + r] = mirrored;
                else if (!symmetric)
                    W[(i - firstColumn) * kTile + j - firstRow] = mirrored;
            }
            constexpr double kRounding = 1e-12; // of sums of the same terms in another order
            if (difference > kRounding * largest)
                NoteFirst(skewed, std::size_t(i));
            const int above = i == 0 ? -1 : solver.diagonal_[std::size_t(i) - 1];
            const int height = solver.diagonal_[std::size_t(i)] - above;
            tiny[std::size_t(i)] = height * std::numeric_limits<double>::epsilon() * largest;
        }
    }

    void Await(std::size_t J) const
    {
        for (int spins = 0; !done[J].load(std::memory_order_acquire); ++spins)
            if (spins > 200)
                std::this_thread::yield();
    }

    void Factorise(std::size_t I, double* W, double* Z)
    {
        Fill(I, W, Z);
        double* const L = solver.lower_.Data() + solver.Start(I);
        double* const U = symmetric ? L : solver.upper_.Data() + solver.Start(I);
        const std::size_t first = std::size_t(solver.firstTile_[I]);
        for (std::size_t J = first; J < I; ++J)
        {
            Await(J);
            const std::size_t from = std::max(first, std::size_t(solver.firstTile_[J]));
            const std::size_t before = (from - first) * kTileSize;
            const std::size_t skipped =
                solver.Start(J) + (from - std::size_t(solver.firstTile_[J])) * kTileSize;
            const std::ptrdiff_t steps = std::ptrdiff_t(J - from) * kTile;
            const double* inverse = solver.inversePivots_.data() + J * kTile;
            double* const scaled = L + (J - first) * kTileSize;
            if (symmetric)
            {
                kernels.eliminate(W + before, solver.lower_.Data() + skipped, steps, inverse,
                                  scaled);
                continue;
            }
            kernels.eliminate(W + before, solver.upper_.Data() + skipped, steps, inverse, scaled);
            kernels.eliminate(Z + before, solver.lower_.Data() + skipped, steps, inverse,
                              U + (J - first) * kTileSize);
        }
        const std::ptrdiff_t steps = std::ptrdiff_t(I - first) * kTile;
        kernels.update(W, U, steps);
        const std::size_t diagonal = (I - first) * kTileSize;
        const int bad = kernels.factorise(W + diagonal, tiny.data() + I * kTile, L + diagonal,
                                          symmetric ? nullptr : U + diagonal,
                                          solver.inversePivots_.data() + I * kTile);
        if (bad < kTile)
            NotePivots(I);
        kernels.forward(L, steps, y + first * kTile, y + I * kTile);
        done[I].store(true, std::memory_order_release);
    }

    /// A pivot like zero is a fault, but not in an equation without coefficients.
    void NotePivots(std::size_t I)
    {
        for (std::size_t i = I * kTile; i < std::min((I + 1) * kTile, std::size_t(A.n)); ++i)
        {
            if (solver.inversePivots_[i] != 0 || IsEmptyRow(A, int(i)))
                continue;
            NoteFirst(smallPivot, i);
            return;
        }
    }

    static void NoteFirst(std::atomic<std::size_t>& first, std::size_t i)
    {
        std::size_t seen = first.load();
        while (i < seen && !first.compare_exchange_weak(seen, i))
        {
        }
    }

    /// The part of one thread: the next row of tiles, until there is none. A row waits only for
    /// rows before it, which somebody has already begun, so the work goes on however few threads
    /// there are.
    void Work(std::size_t widest)
    {
        AlignedBuffer work;
        double* const W = work.Reserve((widest + 1) * kTileSize * (symmetric ? 1 : 2));
        for (std::size_t I = nextRow++; I < solver.TileRows(); I = nextRow++)
            Factorise(I, W, W + (widest + 1) * kTileSize);
    }
};

/// x = A^-1 x with the factors as they stand; x has whole tiles.
void ProfileSolver::Substitute(bool symmetric, double* x)
{
    const TileKernels& kernels = Kernels();
    for (std::size_t I = 0; I < TileRows(); ++I)
        kernels.forward(lower_.Data() + Start(I), std::ptrdiff_t(Width(I)) * kTile,
                        x + std::size_t(firstTile_[I]) * kTile, x + I * kTile);
    SubstituteBack(symmetric, x);
}

/// x = U^-1 D^-1 x
void ProfileSolver::SubstituteBack(bool symmetric, double* x)
{
    const TileKernels& kernels = Kernels();
    const double* U = symmetric ? lower_.Data() : upper_.Data();
    for (std::size_t i = 0; i < TileRows() * kTile; ++i)
        x[i] *= inversePivots_[i];
    for (std::size_t I = TileRows(); I-- > 0;)
        kernels.backward(U + Start(I), std::ptrdiff_t(Width(I)) * kTile,
                         x + std::size_t(firstTile_[I]) * kTile, x + I * kTile);
}

/// Steps of refinement: without pivoting, an indefinite matrix can lose digits that its own
/// factors give back. A step that does not halve the residual is the last, or not taken.
void ProfileSolver::Refine(const MatrixView& A, bool symmetric, const double* b, double* x,
                           int threads)
{
    constexpr double kEnough = 1e-10; // of ||b||; few systems need a step
    constexpr int kSteps = 4;
    const std::size_t n = std::size_t(A.n);
    std::vector<double> r(TileRows() * kTile), better;
    const auto measure = [&](const double* at) {
        Residual(A, b, at, r.data(), threads);
        return Norm2(A.n, r.data());
    };
    const double goal = kEnough * Norm2(A.n, b);
    double norm = measure(x);
    for (int step = 0; step < kSteps && norm > goal; ++step)
    {
        std::fill(r.begin() + A.n, r.end(), 0.0);
        Substitute(symmetric, r.data());
        better.assign(x, x + n);
        for (std::size_t i = 0; i < n; ++i)
            better[i] += r[i];
        const double next = measure(better.data());
        if (!(next < norm))
            return;
        std::copy(better.begin(), better.end(), x);
        if (next > 0.5 * norm)
            return;
        norm = next;
    }
}

SolveRecord ProfileSolver::Compute(const MatrixView& A, bool symmetric, const double* b, double* x,
                                   int threads)
{
    SolveRecord record;
    const std::size_t n = std::size_t(A.n);
    lower_.Reserve(TileRows() == 0 ? 0 : endTile_.back() * kTileSize);
    if (!symmetric)
        upper_.Reserve(TileRows() == 0 ? 0 : endTile_.back() * kTileSize);
    inversePivots_.assign(TileRows() * kTile, 1);
    std::vector<double> y(TileRows() * kTile);
    std::copy(b, b + A.n, y.begin());

    Run run(*this, A, symmetric, y.data());
    std::size_t widest = 0;
    double work = 0;
    for (std::size_t I = 0; I < TileRows(); ++I)
    {
        widest = std::max(widest, Width(I));
        work += double(Width(I)) * double(Width(I));
    }
    constexpr double kWorthThreads = 1000; // products of tiles, about 0.2 ms
    int most = ThreadCount(threads);
    most = work < kWorthThreads ? 1 : std::min(most, int(std::min<std::size_t>(TileRows(), 1024)));
    parallel::ForEach(
        std::size_t(most), [&](std::size_t) { run.Work(widest); }, most);
    SubstituteBack(symmetric, y.data());
    std::copy(y.begin(), y.begin() + A.n, x);
    const bool skewed = symmetric && run.skewed != kNone;
    if (run.smallPivot == kNone && !skewed)
        Refine(A, symmetric, b, x, threads);

    if (const std::size_t equation = run.smallPivot; equation != kNone)
    {
        record.outcome = SolveOutcome::ZeroPivot;
        record.equation = int(equation);
        record.reason = L"a pivot is zero within rounding; its unknown is held at 0";
    }
    else if (skewed)
    {
        record.outcome = SolveOutcome::Failed;
        record.equation = int(run.skewed);
        record.reason = L"the matrix is not symmetric; its lower triangle was not read";
    }
    else if (!std::isfinite(SumNorm(x, n)))
    {
        record.outcome = SolveOutcome::Breakdown;
        record.reason = L"the elimination overflowed";
    }
    for (std::size_t i = 0; i < n; ++i)
        if (IsEmptyRow(A, int(i)) && b[i] != 0 && record.outcome == SolveOutcome::Solved)
        {
            record.outcome = SolveOutcome::ZeroPivot;
            record.equation = int(i);
            record.reason = L"an equation without coefficients has a load";
        }
    return record;
}

SolveRecord ProfileSolver::Solve(const MatrixView& A, bool symmetric, const double* b, double* x,
                                 int threads)
{
    SolveRecord record;
    const auto refuse = [&](SolveOutcome outcome, const wchar_t* reason, int equation = -1) {
        record.outcome = outcome;
        record.equation = equation;
        record.reason = reason;
        std::fill(x, x + A.n, std::numeric_limits<double>::quiet_NaN());
    };
    const wchar_t* const noMemory = L"memory cannot hold the profile";
    try
    {
        const int notFinite = FindNotFinite(A, b);
        if (stale_ && !MakeProfile(A))
            refuse(SolveOutcome::TooLarge, L"the profile would hold more than 2^31 - 1 entries");
        else if (stale_ = false; notFinite >= 0)
            refuse(SolveOutcome::NotFinite, L"the matrix or a load is not finite", notFinite);
        else
            record = Compute(A, symmetric, b, x, threads);
    }
    catch (const std::bad_alloc&)
    {
        refuse(SolveOutcome::TooLarge, noMemory);
    }
    catch (const std::length_error&)
    {
        refuse(SolveOutcome::TooLarge, noMemory);
    }
    record.method = symmetric ? SolveMethod::ProfileSymmetric : SolveMethod::ProfileNonSymmetric;
    record.solver = L"profile";
    return record;
}

} // namespace numerics
