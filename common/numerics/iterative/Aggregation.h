/// @file
/// @internal Smoothed aggregation: groups of strongly coupled nodes and the interpolation from
/// them.
#pragma once

#include "numerics/system/MatrixView.h"
#include "numerics/system/SparseRows.h"

#include <vector>

namespace numerics
{

/// True when rows come in groups of @p size with the same columns, which are whole groups too.
bool HasUniformGroups(const MatrixView& A, int size);

/// Unknowns of a node: 3, 2, or 1 when the rows do not come in groups of equal pattern.
int UnknownsPerNode(const MatrixView& A);

/// Damping of the interpolation's Jacobi step over the row's bound 1 + sum |f_ij| / f_ii of the
/// eigenvalues of D^-1 F. The theoretical 4/3 refers to the largest eigenvalue itself; the bound is
/// a quarter above it for bilinear elements. Values from 1.6 to 1.9 measured best over many meshes.
constexpr double kDamping = 1.7;

/// The strong couplings, and the aggregates they form.
struct Aggregates
{
    int unknowns = 1;         ///< of a node
    RawVector<char> isStrong; ///< for each coupling, node after node
    std::vector<int> of;      ///< aggregate of each node, -1 for a node left to the smoother
    int count = 0;
};

/// Forms aggregates of nodes whose couplings are at least @p threshold times the node's strongest,
/// all measured as |a_ij| / sqrt(|a_ii a_jj|). A node whose row is dominated by its diagonal is in
/// no aggregate.
/// Source: Vanek, Mandel and Brezina (1996), Computing 56, 179-196.
Aggregates FormAggregates(const MatrixView& A, int unknowns, double threshold);

/// P = (I - w D^-1 F) T: one constant for each aggregate and unknown of a node (T), smoothed by a
/// damped Jacobi step with F, which is A with its weak couplings added to the diagonal (D). Weak
/// is here what neither both nodes nor the row itself find strong; blocks of several unknowns are
/// kept.
SparseRows SmoothedInterpolation(const MatrixView& A, const Aggregates& aggregates);

} // namespace numerics
