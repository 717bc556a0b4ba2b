/// @file
/// @internal The storage layout of a front: panels of rows, each stored by columns.
#pragma once

#include "numerics/order/Symbolic.h"

#include <cstddef>

namespace numerics
{

/// The address of a row's column 0, and the distance to its next column.
struct RowPlace
{
    std::ptrdiff_t start = 0, height = 0;
    int At(int column) const { return int(start + height * column); }
};

/// Where the panel that begins at pivot row @p first starts in a supernode's part of a factor.
inline std::ptrdiff_t PivotPanel(int first)
{
    const std::ptrdiff_t tile = first / kPanel;
    return kPanel * kPanel * tile * (tile + 1) / 2;
}

/// Doubles of the pivot panels.
inline std::ptrdiff_t PivotSize(int pivots)
{
    const int last = (pivots - 1) / kPanel * kPanel, height = PanelHeight(pivots, last);
    return PivotPanel(last) + std::ptrdiff_t(height) * (last + height);
}

inline RowPlace PlaceOfPivot(int row, int pivots)
{
    const int first = row / kPanel * kPanel;
    return {PivotPanel(first) + row - first, PanelHeight(pivots, first)};
}

inline RowPlace PlaceBelow(int row, int rows, int pivots)
{
    const int first = row / kPanel * kPanel;
    return {PivotSize(pivots) + std::ptrdiff_t(first) * pivots + row - first,
            PanelHeight(rows, first)};
}

/// The same in a contribution block, after its magnitudes.
inline RowPlace PlaceInContribution(int row, int rows)
{
    const std::ptrdiff_t first = row / kPanel * kPanel;
    return {first * (first + kPanel) / 2 + row - first, PanelHeight(rows, int(first))};
}

/// Magnitudes at the head of a contribution block.
inline std::ptrdiff_t HeadSize(int rows) { return (rows + 7) / 8 * 8; }

} // namespace numerics
