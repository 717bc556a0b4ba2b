/// @file
/// @internal Making matrices whose rows come node by node, in whole blocks.
#pragma once

#include "numerics/system/SparseRows.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace numerics
{

/// The rows of a node, kRows of them, as blocks of kColumns columns.
template <int kRows, int kColumns>
class NodeRows
{
public:
    explicit NodeRows(int blocks) : number_(std::size_t(blocks), -1) {}

    void Clear()
    {
        for (const int block : blocks_)
            number_[std::size_t(block)] = -1;
        blocks_.clear();
        values_.clear();
    }
    /// The block's values, row-major, zeros at first; valid until the next call.
    double* Block(int block)
    {
        int& number = number_[std::size_t(block)];
        if (number < 0)
        {
            number = int(blocks_.size());
            blocks_.push_back(block);
            values_.resize(values_.size() + kRows * kColumns, 0.0);
        }
        return &values_[std::size_t(number) * kRows * kColumns];
    }
    void SortBlocks() { std::sort(blocks_.begin(), blocks_.end()); }
    void Append(SparseRows& part, int row) const
    {
        for (const int block : blocks_)
        {
            const auto number = std::size_t(number_[std::size_t(block)]);
            const double* const from = &values_[(number * kRows + std::size_t(row)) * kColumns];
            for (int c = 0; c < kColumns; ++c)
            {
                part.columns.push_back(block * kColumns + c);
                part.values.push_back(from[c]);
            }
        }
        part.EndRow();
    }

private:
    std::vector<int> number_; ///< of each block among those of the node, -1 for none
    std::vector<int> blocks_;
    std::vector<double> values_;
};

/// A matrix of @p nodes times @p blocks blocks; compute(rows, node) adds to the cleared rows of a
/// node. @p work as in MakeRows.
template <int kRows, int kColumns, class F>
SparseRows MakeNodeRows(int nodes, int blocks, double work, F compute)
{
    return MakeRows(nodes * kRows, blocks * kColumns, work,
                    [&](SparseRows& part, int begin, int end) {
                        NodeRows<kRows, kColumns> rows(blocks);
                        for (int i = begin; i < end; ++i)
                        {
                            if (i == begin || i % kRows == 0)
                            {
                                rows.Clear();
                                compute(rows, i / kRows);
                            }
                            rows.Append(part, i % kRows);
                        }
                    });
}

/// C = C + A B for row-major blocks; a row of A begins @p stride values after the one before.
template <int kRows, int kInner, int kColumns>
void AddBlockProduct(const double* A, std::ptrdiff_t stride, const double* B,
                     std::ptrdiff_t strideOfB, double* C)
{
    for (int i = 0; i < kRows; ++i, A += stride, C += kColumns)
    {
        double sum[kColumns] = {};
        for (int k = 0; k < kInner; ++k)
            for (int j = 0; j < kColumns; ++j)
                sum[j] += A[k] * B[k * strideOfB + j];
        for (int j = 0; j < kColumns; ++j)
            C[j] += sum[j];
    }
}

} // namespace numerics
