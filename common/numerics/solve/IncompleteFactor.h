/// @file
/// @internal Incomplete L U factors with a threshold.
#pragma once

#include "numerics/solve/KrylovIteration.h"

#include <vector>

namespace numerics
{

/// ILUT: entries below 1e-3 of the row's mean magnitude are dropped, and of those that the pattern
/// of A lacks at most 20 are kept in either factor of a row. A pivot that is small against its row
/// is replaced by the row's largest entry, so that the factors exist for every matrix.
/// Source: Saad (1994), Numer. Linear Algebra Appl. 1(4), 387-402.
class IncompleteFactor : public Preconditioner
{
public:
    explicit IncompleteFactor(const MatrixView& A);
    void Apply(const double* r, double* z) override;

private:
    /// The rows of a triangle without its diagonal.
    struct Triangle
    {
        std::vector<int> start{0}, columns;
        Vec values;
    };
    struct Row;
    void Store(Row& row, std::vector<int>& entries, std::size_t most, double drop, Triangle& to);

    int n_;
    Triangle lower_, upper_;
    Vec inversePivot_;
};

} // namespace numerics
