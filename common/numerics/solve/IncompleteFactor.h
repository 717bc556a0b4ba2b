/// @file
/// @internal Incomplete L U factors on the pattern of the matrix.
#pragma once

#include "numerics/solve/KrylovIteration.h"

#include <vector>

namespace numerics
{

/// ILU(0): the factors keep the pattern of A. A pivot that is small against its row is replaced by
/// the row's largest entry, so that the factors exist for every matrix.
/// Source: Saad (2003), Iterative Methods for Sparse Linear Systems, 2nd ed., 10.3.2.
class IncompleteFactor : public Preconditioner
{
public:
    explicit IncompleteFactor(const MatrixView& A);
    void Apply(const double* r, double* z) override;

private:
    MatrixView A_; ///< its pattern; the values are those of the factors
    Vec values_;
    Vec inversePivot_;
    std::vector<int> lower_; ///< by row, where the part left of the diagonal ends
    std::vector<int> upper_; ///< by row, where the part right of the diagonal begins
};

} // namespace numerics
