/// @file
/// Meshes for the benchmarks of the systems of equations.
#pragma once

#include "numerics/ISysEqnImpl.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

namespace fe_mesh
{

/// A square mesh of 4- or 8-node quadrilaterals with its lowest row of nodes fixed, numbered row
/// by row or shuffled. Element matrices are symmetric and dominated by their diagonal.
struct FeMesh
{
    tagMultiVectorInt elements;
    std::vector<double> matrices; ///< row-major, one behind the other
    std::vector<std::size_t> matrixStart;
    int n = 0;

    /// @param nodes  4 or 8 nodes of an element
    FeMesh(int nodes, int perNode, int equations, bool shuffled)
    {
        // Rows of nodes: side + 1 with corners, and between them side + 1 for mid-side nodes.
        const double rows = nodes == 4 ? 1 : 3;
        const int side = int(std::lround(std::sqrt(equations / (rows * perNode))));
        std::vector<int> number = Number(nodes, perNode, side, shuffled);
        std::mt19937 random(1);
        std::uniform_real_distribution<double> entry(-1, 0);
        matrixStart.push_back(0);
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x)
            {
                std::vector<int> list;
                for (const int node : Corners(nodes, side, x, y))
                    for (int u = 0; u < perNode; ++u)
                        if (const int e = number[std::size_t(node * perNode + u)]; e >= 0)
                            list.push_back(e);
                elements.Add(list);
                AddMatrix(list.size(), [&] { return entry(random); });
            }
    }

    tagMatrixDbl Matrix(std::size_t e) const
    {
        const int size = int(elements.ends[e] - (e == 0 ? 0 : elements.ends[e - 1]));
        return {size,
                size,
                {matrices.begin() + std::ptrdiff_t(matrixStart[e]),
                 matrices.begin() + std::ptrdiff_t(matrixStart[e + 1])}};
    }

private:
    /// Nodes of an element; nodes are counted row by row from the bottom.
    static std::vector<int> Corners(int nodes, int side, int x, int y)
    {
        if (nodes == 4)
        {
            const int first = y * (side + 1) + x;
            return {first, first + 1, first + side + 2, first + side + 1};
        }
        const int step = (2 * side + 1) + (side + 1);
        const int low = y * step + 2 * x, mid = y * step + 2 * side + 1 + x, high = low + step;
        return {low, low + 2, high + 2, high, low + 1, mid + 1, high + 1, mid};
    }

    /// Equation of each unknown of each node, -1 where the node is fixed.
    std::vector<int> Number(int nodes, int perNode, int side, bool shuffled)
    {
        const int lowest = (nodes == 4 ? side + 1 : 2 * side + 1) * perNode;
        const int all =
            nodes == 4 ? (side + 1) * (side + 1) : (side + 1) * (2 * side + 1) + side * (side + 1);
        n = all * perNode - lowest;
        std::vector<int> order(static_cast<std::size_t>(n));
        std::iota(order.begin(), order.end(), 0);
        if (shuffled)
            std::shuffle(order.begin(), order.end(), std::mt19937(7));
        std::vector<int> number(std::size_t(lowest), -1);
        number.insert(number.end(), order.begin(), order.end());
        return number;
    }

    template <class F>
    void AddMatrix(std::size_t size, F entry)
    {
        const std::size_t start = matrices.size();
        matrices.resize(start + size * size);
        double* m = matrices.data() + start;
        for (std::size_t i = 0; i < size; ++i)
            for (std::size_t j = 0; j < i; ++j)
            {
                m[i * size + j] = m[j * size + i] = entry();
                m[i * size + i] -= m[i * size + j];
                m[j * size + j] -= m[i * size + j];
            }
        for (std::size_t i = 0; i < size; ++i)
            m[i * size + i] += 1e-3;
        matrixStart.push_back(matrices.size());
    }
};

/// The mesh made for an earlier benchmark, or a new one in its place.
inline const FeMesh& Mesh(int nodes, int perNode, int equations, bool shuffled)
{
    static std::unique_ptr<FeMesh> mesh;
    static std::vector<int> made;
    const std::vector<int> wanted = {nodes, perNode, equations, int(shuffled)};
    if (made != wanted)
    {
        mesh.reset();
        mesh = std::make_unique<FeMesh>(nodes, perNode, equations, shuffled);
        made = wanted;
    }
    return *mesh;
}

} // namespace fe_mesh
