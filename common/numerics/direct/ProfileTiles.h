/// @file
/// @internal Small dense kernels of the profile solvers, one set for each processor level.
#pragma once

#include <cstddef>

namespace numerics
{

/// Rows and columns of a tile. A tile is stored by columns, and a row of tiles left to right, so
/// that column k of the whole row is at k * kTile.
constexpr int kTile = 24;
constexpr std::size_t kTileSize = std::size_t(kTile) * kTile;

struct TileKernels
{
    /// One tile of L D, at W + steps * kTile, with the values of A in it on entry: (A - W M^T) over
    /// the first @p steps columns, then divided by the unit lower triangle that follows them in M.
    /// @p scaled receives the tile times @p inversePivots, by columns.
    void (*eliminate)(double* W, const double* M, std::ptrdiff_t steps, const double* inversePivots,
                      double* scaled);
    /// The tile at W + steps * kTile -= W M^T over the first @p steps columns.
    void (*update)(double* W, const double* M, std::ptrdiff_t steps);
    /// sizes[r] += sum |w_rk m_rk| over the first @p steps columns: what update subtracts from the
    /// diagonal of the tile, added up by magnitude.
    void (*measure)(const double* W, const double* M, std::ptrdiff_t steps, double* sizes);
    /// The tile C = L D U. @p lower receives L and @p upper U^T, without their unit diagonals; both
    /// 0 above. @p sizes holds for each row the sum of magnitudes of its pivot's terms so far, and
    /// receives those added here; a pivot not larger than @p limit times its size counts as
    /// infinite: its inverse is 0. For a symmetric C, @p upper is null and only the lower triangle
    /// is read.
    void (*factorise)(double* C, double* sizes, double limit, double* lower, double* upper,
                      double* inversePivots);
    /// @p yRow (kTile values) = L^-1 (yRow - L y): y over @p steps columns, then the triangle.
    void (*forward)(const double* L, std::ptrdiff_t steps, const double* y, double* yRow);
    /// The transpose: xRow = L^-T xRow by the triangle, then x -= L^T xRow over @p steps columns.
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
