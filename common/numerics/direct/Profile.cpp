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

/// Rows of tiles and mirror positions; false when the profile is too large.
bool ProfileSolver::MakeProfile(const MatrixView& A)
{
    const std::size_t n = std::size_t(A.n);
    firstColumn_.assign((n + kTile - 1) / kTile, std::numeric_limits<int>::max());
    long long sum = 0;
    for (int i = 0; i < A.n; ++i)
    {
        const int first = IsEmptyRow(A, i) ? i : std::min(A.columns[A.rowStart[i]], i);
        sum += i - first + 1;
        if (sum > std::numeric_limits<int>::max())
            return false;
        int& firstColumn = firstColumn_[std::size_t(i) / kTile];
        firstColumn = std::min(firstColumn, first / kColumnGroup * kColumnGroup);
    }
    startColumn_.assign(TileRows() + 1, 0);
    for (std::size_t I = 0; I < TileRows(); ++I)
        startColumn_[I + 1] = startColumn_[I] + Width(I) + kTile;
    if (startColumn_.back() > std::numeric_limits<std::size_t>::max() / (kTile * sizeof(double)))
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
    /// holds the whole diagonal tile of a non-symmetric A.
    void Fill(std::size_t I, double* W, double* Z)
    {
        const std::size_t size = (solver.Width(I) + kTile) * kTile;
        std::fill(W, W + size, 0);
        if (!symmetric)
            std::fill(Z, Z + size, 0);
        const int firstRow = int(I) * kTile, firstColumn = solver.firstColumn_[I];
        const auto at = [=](int i, int j) {
            return std::ptrdiff_t(j - firstColumn) * kTile + (i - firstRow);
        };
        const double* const values = A.values;
        const int* const columns = A.columns;
        const int* const mirrors = solver.mirror_.data();
        for (int i = firstRow; i < firstRow + kTile; ++i)
        {
            if (i >= A.n) // past the last equation: a unit matrix
            {
                W[at(i, i)] = 1;
                continue;
            }
            int k = A.rowStart[i];
            const int end = A.rowStart[i + 1];
            double largest = 0, difference = 0;
            for (; k < end && columns[k] < i; ++k)
            {
                const int j = columns[k];
                const double value = values[k], mirrored = mirrors[k] < 0 ? 0 : values[mirrors[k]];
                largest = std::max(largest, std::fabs(value));
                difference = std::max(difference, std::fabs(value - mirrored));
                W[at(i, j)] = symmetric ? mirrored : value;
                if (!symmetric)
                    (j < firstRow ? Z[at(i, j)] : W[at(j, i)]) = mirrored;
            }
            if (k < end && columns[k] == i)
                W[at(i, i)] = values[k];
            constexpr double kRounding = 1e-12; // of sums of the same terms in another order
            for (; difference > kRounding * largest && k < end; ++k)
                largest = std::max(largest, std::fabs(values[k]));
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
        double* const L = solver.lower_.data() + solver.Start(I);
        double* const U = symmetric ? L : solver.upper_.data() + solver.Start(I);
        const std::size_t first = std::size_t(solver.firstColumn_[I]);
        for (std::size_t J = first / kTile; J < I; ++J)
        {
            Await(J);
            const std::size_t firstOther = std::size_t(solver.firstColumn_[J]);
            const std::size_t from = std::max(first, firstOther);
            const std::size_t own = (from - first) * kTile;
            const std::size_t other = solver.Start(J) + (from - firstOther) * kTile;
            const std::ptrdiff_t steps = std::ptrdiff_t(J * kTile) - std::ptrdiff_t(from);
            const double* const inverse = solver.inversePivots_.data() + J * kTile;
            const double* const lower = solver.lower_.data() + other;
            if (symmetric)
            {
                kernels.eliminate(W + own, lower, steps, inverse, L + own);
                continue;
            }
            kernels.eliminate(W + own, solver.upper_.data() + other, steps, inverse, L + own);
            kernels.eliminate(Z + own, lower, steps, inverse, U + own);
        }
        FactoriseDiagonal(W, L, U, I);
        kernels.forward(L, std::ptrdiff_t(I * kTile - first), y + first, y + I * kTile);
        done[I].store(true, std::memory_order_release);
    }

    /// Completes the diagonal tile with the magnitudes of its pivots' terms.
    void FactoriseDiagonal(double* W, double* L, double* U, std::size_t I)
    {
        const std::ptrdiff_t steps = std::ptrdiff_t(solver.Width(I));
        double* const size = sizes.data() + I * kTile;
        double* const tile = W + steps * kTile;
        double before[kTile];
        for (int r = 0; r < kTile; ++r)
            size[r] = std::fabs(before[r] = tile[r * (kTile + 1)]);
        // Pivots of one sign all subtract: their sum is the reduction of the diagonal.
        double* const inverse = solver.inversePivots_.data() + I * kTile;
        const bool areAllPositive =
            symmetric && std::all_of(inverse - steps, inverse, [](double p) { return p >= 0; });
        if (!areAllPositive)
            kernels.measure(W, U, steps, size);
        (symmetric ? kernels.updateLower : kernels.update)(W, U, steps);
        for (int r = 0; areAllPositive && r < kTile; ++r)
            size[r] += std::fabs(before[r] - tile[r * (kTile + 1)]);
        if (symmetric)
            kernels.factoriseSymmetric(tile, size, pivotLimit, L + steps * kTile, inverse);
        else
            kernels.factorise(tile, size, pivotLimit, L + steps * kTile, U + steps * kTile,
                              inverse);
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
        const std::size_t size = (widest + kTile) * kTile;
        RawVector<double> work(symmetric ? size : 2 * size);
        double* const W = work.data();
        for (std::size_t I = nextRow++; I < solver.TileRows(); I = nextRow++)
            if (stop != nullptr && stop->IsMade())
                done[I].store(true, std::memory_order_release); // others may be waiting for it
            else
                Factorise(I, W, W + size);
    }
};

/// x = A^-1 x with the current factors; x has whole tiles.
void ProfileSolver::Substitute(bool symmetric, double* x)
{
    const TileKernels& kernels = Kernels();
    for (std::size_t I = 0; I < TileRows(); ++I)
        kernels.forward(lower_.data() + Start(I), std::ptrdiff_t(Width(I)), x + firstColumn_[I],
                        x + I * kTile);
    SubstituteBack(symmetric, x);
}

/// x = U^-1 D^-1 x
void ProfileSolver::SubstituteBack(bool symmetric, double* x)
{
    const TileKernels& kernels = Kernels();
    const double* U = symmetric ? lower_.data() : upper_.data();
    for (std::size_t i = 0; i < TileRows() * kTile; ++i)
        x[i] *= inversePivots_[i];
    for (std::size_t I = TileRows(); I-- > 0;)
        kernels.backward(U + Start(I), std::ptrdiff_t(Width(I)), x + firstColumn_[I],
                         x + I * kTile);
}

/// Factorises on as many threads as are worth it; y becomes L^-1 b.
void ProfileSolver::Factorise(Run& run, int threads)
{
    std::size_t widest = 0;
    double work = 0;
    for (std::size_t I = 0; I < TileRows(); ++I)
    {
        widest = std::max(widest, Width(I));
        work += double(Width(I)) * double(Width(I)) / kTileSize;
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
    const double* U = symmetric ? lower_.data() : upper_.data();
    std::vector<double> motion(TileRows() * kTile), r(std::size_t(A.n));
    const Vec zero(std::size_t(A.n));
    motion[equation] = 1;
    for (std::size_t I = TileRows(); I-- > 0;)
        kernels.backward(U + Start(I), std::ptrdiff_t(Width(I)), motion.data() + firstColumn_[I],
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
    Reserve(lower_, startColumn_.back() * kTile);
    if (!symmetric)
        Reserve(upper_, startColumn_.back() * kTile);
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
