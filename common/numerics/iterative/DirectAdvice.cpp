#include "numerics/iterative/DirectAdvice.h"

#include "foundation/kvidbg.h"
#include "numerics/order/AdjacencyGraph.h"
#include "numerics/order/MinimumDegree.h"
#include "numerics/order/Ordering.h"
#include "numerics/order/Symbolic.h"
#include "numerics/system/Verdict.h"
#include "platform/platform_memory.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

namespace numerics
{
namespace
{

constexpr int kFew = 2 * kAdviceInterval; ///< steps that are not worth a recommendation

} // namespace

double RemainingSteps(const IterationProgress& progress)
{
    const double left = progress.allowed - progress.steps;
    const double reduction = std::log(progress.before / progress.norm);
    const double missing = std::log(progress.norm / progress.target);
    return reduction > 0 ? std::clamp(kAdviceInterval * missing / reduction, 0.0, left) : left;
}

bool DirectAdvice::IsWanted() const
{
    using kvi::diag::LogFilter;
    return !isGiven_ && LogFilter::Passes(kvi::diag::information, kvi::diag::kMathCategory);
}

/// Counts the operations and entries of the factors, and converts both into entries of a matrix in
/// a product with a vector.
void DirectAdvice::Predict(const MatrixView& A)
{
    // Measured from 1e4 to 1e5 equations, in the plane and of solids: in the time of an entry in a
    // product a factorisation makes 14 operations; the rest of a direct solve takes 150 times as
    // long for each entry of A, and dissection, which leaves 0.22 to 0.42 of the operations, 1100
    // times for each edge of the graph.
    constexpr double kOperations = 14, kRest = 150, kDissection = 1100, kDissected = 0.28;
    constexpr double kPadding = 1.7; // stored, with contributions, for each entry of the factors
    entries_ = std::numeric_limits<double>::infinity();
    try
    {
        const Symmetry symmetry = FindSymmetry(A);
        const CompressedGraph compressed = Compress(A, symmetry.ofPattern);
        const AdjacencyGraph& graph = compressed.graph;
        auto [flops, stored] = PredictCost(graph, MinimumDegreeOrder(graph));
        double rest = kRest * A.rowStart[A.n];
        if (IsWorthDissecting(graph, flops))
        {
            rest += kDissection * double(graph.neighbours.size());
            flops *= kDissected;
            stored *= std::sqrt(kDissected);
        }
        const double sides = symmetry.ofValues ? 1 : 2;
        bytes_ = sides * kPadding * sizeof(double) * stored;
        entries_ = sides * flops / kOperations + rest;
    }
    catch (const std::bad_alloc&) // then the factors would not fit either
    {
        bytes_ = entries_;
    }
}

bool DirectAdvice::FitsMemory() const { return bytes_ < double(platform::AvailableMemory()); }

void DirectAdvice::Look(const MatrixView& A, const wchar_t* method,
                        const IterationProgress& progress)
{
    const double remaining = RemainingSteps(progress);
    if (progress.steps < kFew || remaining < kFew || !IsWanted())
        return;
    if (entries_ == 0)
        Predict(A);
    const double asSteps = entries_ / progress.entriesPer;
    if (remaining <= asSteps || !FitsMemory())
        return;
    isGiven_ = true;
    const bool isReduced = progress.norm < progress.before;
    KVI_LOG(kvi::diag::information, kvi::diag::kMathCategory,
            L"%s: after %d iterations for %d equations %s %.0f more; a direct solver suits this "
            L"matrix better: it costs about as much as %.0f of them and takes %.0f MB",
            method, progress.steps, A.n,
            isReduced ? L"the residual's decrease predicts about"
                      : L"the residual no longer decreases and there may be",
            remaining, asSteps, bytes_ / 1e6);
}

void DirectAdvice::Conclude(const MatrixView& A, const math::SolveRecord& record)
{
    using math::SolveOutcome;
    // Of a few iterations that were all allowed nothing follows, nor of an x that is as accurate as
    // a direct solver's.
    const bool isUnsolved =
        record.outcome == SolveOutcome::Stagnated || record.outcome == SolveOutcome::Breakdown ||
        (record.outcome == SolveOutcome::NotConverged && record.iterations >= kFew);
    if (!isUnsolved || record.rowWiseError <= kSolvedRowWise || !IsWanted())
        return;
    if (entries_ == 0)
        Predict(A);
    if (!FitsMemory())
        return;
    isGiven_ = true;
    KVI_LOG(kvi::diag::information, kvi::diag::kMathCategory,
            L"%s: not solved by %d iterations for %d equations; a direct solver suits this matrix "
            L"better and takes %.0f MB",
            record.solver, record.iterations, A.n, bytes_ / 1e6);
}

} // namespace numerics
