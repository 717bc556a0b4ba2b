/// @file
/// @internal Small dense kernels of the profile solvers, one set for each processor level.
#pragma once

#include <cstddef>

namespace numerics
{

/// Rows and columns of a tile. A row of tiles is stored by columns, left to right, so that column k
/// of the whole row is at k * kTile.
constexpr int kTile = 24;
constexpr std::size_t kTileSize = std::size_t(kTile) * kTile;
/// Columns that the widest register block covers: rows of tiles start at multiples of it.
constexpr int kColumnGroup = 8;

/// W is a row of tiles of L D and M one of L (or of U^T), both from the same column on. In @p steps
/// columns they stand before the tile in question.
struct TileKernels
{
    /// One tile of L D, at W + steps * kTile, with the values of A in it on entry: (A - W M^T) over
    /// the first @p steps columns, then divided by the unit lower triangle that follows them in M.
    /// @p scaled, a row of tiles from the same column on, receives the tile times @p inversePivots,
    /// by columns. @p steps is negative, a multiple of kColumnGroup, where W and M start within the
    /// tile: the columns before are left out.
    void (*eliminate)(double* W, const double* M, std::ptrdiff_t steps, const double* inversePivots,
                      double* scaled);
    /// The tile at W + steps * kTile -= W M^T over the first @p steps columns.
    void (*update)(double* W, const double* M, std::ptrdiff_t steps);
    /// The same for the lower triangle of the tile; some entries above it change as well.
    void (*updateLower)(double* W, const double* M, std::ptrdiff_t steps);
    /// sizes[r] += sum |w_rk m_rk| over the first @p steps columns: what update subtracts from the
    /// diagonal of the tile, added up by magnitude.
    void (*measure)(const double* W, const double* M, std::ptrdiff_t steps, double* sizes);
    /// The tile C = L D U. @p lower receives L and @p upper U^T, without their unit diagonals; both
    /// 0 above. @p sizes holds for each row the sum of magnitudes of its pivot's terms so far, and
    /// receives those added here; a pivot not larger than @p limit times its size counts as
    /// infinite: its inverse is 0.
    void (*factorise)(double* C, double* sizes, double limit, double* lower, double* upper,
                      double* inversePivots);
    /// The same for a symmetric C, of which only the lower triangle is read.
    void (*factoriseSymmetric)(double* C, double* sizes, double limit, double* lower,
                               double* inversePivots);
    /// @p yRow (kTile values) = L^-1 (yRow - L y): y over @p steps columns, then the triangle.
    void (*forward)(const double* L, std::ptrdiff_t steps, const double* y, double* yRow);
    /// The transpose: xRow = L^-T xRow by the triangle, then x -= L^T xRow over @p steps columns, a
    /// multiple of kColumnGroup.
    void (*backward)(const double* L, std::ptrdiff_t steps, double* x, double* xRow);
};

namespace sse2
{
extern const TileKernels kTileKernels;
}
namespace avx2
{
extern const TileKernels kTileKernels;
}
namespace avx512
{
extern const TileKernels kTileKernels;
}

} // namespace numerics
