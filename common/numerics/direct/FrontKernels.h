/// @file
/// @internal Dense kernels of the sparse factorisation, one set for each processor level.
#pragma once

#include "numerics/order/Symbolic.h"

#include <cstddef>

namespace numerics
{

/// A pivot tile while it is factorised: at most kPanel columns, eliminated in its own order.
struct PivotTile
{
    double* C;          ///< height x height, by columns: the lower triangle on entry, L on return
    int height;         ///< multiple of 8; rows and columns beyond the width are 0
    int width;          ///< pivots
    int* order;         ///< column that was eliminated at each place; set
    double* inverse;    ///< diagonal of D^-1; set
    double* coupling;   ///< D^-1 beside the diagonal: at both places of a 2 x 2 pivot, otherwise 0
    double* subtracted; ///< magnitudes that each diagonal entry is the sum of; in the new order
    double* ratio;      ///< |pivot| / magnitude; set
};

/// Panels are stored by columns, @p height (8, 16 or 24) rows each. Rows of M are panels as well,
/// mHeight rows each. Results do not depend on the assignment of panels to threads.
struct FrontKernels
{
    /// C -= W M^T over the first @p steps columns; @p columns is a multiple of 8.
    void (*update)(double* C, const double* W, int height, const double* M, int mHeight,
                   int columns, std::ptrdiff_t steps);
    /// Columns steps ... steps + width of a panel A, by the tile with the rows M: W = (A - W M^T)
    /// over the first @p steps columns, divided by the unit lower triangle that follows them in M.
    /// A becomes W times @p inverse by columns, where @p inverse is not null.
    void (*eliminate)(double* A, double* W, int height, const double* M, int mHeight, int width,
                      std::ptrdiff_t steps, const double* inverse);
    /// The columns of A from those of W by D^-1 with 2 x 2 pivots.
    void (*scale)(double* A, const double* W, int height, int width, const double* inverse,
                  const double* coupling);
    /// C = L D L^T with pivots from the tile's diagonal, single and in pairs.
    /// @returns number of pivots replaced because only rounding was left of the column
    int (*factorise)(const PivotTile& tile);
    /// C = L D U with pivots from the rows of the tile; all of C is read. @p upper receives U^T.
    int (*factoriseGeneral)(const PivotTile& tile, double* upper);
    /// y -= L x over @p steps columns of a panel
    void (*multiply)(const double* L, int height, std::ptrdiff_t steps, const double* x, double* y);
    /// x -= L^T y
    void (*multiplyTransposed)(const double* L, int height, std::ptrdiff_t steps, const double* y,
                               double* x);
};

namespace sse2
{
extern const FrontKernels kFrontKernels;
}
namespace avx2
{
extern const FrontKernels kFrontKernels;
}
namespace avx512
{
extern const FrontKernels kFrontKernels;
}

} // namespace numerics
