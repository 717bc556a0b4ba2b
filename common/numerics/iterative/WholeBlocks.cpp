#include "numerics/iterative/WholeBlocks.h"

#include "numerics/iterative/NodeRows.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace numerics
{
namespace
{

double Diagonal(const MatrixView& A, int i)
{
    for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        if (A.columns[k] == i && A.values[k] != 0)
            return A.values[k];
    return 1;
}

/// Makes rows of a matrix in the order of its nodes.
class BlockedRows
{
public:
    /// @param to  the new row for each of A
    BlockedRows(const MatrixView& A, const std::vector<int>& from, const std::vector<int>& to,
                int size)
        : A_(A), from_(from), to_(to), size_(size)
    {
    }

    void Append(SparseRows& part, int begin, int end)
    {
        for (int row = begin; row < end; ++row)
        {
            if (row == begin || row % size_ == 0)
                FindNeighbours(row / size_);
            AppendRow(part, row);
        }
    }

private:
    void FindNeighbours(int node)
    {
        neighbours_.assign(1, node);
        int first = A_.n;
        for (int row = node * size_; row < (node + 1) * size_; ++row)
            if (const int i = from_[std::size_t(row)]; i >= 0)
            {
                first = std::min(first, i);
                for (int k = A_.rowStart[i]; k < A_.rowStart[i + 1]; ++k)
                    neighbours_.push_back(to_[std::size_t(A_.columns[k])] / size_);
            }
        // As stiff as its node: an absent component is usually held by a support.
        missing_ = std::fabs(Diagonal(A_, first));
        std::sort(neighbours_.begin(), neighbours_.end());
        neighbours_.erase(std::unique(neighbours_.begin(), neighbours_.end()), neighbours_.end());
    }
    void AppendRow(SparseRows& part, int row) const
    {
        const int i = from_[std::size_t(row)];
        const std::size_t start = part.columns.size();
        for (const int node : neighbours_)
            for (int column = node * size_; column < (node + 1) * size_; ++column)
            {
                part.columns.push_back(column);
                part.values.push_back(i < 0 && column == row ? missing_ : 0.0);
            }
        for (int k = i < 0 ? 0 : A_.rowStart[i]; i >= 0 && k < A_.rowStart[i + 1]; ++k)
        {
            const int column = to_[std::size_t(A_.columns[k])];
            const auto place =
                std::lower_bound(neighbours_.begin(), neighbours_.end(), column / size_);
            part.values[start + std::size_t(place - neighbours_.begin()) * std::size_t(size_) +
                        std::size_t(column % size_)] = A_.values[k];
        }
        part.EndRow();
    }

    const MatrixView& A_;
    const std::vector<int>&from_, &to_;
    int size_;
    std::vector<int> neighbours_; ///< nodes, of the current one, ascending
    double missing_ = 0;          ///< the diagonal of an absent component
};

/// R A P for nodes of kFine unknowns and coarse ones of kCoarse.
template <int kFine, int kCoarse>
SparseRows Multiply(const SparseRows& R, const MatrixView& A, const SparseRows& P)
{
    const double perRow = double(P.Stored()) / std::max(P.rows, 1);
    const int coarse = R.rows / kCoarse;
    const SparseRows product = MakeNodeRows<kFine, kCoarse>(
        A.n / kFine, coarse, perRow * A.rowStart[A.n], [&](auto& rows, int node) {
            const int begin = A.rowStart[node * kFine],
                      length = A.rowStart[node * kFine + 1] - begin;
            for (int k = begin; k < begin + length; k += kFine)
            {
                const auto from = std::size_t(A.columns[k]);
                const int first = P.start[from], size = P.start[from + 1] - first;
                for (int l = first; l < first + size; l += kCoarse)
                    AddBlockProduct<kFine, kFine, kCoarse>(
                        A.values + k, length, &P.values[std::size_t(l)], size,
                        rows.Block(P.columns[std::size_t(l)] / kCoarse));
            }
        });
    return MakeNodeRows<kCoarse, kCoarse>(
        coarse, coarse, 2 * perRow * R.Stored(), [&](auto& rows, int node) {
            rows.Block(node);
            const auto row = std::size_t(node) * kCoarse;
            const int begin = R.start[row], length = R.start[row + 1] - begin;
            for (int k = begin; k < begin + length; k += kFine)
            {
                const auto from = std::size_t(R.columns[std::size_t(k)]);
                const int first = product.start[from], size = product.start[from + 1] - first;
                for (int l = first; l < first + size; l += kCoarse)
                    AddBlockProduct<kCoarse, kFine, kCoarse>(
                        &R.values[std::size_t(k)], length, &product.values[std::size_t(l)], size,
                        rows.Block(product.columns[std::size_t(l)] / kCoarse));
            }
            rows.SortBlocks();
            double* const diagonal = rows.Block(node);
            for (int mode = 0; mode < kCoarse; ++mode)
            {
                const double* const value =
                    &R.values[std::size_t(R.start[row + std::size_t(mode)])];
                if (std::all_of(value, value + length, [](double v) { return v == 0; }))
                    diagonal[mode * kCoarse + mode] = 1;
            }
        });
}

template <int kSize>
SparseRows PaddedBy(const SparseRows& C)
{
    return MakeNodeRows<kSize, kSize>(
        C.rows / kSize, C.cols / kSize, 2.0 * C.Stored(), [&](auto& rows, int node) {
            for (int row = 0; row < kSize; ++row)
            {
                const auto i = std::size_t(node * kSize + row);
                for (auto k = std::size_t(C.start[i]); k < std::size_t(C.start[i + 1]); ++k)
                    rows.Block(C.columns[k] / kSize)[row * kSize + C.columns[k] % kSize] =
                        C.values[k];
            }
            rows.SortBlocks();
        });
}

} // namespace

SparseRows Padded(const SparseRows& C, int size)
{
    return size == 2 ? PaddedBy<2>(C) : PaddedBy<3>(C);
}

SparseRows InWholeBlocks(const MatrixView& A, const std::vector<int>& from, int size)
{
    const int rows = int(from.size());
    std::vector<int> to(static_cast<std::size_t>(A.n));
    for (int row = 0; row < rows; ++row)
        if (const int i = from[std::size_t(row)]; i >= 0)
            to[std::size_t(i)] = row;
    constexpr double kWork = 4; // for each entry of A
    return MakeRows(rows, rows, kWork * A.rowStart[A.n], [&](SparseRows& part, int begin, int end) {
        BlockedRows(A, from, to, size).Append(part, begin, end);
    });
}

SparseRows BlockTripleProduct(const SparseRows& R, const MatrixView& A, const SparseRows& P,
                              BlockSizes sizes)
{
    if (sizes.coarse == 3)
        return sizes.fine == 2 ? Multiply<2, 3>(R, A, P) : Multiply<3, 3>(R, A, P);
    return sizes.fine == 3 ? Multiply<3, 6>(R, A, P) : Multiply<6, 6>(R, A, P);
}

} // namespace numerics
