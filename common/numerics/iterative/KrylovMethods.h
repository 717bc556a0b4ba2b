/// @file
/// @internal The iterations and preconditioners that are tried for a matrix, in their order.
#pragma once

#include "numerics/iterative/Krylov.h"
#include "numerics/iterative/KrylovIteration.h"
#include "numerics/iterative/Multigrid.h"
#include "numerics/iterative/NodeBlocks.h"

#include <memory>
#include <span>
#include <vector>

namespace numerics
{

struct KrylovCache::Storage
{
    std::vector<Vec> work;
    Multigrid multigrid;
    NodeBlocks blocks;
    Vec b, r, start;
};

/// An iteration with its preconditioner.
struct Method
{
    const wchar_t* name;
    IterationEnd (*iterate)(IterationRun&, std::vector<Vec>&);
    std::unique_ptr<Preconditioner> (*precondition)(const MatrixView&, KrylovCache&);
    StagnationLimit limit;
};

/// The methods to be tried one after the other until one converges. One that is slow, where another
/// may be faster, gives up early, and the next goes on from its x.
using Methods = std::span<const Method>;

/// Conjugate gradients with multigrid, then MINRES with the diagonal.
Methods SymmetricMethods();

/// Where the asymmetry is mild, as in Newton's method, multigrid first; it gives way to incomplete
/// factors where it needs more than 40 iterations for a digit. Where the skew part of A outweighs
/// 0.35 of its symmetric off-diagonal part, as where advection dominates diffusion, coarse levels
/// lose it: incomplete factors, then nearly complete ones.
Methods NonSymmetricMethods(const MatrixView& A);

} // namespace numerics
