/// @file
/// @internal Kernels testing one line against many, one set for each processor level.
#pragma once

#include <cstddef>
#include <cstdint>

namespace geom
{

/// Lines ordered by cell, as arrays of equal length with kPairPadding readable elements past the
/// last.
struct PairRows
{
    const double *ax, *ay; ///< the one end, no further right
    const double *bx, *by; ///< the other end
    const double* margin;  ///< how far from 0 a cross product with the line must be to count
    /// Two bits per level of cells: whether the line's box begins in the cell's column, and row.
    const std::uint32_t* flags;
    double reachX; ///< how far apart boxes may be on x
    double reachY; ///< how far apart boxes may be on y
};

constexpr std::size_t kPairPadding = 8;

/// One line by its ends in any order, and its margin as in PairRows.
struct PairRow
{
    double ax, ay, bx, by, margin;
};

/// Two rows, the lower one first.
struct RowPair
{
    std::uint32_t first, second;
};

/// The progress of the tests within cells: the next row, in this cell.
struct PairCursor
{
    std::size_t cell, row;
};

/// The tests keep every pair that may have a common point, and few others: boxes within reach, and
/// neither line with both its points clearly on one side of the other line.
struct PairKernels
{
    /// Pairs of rows within each cell from the cursor's to @p cells; cell c has the rows from
    /// starts[c] to starts[c + 1]. Only pairs whose flags together are @p allFlags are kept.
    /// Stops with the cursor on a row whose pairs might not fit, else on cell @p cells.
    /// @param rows      the lines
    /// @param starts    cells + 1 row numbers
    /// @param splits    null, or for each cell the first of its rows that belong to the second of
    ///                  two sets: then only pairs of one row of each set are tested
    /// @param cells     their end
    /// @param cursor    where to start and where it stopped
    /// @param allFlags  all bits of the levels in use
    /// @param out       receives the pairs
    /// @param room      pairs that may be written, no fewer than rows in the fullest cell; past
    ///                  them there are kPairPadding elements more
    /// @returns pairs written
    std::size_t (*inCells)(const PairRows& rows, const std::size_t* starts,
                           const std::size_t* splits, std::size_t cells, PairCursor& cursor,
                           std::uint32_t allFlags, RowPair* out, std::size_t room);
    /// The rows from @p begin to @p end that may meet @p line; flags are ignored.
    /// @returns row numbers written
    std::size_t (*withLine)(const PairRows& rows, const PairRow& line, std::size_t begin,
                            std::size_t end, std::uint32_t* out);
};

/// The kernels of this processor's level.
const PairKernels& ChosenPairKernels();

namespace sse2
{
extern const PairKernels kPairKernels;
}
namespace avx2
{
extern const PairKernels kPairKernels;
}
namespace avx512
{
extern const PairKernels kPairKernels;
}

} // namespace geom
