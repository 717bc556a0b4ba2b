#include "numerics/direct/FrontKernels.h"
#include "numerics/direct/FrontLayout.h"
#include "numerics/direct/SparseFactor.h"

#include <algorithm>

namespace numerics
{
namespace
{

/// Solves with the unit triangle of a pivot tile.
void DivideByTile(const double* tile, int height, int width, double* y)
{
    for (int k = 0; k < width; ++k, tile += height)
        for (int i = k + 1; i < width; ++i)
            y[i] -= tile[i] * y[k];
}

void DivideByTransposedTile(const double* tile, int height, int width, double* y)
{
    for (int k = width - 1; k >= 0; --k)
        for (int i = k + 1; i < width; ++i)
            y[k] -= tile[k * height + i] * y[i];
}

} // namespace

void SparseFactor::Forward(std::size_t s, double* x, double* y, double* below) const
{
    const Supernode& node = symbolic_->supernodes[s];
    const double* const factor = lower_.data() + node.factorStart;
    double* const own = x + node.first;
    if (isPermuted_[s])
        for (int k = 0; k < node.pivots; ++k)
            y[k] = x[pivotAt_[std::size_t(node.first + k)]];
    else
        std::copy(own, own + node.pivots, y);
    for (int first = 0; first < node.pivots; first += kPanel)
    {
        const int height = PanelHeight(node.pivots, first);
        const double* const panel = factor + PivotPanel(first);
        std::fill(y + std::min(node.pivots, first + height), y + first + height, 0.0);
        kernels_->multiply(panel, height, first, y, y + first);
        DivideByTile(panel + std::ptrdiff_t(first) * height, height,
                     std::min(kPanel, node.pivots - first), y + first);
    }
    std::copy(y, y + node.pivots, own);
    const int* const rows = symbolic_->rows.data() + node.rowStart;
    const double* panel = factor + PivotSize(node.pivots);
    for (int first = 0; first < node.rows; first += kPanel)
    {
        const int height = PanelHeight(node.rows, first);
        std::fill(below, below + height, 0.0);
        kernels_->multiply(panel, height, node.pivots, y, below);
        panel += std::ptrdiff_t(height) * node.pivots;
        const int count = std::min(kPanel, node.rows - first);
        for (int i = 0; i < count; ++i)
            x[rows[first + i]] += below[i];
    }
}

void SparseFactor::Backward(std::size_t s, double* x, double* y, double* below) const
{
    const Supernode& node = symbolic_->supernodes[s];
    const double* const factor = (isSymmetric_ ? lower_ : upper_).data() + node.factorStart;
    double* const own = x + node.first;
    const std::size_t at = std::size_t(node.first);
    for (int k = 0; k < node.pivots; ++k)
    {
        const std::size_t d = at + std::size_t(k);
        if (coupling_[d] == 0)
        {
            y[k] = inverse_[d] * own[k];
            continue;
        }
        y[k] = inverse_[d] * own[k] + coupling_[d] * own[k + 1];
        y[k + 1] = inverse_[d + 1] * own[k + 1] + coupling_[d] * own[k];
        ++k;
    }
    const int* const rows = symbolic_->rows.data() + node.rowStart;
    const double* panel = factor + PivotSize(node.pivots);
    for (int first = 0; first < node.rows; first += kPanel)
    {
        const int height = PanelHeight(node.rows, first);
        const int count = std::min(kPanel, node.rows - first);
        for (int i = 0; i < count; ++i)
            below[i] = x[rows[first + i]];
        std::fill(below + count, below + height, 0.0);
        kernels_->multiplyTransposed(panel, height, node.pivots, below, y);
        panel += std::ptrdiff_t(height) * node.pivots;
    }
    for (int first = (node.pivots - 1) / kPanel * kPanel; first >= 0; first -= kPanel)
    {
        const int height = PanelHeight(node.pivots, first);
        const double* const tile = factor + PivotPanel(first);
        const int width = std::min(kPanel, node.pivots - first);
        std::fill(y + first + width, y + first + height, 0.0);
        DivideByTransposedTile(tile + std::ptrdiff_t(first) * height, height, width, y + first);
        kernels_->multiplyTransposed(tile, height, first, y + first, y);
    }
    if (isPermuted_[s] && isSymmetric_)
        for (int k = 0; k < node.pivots; ++k)
            x[pivotAt_[at + std::size_t(k)]] = y[k];
    else
        std::copy(y, y + node.pivots, own);
}

void SparseFactor::Solve(double* x, int count, std::ptrdiff_t stride) const
{
    std::vector<double> y(std::size_t(symbolic_->widestFront + kPanel));
    double below[kPanel];
    const std::size_t nodes = symbolic_->supernodes.size();
    for (std::size_t s = 0; s < nodes; ++s)
        for (int c = 0; c < count; ++c)
            Forward(s, x + c * stride, y.data(), below);
    for (std::size_t s = nodes; s-- > 0;)
        for (int c = 0; c < count; ++c)
            Backward(s, x + c * stride, y.data(), below);
}

} // namespace numerics
