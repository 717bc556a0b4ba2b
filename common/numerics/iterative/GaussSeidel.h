/// @file
/// @internal Gauss-Seidel sweeps that threads share, the smoother of the multigrid levels.
#pragma once

#include "numerics/system/MatrixView.h"
#include "numerics/system/RawVector.h"

#include <vector>

namespace numerics
{

/// The first rows of blocks of consecutive rows that are coupled to the adjacent blocks only, and
/// the number of rows. They follow from the pattern; a matrix without a band has one or two.
std::vector<int> BandBlocks(const MatrixView& A);

/// Symmetric Gauss-Seidel sweeps over the blocks of a band. Even blocks do not depend on each
/// other, nor do odd ones: a forward sweep takes the even blocks first, a backward sweep the odd
/// ones. The bits are the same for every number of threads.
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
    void FindDiagonals(Rows rows, int colour);
    template <class F>
    void ForColour(int colour, F f) const;
    void ForwardInOnePass(const double* b, double* x, double* residual) const;
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
