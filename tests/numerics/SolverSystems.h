/// @file
/// Systems of equations of finite-element meshes, for the tests of the solvers.
#pragma once

#include "numerics/system/MatrixView.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <map>
#include <vector>

namespace systems
{

/// A system that owns its compressed rows.
struct System
{
    std::vector<int> rowStart{0}, columns;
    std::vector<double> values, b;

    int Size() const { return int(rowStart.size()) - 1; }
    numerics::MatrixView View() const
    {
        return {Size(), rowStart.data(), columns.data(), values.data()};
    }
    /// Appends a row given by column and value.
    void AddRow(const std::map<int, double>& row, double right)
    {
        for (const auto& [column, value] : row)
        {
            columns.push_back(column);
            values.push_back(value);
        }
        rowStart.push_back(int(columns.size()));
        b.push_back(right);
    }
    static double Largest(const std::vector<double>& v)
    {
        double largest = 0;
        for (const double entry : v)
            largest = std::max(largest, std::abs(entry));
        return largest;
    }
    double& At(int i, int j)
    {
        const auto begin = columns.begin() + rowStart[std::size_t(i)];
        const auto end = columns.begin() + rowStart[std::size_t(i) + 1];
        return values[std::size_t(std::lower_bound(begin, end, j) - columns.begin())];
    }
};

/// Flow through side x side four-node square elements with the conductivity k(column, row) each
/// and the given aspect ratio. Nodes of the bottom are fixed at 0 and have no equation. The wind
/// (to the right, per element) makes the system non-symmetric.
inline System Flow(int side, const std::function<double(int, int)>& k, double aspect = 1,
                   double wind = 0)
{
    const int width = side + 1, n = width * side;
    std::vector<std::map<int, double>> rows(static_cast<std::size_t>(n));
    const double sx = aspect / 6, sy = 1 / (6 * aspect);
    for (int ey = 0; ey < side; ++ey)
        for (int ex = 0; ex < side; ++ex)
            for (int i = 0; i < 4; ++i)
                for (int j = 0; j < 4; ++j)
                {
                    const int ix = i & 1, iy = i >> 1, jx = j & 1, jy = j >> 1;
                    const int row = (ey + iy - 1) * width + ex + ix;
                    const int column = (ey + jy - 1) * width + ex + jx;
                    if (row < 0 || column < 0)
                        continue;
                    const double value = sx * (ix == jx ? 1 : -1) * (iy == jy ? 2 : 1) +
                                         sy * (iy == jy ? 1 : -1) * (ix == jx ? 2 : 1);
                    rows[std::size_t(row)][column] +=
                        k(ex, ey) * (value + wind * (jx ? 1 : -1) * (iy == jy ? 2 : 1) / 12.0);
                }
    System system;
    for (int i = 0; i < n; ++i)
        system.AddRow(rows[std::size_t(i)], 1.0 + 0.5 * ((i * 37) % 11));
    return system;
}

} // namespace systems
