/// @file
/// @internal Gauss-Seidel sweeps that threads share, the smoother of the multigrid levels.
#pragma once

#include "numerics/system/MatrixView.h"
#include "numerics/system/RawVector.h"

#include <vector>

namespace numerics
{

/// Symmetric Gauss-Seidel sweeps over blocks of consecutive rows.
///
/// A block's rows are coupled to the adjacent blocks only. Even blocks therefore do not depend on
/// each other, nor do odd ones: a forward sweep takes the even blocks first, a backward sweep the
/// odd ones. The blocks follow from the pattern alone, so the bits are the same for every number of
/// threads. A matrix without a band, as with random numbers, is one block, and its sweeps run on
/// one thread.
class GaussSeidel
{
public:
    /// The arrays of @p A must stay as they are while sweeps run.
    void Prepare(const MatrixView& A);
    /// One sweep from x = 0, and the residual after it. Unknowns without a diagonal become 0.
    void ForwardFromZero(const double* b, double* x, double* residual) const;
    /// One sweep from x, in the opposite order. Unknowns without a diagonal stay.
    void Backward(const double* b, double* x) const;

    int Blocks() const { return int(blockStart_.size()) - 1; }

private:
    struct Rows
    {
        int begin, end;
    };
    /// The columns that the rows of a chunk reach.
    struct Reach
    {
        int first, last;
    };

    void FindDiagonals(Rows rows, Reach& reach);
    void FormBlocks(std::vector<Reach>& reach);
    void Split(Rows rows, int colour);
    template <class F>
    void ForColour(int colour, F f) const;
    void ForwardEven(Rows rows, const double* b, double* x) const;
    void ForwardOdd(Rows rows, const double* b, double* x, double* residual) const;
    void ResidualEven(Rows rows, const double* x, double* residual) const;
    void BackwardBlock(Rows rows, const double* b, double* x) const;

    MatrixView A_;
    RawVector<int> lower_;      ///< by row, where the part left of the diagonal ends
    RawVector<int> upper_;      ///< by row, where the part right of the diagonal begins
    RawVector<double> inverse_; ///< of the diagonal, 0 where that is
    /// By row, where its couplings inside the block begin (even blocks) or end (odd ones).
    RawVector<int> split_;
    std::vector<int> blockStart_{0}; ///< first row of each block, and the number of rows
};

} // namespace numerics
