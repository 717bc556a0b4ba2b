/// @file
/// @internal Algebraic multigrid by smoothed aggregation, one V-cycle as a preconditioner.
#pragma once

#include "numerics/iterative/GaussSeidel.h"
#include "numerics/iterative/KrylovIteration.h"
#include "numerics/iterative/RigidBodyModes.h"
#include "numerics/system/SparseRows.h"

#include <vector>

namespace numerics
{

/// Dense factorisation of the coarsest matrix, L U with row exchanges. A pivot that is zero up to
/// rounding gives its unknown the value 0.
class CoarseFactor
{
public:
    void Factorise(const MatrixView& A);
    /// x = A^-1 x
    void Solve(double* x) const;

private:
    int n_ = 0;
    Vec a_, work_;
    std::vector<int> row_;
};

/// A hierarchy of coarser matrices. Symmetric for a symmetric A: a forward Gauss-Seidel sweep
/// before and a backward one after each coarse correction.
class Multigrid : public Preconditioner
{
public:
    /// Builds the levels for A, whose arrays must stay as they are while Apply is called.
    ///
    /// @param modes  when given, those of A, which interpolation then keeps; becomes the coarsest
    ///               level's
    void Build(const MatrixView& A, RigidBodyModes* modes = nullptr);
    void Apply(const double* r, double* z) override;
    double Entries() const override;

    int Levels() const { return used_; }

private:
    struct Level
    {
        SparseRows owned; ///< the matrix, except on the first level
        MatrixView A;
        GaussSeidel smoother;
        SparseRows P, R;    ///< from and to the next level
        Vec b, x, residual; ///< b and x unused on the first level
    };

    void Cycle(std::size_t at, const double* r, double* z);

    std::vector<Level> levels_;
    int used_ = 0;
    CoarseFactor coarse_;
    bool hasCoarseFactor_ = false;
};

} // namespace numerics
