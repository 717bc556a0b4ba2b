/// @file
/// @internal The direct profile (skyline) solvers.
#pragma once

#include "numerics/SolveRecord.h"
#include "numerics/direct/ProfileTiles.h"
#include "numerics/system/MatrixView.h"
#include "numerics/system/RawVector.h"

#include <cstddef>
#include <vector>

namespace numerics
{
using math::SolveMethod;
using math::SolveOutcome;
using math::SolveRecord;

/// A = L D U in the given numbering, without pivoting, within the profile: each row from its
/// first stored column to the diagonal, and for U the mirror image.
///
/// The profile is covered with square tiles, row of tiles by row of tiles, so that the work is
/// products of small dense matrices; the first tile of a row lacks the columns that are 0 in all of
/// its rows. Rows are assigned to threads in ascending order; each entry is computed by the same
/// operations on any thread. Storage is kept for the next solve of the same pattern.
class ProfileSolver
{
public:
    /// The pattern has changed: the profile is recomputed before the next solve.
    void Forget() { stale_ = true; }
    /// Solves A x = b; @p x need not be set. A's pattern must be that of its transpose; the
    /// symmetric form reads the values of the upper triangle only.
    /// @param threads  most threads to use, 0 for all
    SolveRecord Solve(const MatrixView& A, bool symmetric, const double* b, double* x, int threads);

private:
    struct Run;
    bool MakeProfile(const MatrixView& A);
    SolveRecord Compute(const MatrixView& A, bool symmetric, const double* b, double* x,
                        int threads);
    void Factorise(Run& run, int threads);
    void Substitute(bool symmetric, double* x);
    void SubstituteBack(bool symmetric, double* x);
    bool IsLoose(const MatrixView& A, bool symmetric, std::size_t equation);
    void FindLooseModes(const Run& run, double limit, SolveRecord& record);

    std::size_t TileRows() const { return firstColumn_.size(); }
    /// Where a row of tiles starts in lower_ and upper_.
    std::size_t Start(std::size_t tileRow) const { return startColumn_[tileRow] * kTile; }
    /// Columns of a row of tiles before its diagonal tile.
    std::size_t Width(std::size_t tileRow) const
    {
        return tileRow * kTile - std::size_t(firstColumn_[tileRow]);
    }

    bool stale_ = true;
    std::vector<int> mirror_;      ///< for each stored (i, j), j < i: where (j, i) is stored, or -1
    std::vector<int> firstColumn_; ///< of each row of tiles, a multiple of kColumnGroup
    std::vector<std::size_t> startColumn_; ///< columns in the rows of tiles before each, and in all
    std::vector<double> inversePivots_;
    RawVector<double> lower_; ///< L
    RawVector<double> upper_; ///< U^T
};

} // namespace numerics
