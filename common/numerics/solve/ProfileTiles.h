/// @file
/// @internal Small dense kernels of the profile solvers, one set for each processor level.
#pragma once

#include <cstddef>

namespace numerics
{

/// Rows and columns of a tile. A tile is stored by columns, and a row of tiles left to right, so
/// that column k of the whole row stands at k * kTile.
constexpr int kTile = 24;
constexpr std::size_t kTileSize = std::size_t(kTile) * kTile;

struct TileKernels
{
    /// One tile of L D, at W + steps * kTile, with the values of A in it on entry:
    /// (A - W M^T) over the first @p steps columns, then divided by the unit lower triangle that
    /// stands in M behind them. @p scaled receives the tile times @p inversePivots, by columns.
    void (*eliminate)(double* W, const double* M, std::ptrdiff_t steps, const double* inversePivots,
                      double* scaled);
    /// The tile at W + steps * kTile -= W M^T over the first @p steps columns.
    void (*update)(double* W, const double* M, std::ptrdiff_t steps);
    /// The tile C = L D U. @p lower receives L and @p upper U^T, without their unit diagonals;
    /// both 0 above. A pivot not larger than tiny[k] counts as infinite.
    /// For a symmetric C, @p upper is null and only the lower triangle is read.
    /// @returns the first row with such a pivot, kTile for none
    int (*factorise)(double* C, const double* tiny, double* lower, double* upper,
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
