/// @file
/// Finite-element meshes and their systems for the benchmarks of the solvers.
#pragma once

#include "numerics/FeElement.h"
#include "numerics/ISysEqnImpl.h"
#include "numerics/system/MatrixView.h"

#include <Eigen/Sparse>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace fe_mesh
{

/// A square mesh of 4- or 8-node elements with about @p equations equations, inner nodes moved by
/// up to a tenth of an element, the bottom fixed, its nodes numbered row by row or shuffled.
struct FeMesh
{
    tagMultiVectorInt elements;
    std::vector<double> matrices; ///< row-major, stored consecutively
    std::vector<std::size_t> matrixStart;
    int n = 0;

    /// @param nodes  4 or 8 nodes of an element
    FeMesh(int nodes, int perNode, int equations, bool shuffled)
    {
        const double perElement = (nodes == 8 ? 3 : 1) * perNode;
        const int side = std::max(2, int(std::lround(std::sqrt(equations / perElement))));
        std::mt19937 random(5);
        const std::vector<int> number = Number(nodes, perNode, side, shuffled, random);
        std::uniform_real_distribution<double> jitter(-0.1, 0.1);
        Eigen::MatrixXd corners((side + 1) * (side + 1), 2);
        for (int i = 0; i <= side; ++i)
            for (int j = 0; j <= side; ++j)
                corners.row(i * (side + 1) + j) << j + jitter(random), i + jitter(random);
        matrixStart.push_back(0);
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x)
                AddElement(nodes, perNode, side, x, y, number, corners);
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
    /// Number of each node on the grid of corners and mid-sides; -1 where it is fixed or missing.
    std::vector<int> Number(int nodes, int perNode, int side, bool shuffled, std::mt19937& random)
    {
        const int width = (nodes == 8 ? 2 : 1) * side + 1;
        std::vector<int> number(std::size_t(width * width), -1);
        int count = 0;
        for (int y = 1; y < width; ++y)
            for (int x = 0; x < width; ++x)
                if (nodes == 4 || x % 2 == 0 || y % 2 == 0)
                    number[std::size_t(y * width + x)] = count++;
        n = count * perNode;
        if (!shuffled)
            return number;
        std::vector<int> order(static_cast<std::size_t>(count));
        std::iota(order.begin(), order.end(), 0);
        std::shuffle(order.begin(), order.end(), random);
        for (int& node : number)
            node = node < 0 ? node : order[std::size_t(node)];
        return number;
    }

    void AddElement(int nodes, int perNode, int side, int ex, int ey,
                    const std::vector<int>& number, const Eigen::MatrixXd& corners)
    {
        const int step = nodes == 8 ? 2 : 1, width = step * side + 1;
        const auto corner = [&](int u, int v) {
            return corners.row((ey + (v + 1) / 2) * (side + 1) + ex + (u + 1) / 2);
        };
        Eigen::MatrixXd xy(nodes, 2);
        std::vector<int> list, free; // the equations, and the rows of the matrix that have one
        for (int a = 0; a < nodes; ++a)
        {
            const int c = kCorner[a][0], d = kCorner[a][1];
            if (c == 0 || d == 0)
                xy.row(a) = (corner(c == 0 ? -1 : c, d == 0 ? -1 : d) +
                             corner(c == 0 ? 1 : c, d == 0 ? 1 : d)) /
                            2;
            else
                xy.row(a) = corner(c, d);
            const int x = ex * step + (c + 1) * step / 2, y = ey * step + (d + 1) * step / 2;
            const int node = number[std::size_t(y * width + x)];
            for (int u = 0; u < perNode && node >= 0; ++u)
            {
                list.push_back(node * perNode + u);
                free.push_back(a * perNode + u);
            }
        }
        elements.Add(list);
        const Eigen::MatrixXd k = ElementMatrix(xy, perNode);
        for (const int i : free)
            for (const int j : free)
                matrices.push_back(k(i, j));
        matrixStart.push_back(matrices.size());
    }
};

/// What a benchmark works on.
struct Case
{
    const char* name;
    int nodes, perNode, equations;
    bool isShuffled;

    bool operator<(const Case& other) const { return std::string(name) < other.name; }
};

/// Are cases of a million equations wanted? They take minutes and gigabytes.
inline bool WantsLarge() { return std::getenv("KVI_BENCH_LARGE") != nullptr; }

/// The case's mesh, created at the first use.
inline const FeMesh& MeshOf(const Case& given)
{
    static std::map<Case, FeMesh> kept;
    return kept.try_emplace(given, given.nodes, given.perNode, given.equations, given.isShuffled)
        .first->second;
}

/// Calls f(size, first index of its list, its matrix) for each element.
template <class F>
void ForEachElement(const FeMesh& mesh, F f)
{
    std::size_t start = 0;
    for (std::size_t e = 0; e < mesh.elements.Count(); start = mesh.elements.ends[e++])
        f(mesh.elements.ends[e] - start, mesh.elements.values.data() + start,
          mesh.matrices.data() + mesh.matrixStart[e]);
}

using RowMajor = Eigen::SparseMatrix<double, Eigen::RowMajor, int>;

/// The mesh's matrix, assembled by Eigen.
inline RowMajor FromTriplets(const FeMesh& mesh)
{
    std::vector<Eigen::Triplet<double>> triplets;
    triplets.reserve(mesh.matrices.size());
    ForEachElement(mesh, [&](std::size_t size, const int* list, const double* m) {
        for (std::size_t i = 0; i < size; ++i)
            for (std::size_t j = 0; j < size; ++j)
                triplets.emplace_back(list[i], list[j], *m++);
    });
    RowMajor A(mesh.n, mesh.n);
    A.setFromTriplets(triplets.begin(), triplets.end());
    return A;
}

/// A mesh's system in compressed rows with a right-hand side.
struct System
{
    RowMajor A;
    Eigen::VectorXd b;

    System() = default;
    explicit System(const FeMesh& mesh) : A(FromTriplets(mesh)), b(mesh.n)
    {
        std::mt19937 random(11);
        for (double& load : b)
            load = 1 + double(random() % 16) / 8;
    }
    numerics::MatrixView View() const
    {
        return {int(A.rows()), A.outerIndexPtr(), A.innerIndexPtr(), A.valuePtr()};
    }
};

/// The system of the case's mesh, created at the first use.
inline const System& SystemOf(const Case& given)
{
    static std::map<Case, System> kept;
    auto [at, isNew] = kept.try_emplace(given);
    if (isNew)
        at->second = System(FeMesh(given.nodes, given.perNode, given.equations, given.isShuffled));
    return at->second;
}

} // namespace fe_mesh
