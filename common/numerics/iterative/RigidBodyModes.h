/// @file
/// @internal The rigid-body modes of elasticity on the levels of the multigrid, as the functions
/// that interpolation keeps.
#pragma once

#include "numerics/iterative/Aggregation.h"
#include "numerics/iterative/UnknownPlaces.h"
#include "numerics/system/MatrixView.h"
#include "numerics/system/RawVector.h"
#include "numerics/system/SparseRows.h"

#include <vector>

namespace numerics
{

/// The rigid-body modes of the rows of a level: 3 in the plane, 6 in space. Each node has its own
/// centre, about which its modes rotate, so that far from the origin rotations stay apart from
/// translations.
class RigidBodyModes
{
public:
    /// Translations and rotations.
    static int Count(int dimensions) { return dimensions == 2 ? 3 : 6; }
    int Modes() const { return modes_; }
    int Unknowns() const { return unknowns_; } ///< rows of a node of the present level

    /// Those of @p A, whose row i has the place of equation from[i], or none where that is
    /// negative; @p from empty means i. Rows coupled to no other take no part.
    RigidBodyModes(const MatrixView& A, const UnknownPlaces& places, const std::vector<int>& from);

    /// The modes on @p aggregates about their centres, orthonormal in each: what remains of a mode
    /// after the ones before it, and zeros where nothing does, as rotations of a single node or
    /// about the line through all. This becomes the modes of the coarse level, a node of which has
    /// an unknown for each mode.
    /// @returns row-major, Count(dimensions) columns
    RawVector<double> Restrict(const Aggregates& aggregates);

private:
    struct Members;
    struct Part;
    void MoveTo(const double* centre, int node, double* values) const;
    void Orthonormalise(const Part& part, double* values, double* coarse) const;

    int dimensions_, modes_;
    int unknowns_;             ///< rows of a node
    RawVector<double> values_; ///< a row of modes_ values for each row of the level
    RawVector<double> centre_; ///< dimensions_ coordinates a node
};

/// P = (I - w D^-1 A) T as in SmoothedInterpolation, for T with the orthonormal modes of each
/// aggregate, all couplings being kept. Rows of a node have the same columns, as in A.
SparseRows SmoothedModes(const MatrixView& A, const Aggregates& aggregates,
                         const RawVector<double>& T, int modes);

} // namespace numerics
