#include "numerics/direct/SparseFactor.h"

#include "numerics/direct/FrontKernels.h"
#include "numerics/direct/FrontLayout.h"
#include "numerics/direct/FrontWorkspace.h"
#include "numerics/system/StopRequest.h"
#include "numerics/system/Threads.h"
#include "parallel/For.h"
#include "platform/platform_cpu.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace numerics
{
namespace
{

const FrontKernels& Kernels()
{
    static const FrontKernels* const kernels[] = {&sse2::kFrontKernels, &avx2::kFrontKernels,
                                                  &avx512::kFrontKernels};
    return *kernels[platform::SimdLevel()];
}

} // namespace

void SparseFactor::SetStructure(const Symbolic& symbolic, const MatrixView& A)
{
    symbolic_ = &symbolic;
    kernels_ = &Kernels();
    const std::size_t n = std::size_t(A.n);
    columnStart_.clear();
    columnEntries_.clear();
    target_.assign(std::size_t(A.rowStart[n]), -1);
    children_.assign(symbolic.supernodes.size(), 0);
    for (const Supernode& node : symbolic.supernodes)
        if (node.parent >= 0)
            ++children_[std::size_t(node.parent)];
    ForPlaces([&](int position, int column, const std::vector<RowPlace>& place) {
        const int row = symbolic.order[std::size_t(position)];
        for (int k = A.rowStart[row]; k < A.rowStart[row + 1]; ++k)
        {
            const int other = symbolic.position[std::size_t(A.columns[k])];
            if (other >= position)
                target_[std::size_t(k)] = place[std::size_t(other)].At(column);
        }
    });
    for (std::vector<double>* v : {&magnitude_, &ratio_, &inverse_, &coupling_})
        v->assign(n, 0);
    pivotAt_.resize(n);
    isPermuted_.resize(symbolic.supernodes.size());
    replaced_.resize(symbolic.supernodes.size());
}

/// Calls f(position, column in its front, places of the front's rows by position) for each pivot.
template <class F>
void SparseFactor::ForPlaces(F f) const
{
    std::vector<RowPlace> place(symbolic_->order.size());
    for (const Supernode& node : symbolic_->supernodes)
    {
        for (int j = 0; j < node.pivots; ++j)
            place[std::size_t(node.first + j)] = PlaceOfPivot(j, node.pivots);
        for (int i = 0; i < node.rows; ++i)
            place[std::size_t(symbolic_->rows[node.rowStart + std::size_t(i)])] =
                PlaceBelow(i, node.rows, node.pivots);
        for (int j = 0; j < node.pivots; ++j)
            f(node.first + j, j, place);
    }
}

/// Targets of the entries left of the diagonal in the order of elimination, listed by columns;
/// kept as negative numbers beside the others.
void SparseFactor::SetLowerTargets(const MatrixView& A)
{
    const std::size_t n = std::size_t(A.n);
    const std::vector<int>& position = symbolic_->position;
    columnStart_.assign(n + 1, 0);
    const auto forEach = [&](auto f) {
        for (int row = 0; row < A.n; ++row)
            for (int k = A.rowStart[row]; k < A.rowStart[row + 1]; ++k)
                if (position[std::size_t(A.columns[k])] < position[std::size_t(row)])
                    f(row, k, std::size_t(position[std::size_t(A.columns[k])]));
    };
    forEach([&](int, int, std::size_t column) { ++columnStart_[column + 1]; });
    for (std::size_t j = 0; j < n; ++j)
        columnStart_[j + 1] += columnStart_[j];
    std::vector<int> next(columnStart_.begin(), columnStart_.end() - 1);
    columnEntries_.resize(std::size_t(columnStart_[n]));
    forEach([&](int row, int k, std::size_t column) {
        columnEntries_[std::size_t(next[column]++)] = {row, k};
    });
    ForPlaces([&](int at, int column, const std::vector<RowPlace>& place) {
        for (int l = columnStart_[std::size_t(at)]; l < columnStart_[std::size_t(at) + 1]; ++l)
        {
            const auto [row, k] = columnEntries_[std::size_t(l)];
            target_[std::size_t(k)] =
                -1 - place[std::size_t(position[std::size_t(row)])].At(column);
        }
    });
}

/// Puts the entries of A that belong to the front's pivots into its factors.
void SparseFactor::Gather(const Front& front, const MatrixView& A, const double* scale)
{
    const Supernode& node = front.node;
    double* const factor = front.factor[front.sides - 1];
    for (int j = 0; j < node.pivots; ++j)
    {
        const int at = node.first + j, row = symbolic_->order[std::size_t(at)];
        const double own = scale[row];
        for (int k = A.rowStart[row]; k < A.rowStart[row + 1]; ++k)
            if (const int to = target_[std::size_t(k)]; to >= 0)
                factor[to] = A.values[k] * (own * scale[A.columns[k]]);
        const RowPlace diagonal = PlaceOfPivot(j, node.pivots);
        if (own == 0)
            factor[diagonal.At(j)] = 1;
        magnitude_[std::size_t(at)] = std::abs(factor[diagonal.At(j)]);
        if (front.sides == 1)
            continue;
        for (int l = columnStart_[std::size_t(at)]; l < columnStart_[std::size_t(at) + 1]; ++l)
        {
            const auto [other, k] = columnEntries_[std::size_t(l)];
            front.factor[0][-1 - target_[std::size_t(k)]] = A.values[k] * (own * scale[other]);
        }
    }
}

/// Adds a child's contribution to a front.
void SparseFactor::Assemble(const Front& front, const Supernode& child, const double* contribution,
                            Workspace& work)
{
    const Supernode& node = front.node;
    const int* const rows = symbolic_->rows.data() + child.rowStart;
    std::vector<RowPlace>& inFactor = work.places;
    std::vector<RowPlace>& inContribution = work.contributionPlaces;
    inFactor.resize(std::size_t(child.rows));
    inContribution.resize(std::size_t(child.rows));
    int inPivots = 0; // rows of the child that are pivots here: its first ones
    for (int i = 0; i < child.rows; ++i)
    {
        const int at = work.local[std::size_t(rows[i])];
        const bool isPivot = at < node.pivots;
        inPivots += isPivot;
        inFactor[std::size_t(i)] = isPivot ? PlaceOfPivot(at, node.pivots)
                                           : PlaceBelow(at - node.pivots, node.rows, node.pivots);
        if (!isPivot)
            inContribution[std::size_t(i)] = PlaceInContribution(at - node.pivots, node.rows);
        double& magnitude = isPivot ? magnitude_[std::size_t(node.first + at)]
                                    : front.contribution[0][at - node.pivots];
        magnitude += contribution[i];
    }
    const std::ptrdiff_t head = HeadSize(node.rows);
    for (int side = 0; side < front.sides; ++side)
    {
        const double* panel =
            contribution + side * std::ptrdiff_t(child.ContributionSize()) + HeadSize(child.rows);
        double* const factor = front.factor[side];
        double* const below = front.contribution[side] + head;
        for (int first = 0; first < child.rows; first += kPanel)
        {
            const int height = PanelHeight(child.rows, first);
            const int end = std::min(first + kPanel, child.rows);
            for (int j = 0; j < end; ++j, panel += height)
            {
                const bool isPivot = j < inPivots;
                double* const to = isPivot ? factor : below;
                const RowPlace* const place = isPivot ? inFactor.data() : inContribution.data();
                const int column = work.local[std::size_t(rows[j])] - (isPivot ? 0 : node.pivots);
                for (int i = std::max(first, j + side); i < end; ++i)
                    to[place[i].At(column)] += panel[i - first];
            }
            panel += std::ptrdiff_t(first + height - end) * height;
        }
    }
}

/// Subtrees that threads can eliminate in parallel, each given by its last supernode: none with
/// more than a share of the work, so that the threads end at about the same time.
std::vector<SparseFactor::Subtree> SparseFactor::FindSubtrees(int threads) const
{
    constexpr double kWorthThreads = 2e7; // operations, about a millisecond
    constexpr double kShares = 8;         // of each thread
    const std::vector<Supernode>& nodes = symbolic_->supernodes;
    std::vector<Subtree> subtrees;
    if (threads < 2 || symbolic_->flops < kWorthThreads)
        return subtrees;
    std::vector<double> work(nodes.size(), 0);
    std::vector<std::size_t> first(nodes.size());
    for (std::size_t s = 0; s < nodes.size(); ++s)
        first[s] = s;
    for (std::size_t s = 0; s < nodes.size(); ++s)
    {
        const double pivots = nodes[s].pivots, size = pivots + nodes[s].rows;
        work[s] += pivots * size * size + 100 * size; // and the cost of assembling it
        if (nodes[s].parent < 0)
            continue;
        const std::size_t up = std::size_t(nodes[s].parent);
        work[up] += work[s];
        first[up] = std::min(first[up], first[s]);
    }
    double all = 0;
    for (std::size_t s = 0; s < nodes.size(); ++s)
        all += nodes[s].parent < 0 ? work[s] : 0;
    const double most = all / (kShares * threads);
    const double least = most / 50; // smaller ones are left to the remaining sequential part
    for (std::size_t s = 0; s < nodes.size(); ++s)
    {
        const bool isRoot = nodes[s].parent < 0 || work[std::size_t(nodes[s].parent)] > most;
        if (isRoot && work[s] <= most && work[s] >= least)
            subtrees.push_back({first[s], s, work[s], {}});
    }
    return subtrees;
}

/// Eliminates whole subtrees, each with its own stack, and keeps the contributions of their roots.
void SparseFactor::EliminateSubtrees(std::vector<Subtree>& subtrees, const MatrixView& A,
                                     const double* scale, int threads)
{
    std::vector<Subtree*> byWork;
    byWork.reserve(subtrees.size());
    for (Subtree& subtree : subtrees)
        byWork.push_back(&subtree);
    std::stable_sort(byWork.begin(), byWork.end(),
                     [](const Subtree* a, const Subtree* b) { return a->work > b->work; });
    const StopRequest* const stop = StopRequest::Current();
    parallel::ForEach(
        byWork.size(),
        [&](std::size_t k) {
            Subtree& subtree = *byWork[k];
            Workspace work(*symbolic_, isSymmetric_);
            for (std::size_t s = subtree.first; s <= subtree.last; ++s)
            {
                StopRequest::ThrowIfMade(stop);
                EliminateFront(s, A, scale, work, 1);
            }
            const Supernode& root = symbolic_->supernodes[subtree.last];
            if (root.parent < 0)
                return;
            subtree.contribution.resize(root.ContributionSize() * (isSymmetric_ ? 1 : 2));
            std::copy(work.stack.data(), work.top, subtree.contribution.data());
        },
        threads);
}

PivotReport SparseFactor::Factorise(const MatrixView& A, const double* scale, bool isSymmetric)
{
    isSymmetric_ = isSymmetric;
    if (!isSymmetric && columnStart_.empty())
        SetLowerTargets(A);
    lower_.resize(symbolic_->factorSize);
    upper_.resize(isSymmetric ? 0 : symbolic_->factorSize);
    const int threads = ThreadCount(0);
    std::vector<Subtree> subtrees = FindSubtrees(threads);
    EliminateSubtrees(subtrees, A, scale, threads);
    // The rest of the tree, in the same order as without subtrees.
    Workspace work(*symbolic_, isSymmetric);
    auto subtree = subtrees.begin();
    for (std::size_t s = 0; s < symbolic_->supernodes.size(); ++s)
    {
        if (subtree == subtrees.end() || s < subtree->first)
        {
            StopRequest::ThrowIfCurrent();
            EliminateFront(s, A, scale, work, threads);
            continue;
        }
        s = subtree->last;
        if (symbolic_->supernodes[s].parent >= 0)
            work.waiting.push_back({int(s), subtree->contribution.data(), false});
        ++subtree;
    }
    return Report();
}

PivotReport SparseFactor::Report() const
{
    constexpr double kDoubtful = 1e-11;
    PivotReport report;
    for (const int replaced : replaced_)
        report.replaced += replaced;
    for (std::size_t k = 0; k < ratio_.size(); ++k)
    {
        report.isFinite = report.isFinite && std::isfinite(inverse_[k]);
        if (ratio_[k] < report.smallest)
        {
            report.smallest = ratio_[k];
            report.equation = symbolic_->order[std::size_t(pivotAt_[k])];
        }
        report.doubtful += ratio_[k] < kDoubtful;
    }
    return report;
}

std::size_t SparseFactor::Bytes() const
{
    return (lower_.capacity() + upper_.capacity() + 4 * ratio_.size()) * sizeof(double) +
           (target_.size() + 2 * columnEntries_.size() + columnStart_.size() + pivotAt_.size()) *
               sizeof(int);
}

} // namespace numerics
