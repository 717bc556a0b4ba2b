/// @file
/// @internal Incomplete L U factors with a threshold.
#pragma once

#include "numerics/iterative/KrylovIteration.h"

#include <cstddef>
#include <vector>

namespace numerics
{

/// How much of the factors is kept, and in which order the equations are eliminated.
struct FactorDetail
{
    double drop;      ///< entries below this part of the row's mean size, and factors below it
    std::size_t most; ///< entries that a row may have in either factor beyond those of A
    std::size_t room; ///< entries of both factors up to which rows may have more than that
    bool isBanded;    ///< the order that keeps neighbours close; else the one of a complete factor
};

/// ILUT of A, equilibrated and reordered. A pivot that is small against its row is replaced by the
/// row's largest entry, so that the factors exist for every matrix. The same bits from every run
/// and on every machine. At most room + s + 2 n (most + 1) entries for s stored values, 12 bytes
/// each, up to 30 while they are made.
/// Source: Saad (1994), Numer. Linear Algebra Appl. 1(4), 387-402.
class IncompleteFactor : public Preconditioner
{
public:
    /// @throws SolveStopped when the solve is to stop, std::bad_alloc
    IncompleteFactor(const MatrixView& A, const FactorDetail& detail);
    void Apply(const double* r, double* z) override;
    double Entries() const override { return double(Stored()); }

    /// Entries of both factors.
    std::size_t Stored() const { return lower_.values.size() + upper_.values.size() + pivots_; }
    /// Bytes held.
    std::size_t Bytes() const;

private:
    /// The rows of a triangle without its diagonal.
    struct Triangle
    {
        std::vector<int> start{0}, columns;
        Vec values;
    };
    struct Row;
    void Eliminate(Row& row, int i, const MatrixView& A, const std::vector<int>& position,
                   const FactorDetail& detail);
    static void Store(Row& row, std::vector<int>& entries, std::size_t most, double drop,
                      Triangle& to);

    std::size_t pivots_;
    std::vector<int> order_; ///< equation at each position
    Vec scale_;              ///< by equation, powers of two
    Triangle lower_, upper_; ///< by position
    Vec inversePivot_, work_;
};

} // namespace numerics
