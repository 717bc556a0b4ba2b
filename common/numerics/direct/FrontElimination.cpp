#include "numerics/direct/FrontKernels.h"
#include "numerics/direct/FrontLayout.h"
#include "numerics/direct/FrontWorkspace.h"
#include "numerics/direct/SparseFactor.h"
#include "parallel/For.h"

#include <algorithm>
#include <cstring>

namespace numerics
{
namespace
{

constexpr int kSteps = 192; ///< columns multiplied at a time: their part of a panel stays in L1

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

} // namespace numerics
