#include "numerics/direct/Profile.h"

#include "numerics/direct/ProfileTiles.h"
#include "numerics/system/StopRequest.h"
#include "numerics/system/Threads.h"
#include "numerics/system/Verdict.h"
#include "parallel/For.h"
#include "platform/platform_cpu.h"
#include "platform/platform_park.h"

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

/// A pivot below this fraction of the magnitudes of its terms has no correct digit.
constexpr double kNoDigits = 16 * std::numeric_limits<double>::epsilon();
/// One below this fraction may be rounding only: large models accumulate more of it.
constexpr double kSuspect = 1e-11;

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
    ForMirrors(A, [&](int k, int m) { mirror_[std::size_t(k)] = m; });
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
    const StopRequest* const stop = StopRequest::Current();
    double pivotLimit = kNoDigits;
    std::vector<double> sizes; ///< of each row, the magnitudes that its pivot is made of
    std::vector<std::atomic<bool>> done;
    std::atomic<std::size_t> nextRow{0};
    std::atomic<std::size_t> skewed{kNone}; ///< first row that differs from its column

    Run(ProfileSolver& solver_, const MatrixView& A_, bool symmetric_, double* y_)
        : solver(solver_), A(A_), symmetric(symmetric_), y(y_), sizes(solver_.TileRows() * kTile),
          done(solver_.TileRows())
    {
    }

    /// The values of A in the row of tiles: W the lower triangle, Z the upper one transposed; W
    /// holds the whole diagonal tile.
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
            if (i >= A.n) // past the last equation: a unit matrix
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
        }
    }

    void Await(std::size_t J) const
    {
        // A row takes microseconds, a yield on a busy machine another program's time slice.
        constexpr int kSpins = 1000; // some tens of microseconds
        for (int spins = 0; !done[J].load(std::memory_order_acquire); ++spins)
            if (spins < kSpins)
                platform::SpinPause();
            else
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
        const std::size_t diagonal = (I - first) * kTileSize;
        UpdateDiagonal(W, U, steps, I);
        kernels.factorise(W + diagonal, sizes.data() + I * kTile, pivotLimit, L + diagonal,
                          symmetric ? nullptr : U + diagonal,
                          solver.inversePivots_.data() + I * kTile);
        kernels.forward(L, steps, y + first * kTile, y + I * kTile);
        done[I].store(true, std::memory_order_release);
    }

    /// Completes the diagonal tile, and finds the magnitudes of its pivots' terms so far.
    void UpdateDiagonal(double* W, const double* U, std::ptrdiff_t steps, std::size_t I)
    {
        double* const size = sizes.data() + I * kTile;
        double* const tile = W + steps * kTile;
        double before[kTile];
        for (int r = 0; r < kTile; ++r)
            size[r] = std::fabs(before[r] = tile[r * (kTile + 1)]);
        // Pivots of one sign all subtract: their sum is the reduction of the diagonal.
        const double* const inverse = solver.inversePivots_.data() + I * kTile;
        const bool areAllPositive =
            symmetric && std::all_of(inverse - steps, inverse, [](double p) { return p >= 0; });
        if (!areAllPositive)
            kernels.measure(W, U, steps, size);
        kernels.update(W, U, steps);
        for (int r = 0; areAllPositive && r < kTile; ++r)
            size[r] += std::fabs(before[r] - tile[r * (kTile + 1)]);
    }

    static void NoteFirst(std::atomic<std::size_t>& first, std::size_t i)
    {
        std::size_t seen = first.load();
        while (i < seen && !first.compare_exchange_weak(seen, i))
        {
        }
    }

    /// The part of one thread: the next row of tiles, until there is none. A row waits only for
    /// earlier rows, which are already begun, so the work progresses with any number of threads.
    void Work(std::size_t widest)
    {
        AlignedBuffer work;
        double* const W = work.Reserve((widest + 1) * kTileSize * (symmetric ? 1 : 2));
        for (std::size_t I = nextRow++; I < solver.TileRows(); I = nextRow++)
            if (stop != nullptr && stop->IsMade())
                done[I].store(true, std::memory_order_release); // others may be waiting for it
            else
                Factorise(I, W, W + (widest + 1) * kTileSize);
    }
};

/// x = A^-1 x with the current factors; x has whole tiles.
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

/// Factorises on as many threads as are worth it; y becomes L^-1 b.
void ProfileSolver::Factorise(Run& run, int threads)
{
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
    StopRequest::ThrowIfMade(run.stop);
}

