#include "numerics/solve/SparseFactor.h"

#include "numerics/solve/FrontKernels.h"
#include "numerics/solve/FrontLayout.h"
#include "numerics/solve/Threads.h"
#include "parallel/For.h"
#include "platform/platform_cpu.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace numerics
{
namespace
{

constexpr int kSteps = 192; ///< columns multiplied at a time: their part of a panel stays in L1

const FrontKernels& Kernels()
{
    static const FrontKernels* const kernels[] = {&sse2::kFrontKernels, &avx2::kFrontKernels,
                                                  &avx512::kFrontKernels};
    return *kernels[platform::SimdLevel()];
}

} // namespace

/// How the pivots of a tile were found.
struct SparseFactor::TileState
{
    bool isPermuted = false, hasPairs = false;
};

/// A contribution not yet assembled into its parent.
struct SparseFactor::Waiting
{
    int supernode;
    const double* values;
    bool isOnStack;
};

/// One thread's memory.
struct SparseFactor::Workspace
{
    explicit Workspace(const Symbolic& symbolic, bool isSymmetric)
        : stack(symbolic.stackSize * (isSymmetric ? 1 : 2)), top(stack.data()),
          local(symbolic.order.size())
    {
        std::size_t widest = 0;
        for (const Supernode& node : symbolic.supernodes)
            widest = std::max(widest, std::size_t(node.pivots + kPanel));
        panel[0].resize(widest * kPanel);
        if (!isSymmetric)
            panel[1].resize(widest * kPanel);
        tiles.resize(widest / kPanel + 1);
    }

    RawVector<double> stack;
    double* top;
    RawVector<double> panel[2]; ///< L D of the panel at work, and U^T D
    RawVector<int> local;       ///< row of each position in the front
    std::vector<RowPlace> places, contributionPlaces;
    std::vector<Waiting> waiting; ///< contributions not yet assembled
    std::vector<TileState> tiles;
};

/// A supernode's dense block. Side 0 holds L, side 1 holds U^T unless the matrix is symmetric.
struct SparseFactor::Front
{
    const Supernode& node;
    int sides;
    double* factor[2];
    double* contribution[2]; ///< with the magnitudes at the head of side 0
    TileState* tiles;
    int replaced = 0;
    bool isPermuted = false;
};

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

namespace
{

/// Puts the columns of a tile in the order of its pivots.
void PermuteColumns(double* tile, int height, int width, const int* order)
{
    double kept[kPanel * kPanel];
    std::copy(tile, tile + height * width, kept);
    for (int k = 0; k < width; ++k)
        std::copy(kept + order[k] * height, kept + (order[k] + 1) * height, tile + k * height);
}

void PermuteRows(double* panel, int height, int width, int columns, const int* order)
{
    double kept[kPanel];
    for (int c = 0; c < columns; ++c, panel += height)
    {
        std::copy(panel, panel + width, kept);
        for (int k = 0; k < width; ++k)
            panel[k] = kept[order[k]];
    }
}

} // namespace

/// Columns before @p first of a panel of L (side 0) or U^T, by the pivot tiles that are done.
void SparseFactor::EliminatePanel(const Front& front, int side, double* panel, double* W,
                                  int height, int first) const
{
    const Supernode& node = front.node;
    for (int t = 0; t < first; t += kPanel)
    {
        const std::size_t at = std::size_t(node.first + t);
        const int width = std::min(kPanel, node.pivots - t);
        const TileState state = front.tiles[t / kPanel];
        if (state.isPermuted && side == front.sides - 1)
        {
            int order[kPanel];
            for (int k = 0; k < width; ++k)
                order[k] = pivotAt_[at + std::size_t(k)] - int(at);
            PermuteColumns(panel + std::ptrdiff_t(t) * height, height, width, order);
        }
        kernels_->eliminate(panel, W, height, front.factor[front.sides - 1 - side] + PivotPanel(t),
                            PanelHeight(node.pivots, t), width, t,
                            state.hasPairs ? nullptr : inverse_.data() + at);
        if (state.hasPairs)
            kernels_->scale(panel + std::ptrdiff_t(t) * height, W + std::ptrdiff_t(t) * height,
                            height, width, inverse_.data() + at, coupling_.data() + at);
    }
}

/// The tile of the pivots from @p first on, after those before it.
void SparseFactor::EliminateTile(Front& front, int first, Workspace& work)
{
    const Supernode& node = front.node;
    const int height = PanelHeight(node.pivots, first);
    const int width = std::min(kPanel, node.pivots - first);
    const std::size_t at = std::size_t(node.first + first);
    const std::ptrdiff_t start = PivotPanel(first), diagonal = std::ptrdiff_t(first) * height;
    for (int side = 0; side < front.sides; ++side)
        EliminatePanel(front, side, front.factor[side] + start, work.panel[side].data(), height,
                       first);
    double* const C = front.factor[0] + start + diagonal;
    if (front.sides == 2)
    {
        const double* const upper = front.factor[1] + start + diagonal;
        for (int j = 0; j < width; ++j)
            for (int i = 0; i <= j; ++i)
                C[j * height + i] = upper[i * height + j] + (i == j ? C[j * height + i] : 0);
    }
    double before[kPanel];
    for (int j = 0; j < width; ++j)
        before[j] = C[j * height + j];
    kernels_->update(C, work.panel[0].data(), height, front.factor[front.sides - 1] + start, height,
                     height, first);
    for (int j = 0; j < width; ++j)
        magnitude_[at + std::size_t(j)] += std::abs(before[j] - C[j * height + j]);

    int* const order = pivotAt_.data() + at;
    const PivotTile tile{C,
                         height,
                         width,
                         order,
                         inverse_.data() + at,
                         coupling_.data() + at,
                         magnitude_.data() + at,
                         ratio_.data() + at};
    front.replaced += front.sides == 1
                          ? kernels_->factorise(tile)
                          : kernels_->factoriseGeneral(tile, front.factor[1] + start + diagonal);
    TileState state;
    for (int k = 0; k < width; ++k)
    {
        state.isPermuted = state.isPermuted || order[k] != k;
        state.hasPairs = state.hasPairs || coupling_[at + std::size_t(k)] != 0;
    }
    if (state.isPermuted)
        PermuteRows(front.factor[0] + start, height, width, first, order);
    for (int k = 0; k < width; ++k)
        order[k] += int(at);
    front.tiles[first / kPanel] = state;
    front.isPermuted = front.isPermuted || state.isPermuted;
}

/// The part of the contribution in the panel of rows from @p first on, after all panels below the
/// pivots up to it.
/// @param W  L D of the panel, and U^T D
void SparseFactor::UpdateContribution(const Front& front, int first, const double* const* W) const
{
    const Supernode& node = front.node;
    const int height = PanelHeight(node.rows, first);
    const std::ptrdiff_t belowPivots = PivotSize(node.pivots);
    const RowPlace place = PlaceInContribution(first, node.rows);
    for (int side = 0; side < front.sides; ++side)
    {
        double* const C = front.contribution[side] + HeadSize(node.rows) + place.start;
        double before[kPanel];
        const int count = std::min(kPanel, node.rows - first);
        for (int i = 0; i < count; ++i)
            before[i] = C[std::ptrdiff_t(first + i) * height + i];
        const double* const factor = front.factor[front.sides - 1 - side];
        for (int k = 0; k < node.pivots; k += kSteps)
            for (int column = 0; column <= first; column += kPanel)
            {
                const int columns = PanelHeight(node.rows, column);
                const double* const M = factor + belowPivots + std::ptrdiff_t(column) * node.pivots;
                kernels_->update(C + std::ptrdiff_t(column) * height,
                                 W[side] + std::ptrdiff_t(k) * height, height,
                                 M + std::ptrdiff_t(k) * columns, columns, columns,
                                 std::min(kSteps, node.pivots - k));
            }
        if (side == 0)
            for (int i = 0; i < count; ++i)
                front.contribution[0][first + i] +=
                    std::abs(before[i] - C[std::ptrdiff_t(first + i) * height + i]);
    }
}

/// The rows below the pivots, and the contribution.
void SparseFactor::EliminateRows(const Front& front, Workspace& work, int threads) const
{
    const Supernode& node = front.node;
    const auto eliminate = [&](int first, double* const* W) {
        const std::ptrdiff_t own = PivotSize(node.pivots) + std::ptrdiff_t(first) * node.pivots;
        for (int side = 0; side < front.sides; ++side)
            // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): W has an entry for each side
            EliminatePanel(front, side, front.factor[side] + own, W[side],
                           PanelHeight(node.rows, first), node.pivots);
    };
    constexpr double kWorthThreads = 4e6; // operations, about a tenth of a millisecond
    const double flops = double(node.rows) * (node.rows + node.pivots) * node.pivots;
    if (threads < 2 || flops < kWorthThreads)
    {
        double* const W[] = {work.panel[0].data(), work.panel[1].data()};
        for (int first = 0; first < node.rows; first += kPanel)
        {
            eliminate(first, W);
            UpdateContribution(front, first, W);
        }
        return;
    }
    // A contribution takes the rows of other panels, so all panels are eliminated before.
    const std::size_t panels = std::size_t((node.rows + kPanel - 1) / kPanel);
    const std::size_t size = std::size_t(node.pivots) * kPanel;
    RawVector<double> all(panels * size * std::size_t(front.sides));
    const auto forPanels = [&](auto f) {
        parallel::ForEach(
            panels,
            [&](std::size_t k) {
                const std::size_t r = panels - 1 - k; // the longest first
                double* const own = all.data() + r * size * std::size_t(front.sides);
                double* const W[] = {own, front.sides == 2 ? own + size : nullptr};
                f(int(r) * kPanel, W);
            },
            threads);
    };
    forPanels(eliminate);
    forPanels([&](int first, double* const* W) { UpdateContribution(front, first, W); });
}

void SparseFactor::EliminateFront(std::size_t s, const MatrixView& A, const double* scale,
                                  Workspace& work, int threads)
{
    const Supernode& node = symbolic_->supernodes[s];
    Front front{node, isSymmetric_ ? 1 : 2, {}, {}, work.tiles.data()};
    const std::size_t factorSize = node.FactorSize(), contribution = node.ContributionSize();
    double* const to = work.top;
    for (int side = 0; side < front.sides; ++side)
    {
        front.factor[side] = (side == 0 ? lower_ : upper_).data() + node.factorStart;
        front.contribution[side] = to + std::size_t(side) * contribution;
        std::fill(front.factor[side], front.factor[side] + factorSize, 0.0);
    }
    std::fill(to, to + contribution * std::size_t(front.sides), 0.0);
    for (int j = 0; j < node.pivots; ++j)
        work.local[std::size_t(node.first + j)] = j;
    for (int i = 0; i < node.rows; ++i)
        work.local[std::size_t(symbolic_->rows[node.rowStart + std::size_t(i)])] = node.pivots + i;
    Gather(front, A, scale);
    const std::size_t children = std::size_t(children_[s]);
    const std::size_t firstChild = work.waiting.size() - children;
    for (std::size_t c = firstChild; c < work.waiting.size(); ++c)
        Assemble(front, symbolic_->supernodes[std::size_t(work.waiting[c].supernode)],
                 work.waiting[c].values, work);
    for (int first = 0; first < node.pivots; first += kPanel)
        EliminateTile(front, first, work);
    EliminateRows(front, work, threads);
    replaced_[s] = front.replaced;
    isPermuted_[s] = front.isPermuted;

    // The contribution takes the place of the children's.
    double* start = work.top;
    for (std::size_t c = work.waiting.size(); c-- > firstChild;)
        if (work.waiting[c].isOnStack)
            start = const_cast<double*>(work.waiting[c].values);
    const std::size_t size = node.rows > 0 ? contribution * std::size_t(front.sides) : 0;
    if (start != to)
        std::memmove(start, to, size * sizeof(double));
    work.top = start + size;
    work.waiting.resize(firstChild);
    if (node.parent >= 0)
        work.waiting.push_back({int(s), start, true});
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
    parallel::ForEach(
        byWork.size(),
        [&](std::size_t k) {
            Subtree& subtree = *byWork[k];
            Workspace work(*symbolic_, isSymmetric_);
            for (std::size_t s = subtree.first; s <= subtree.last; ++s)
                EliminateFront(s, A, scale, work, 1);
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