/// Is the mode in which this unknown is 1 and later ones are 0 resisted by rounding only? It is
/// improved by one step of inverse iteration, then checked against A itself.
bool ProfileSolver::IsLoose(const MatrixView& A, bool symmetric, std::size_t equation)
{
    constexpr double kRounding = 64 * std::numeric_limits<double>::epsilon();
    const TileKernels& kernels = Kernels();
    const double* U = symmetric ? lower_.Data() : upper_.Data();
    std::vector<double> motion(TileRows() * kTile), r(std::size_t(A.n));
    const Vec zero(std::size_t(A.n));
    motion[equation] = 1;
    for (std::size_t I = TileRows(); I-- > 0;)
        kernels.backward(U + Start(I), std::ptrdiff_t(Width(I)) * kTile,
                         motion.data() + std::size_t(firstTile_[I]) * kTile,
                         motion.data() + I * kTile);
    const auto isFree = [&] {
        return MeasureErrors(A, zero.data(), motion.data(), r.data()).rowWise <= kRounding;
    };
    if (isFree())
        return true;
    if (inversePivots_[equation] == 0)
        return false;
    Substitute(symmetric, motion.data());
    return isFree();
}

/// Examines the pivots that are held at 0 or at most @p limit of their terms' magnitudes: reports
/// Singular with the number of unconstrained modes, ZeroPivot where a pivot is zero although the
/// matrix is not singular there.
void ProfileSolver::FindLooseModes(const Run& run, double limit, SolveRecord& record)
{
    constexpr int kMostModes = 16; // searched at most; each costs two substitutions
    for (std::size_t i = 0; i < std::size_t(run.A.n) && record.looseModes < kMostModes; ++i)
    {
        const double inverse = inversePivots_[i];
        if (IsEmptyRow(run.A, int(i)) || std::fabs(inverse) * limit * run.sizes[i] < 1)
            if (inverse != 0 || IsEmptyRow(run.A, int(i)))
                continue;
        if (IsLoose(run.A, run.symmetric, i))
        {
            if (record.looseModes++ > 0)
                continue;
            record.outcome = SolveOutcome::Singular;
            record.equation = int(i);
            record.reason = L"nothing holds this unknown, which is set to 0";
        }
        else if (inverse == 0)
        {
            record.outcome = SolveOutcome::ZeroPivot;
            record.equation = int(i);
            record.looseModes = 0;
            record.reason = L"a pivot is zero within rounding; its unknown is set to 0";
            return;
        }
    }
}

SolveRecord ProfileSolver::Compute(const MatrixView& A, bool symmetric, const double* b, double* x,
                                   int threads)
{
    SolveRecord record;
    lower_.Reserve(TileRows() == 0 ? 0 : endTile_.back() * kTileSize);
    if (!symmetric)
        upper_.Reserve(TileRows() == 0 ? 0 : endTile_.back() * kTileSize);
    inversePivots_.assign(TileRows() * kTile, 1);
    std::vector<double> y(TileRows() * kTile);
    const auto factorise = [&](Run& run) {
        std::copy(b, b + A.n, y.begin());
        std::fill(y.begin() + A.n, y.end(), 0.0);
        Factorise(run, threads);
    };
    Run run(*this, A, symmetric, y.data());
    factorise(run);
    FindLooseModes(run, kSuspect, record);
    if (record.outcome == SolveOutcome::Singular)
    {
        // Again with the loose unknowns held at 0: correct where their loads balance.
        Run held(*this, A, symmetric, y.data());
        held.pivotLimit = kSuspect;
        factorise(held);
    }
    SubstituteBack(symmetric, y.data());
    std::copy(y.begin(), y.begin() + A.n, x);
    const auto correct = [&](double* r) {
        std::copy(r, r + A.n, y.begin());
        std::fill(y.begin() + A.n, y.end(), 0.0);
        Substitute(symmetric, y.data());
        std::copy(y.begin(), y.begin() + A.n, r);
    };
    if (record.outcome == SolveOutcome::Solved && symmetric && run.skewed != kNone)
    {
        record.outcome = SolveOutcome::Failed;
        record.equation = int(run.skewed);
        record.reason = L"the matrix is not symmetric; its lower triangle was not read";
    }
    Judge(A, Refine(A, b, x, correct, record.outcome == SolveOutcome::Solved ? 5 : 0), record);
    return record;
}

SolveRecord ProfileSolver::Solve(const MatrixView& A, bool symmetric, const double* b, double* x,
                                 int threads)
{
    SolveRecord record;
    const auto refuse = [&](const wchar_t* reason) {
        record = RefuseTooLarge(reason);
        std::fill(x, x + A.n, std::numeric_limits<double>::quiet_NaN());
    };
    const wchar_t* const noMemory = L"memory cannot hold the profile";
    try
    {
        const int notFinite = FirstNotFinite(A, b);
        if (stale_ && !MakeProfile(A))
            refuse(L"the profile would hold more than 2^31 - 1 entries");
        else if (stale_ = false; notFinite >= 0)
        {
            record = RefuseNotFinite(notFinite, record);
            std::fill(x, x + A.n, std::numeric_limits<double>::quiet_NaN());
        }
        else
            record = Compute(A, symmetric, b, x, threads);
    }
    catch (const std::bad_alloc&)
    {
        refuse(noMemory);
    }
    catch (const std::length_error&)
    {
        refuse(noMemory);
    }
    record.method = symmetric ? SolveMethod::ProfileSymmetric : SolveMethod::ProfileNonSymmetric;
    record.solver = L"profile";
    return record;
}

} // namespace numerics
