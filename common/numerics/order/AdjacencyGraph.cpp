#include "numerics/order/AdjacencyGraph.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace numerics
{
namespace
{

/// Rows of a matrix with the pattern of A + A^T.
struct PatternRows
{
    std::vector<int> start, columns;
};

PatternRows SymmetricPattern(const MatrixView& A)
{
    const std::size_t n = std::size_t(A.n);
    std::vector<int> transposedStart(n + 1, 0);
    for (int k = 0; k < A.rowStart[n]; ++k)
        ++transposedStart[std::size_t(A.columns[k]) + 1];
    for (std::size_t i = 0; i < n; ++i)
        transposedStart[i + 1] += transposedStart[i];
    std::vector<int> transposed(std::size_t(A.rowStart[n]));
    std::vector<int> next(transposedStart.begin(), transposedStart.end() - 1);
    for (int i = 0; i < A.n; ++i)
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            transposed[std::size_t(next[std::size_t(A.columns[k])]++)] = i;
    PatternRows rows;
    rows.start.reserve(n + 1);
    rows.start.push_back(0);
    rows.columns.reserve(std::size_t(A.rowStart[n]));
    for (std::size_t i = 0; i < n; ++i)
    {
        std::set_union(A.columns + A.rowStart[i], A.columns + A.rowStart[i + 1],
                       transposed.begin() + transposedStart[i],
                       transposed.begin() + transposedStart[i + 1],
                       std::back_inserter(rows.columns));
        rows.start.push_back(int(rows.columns.size()));
    }
    return rows;
}

/// Numbers the equations with equal rows of the pattern (the diagonal counts as stored) alike.
/// @returns the number of vertices
int MergeEqualRows(int n, const int* start, const int* columns, std::vector<int>& vertexOf)
{
    const auto mix = [](int column) {
        std::uint64_t h = (std::uint64_t(unsigned(column)) + 1) * 0x9E3779B97F4A7C15u;
        return h ^ (h >> 29);
    };
    std::vector<std::uint64_t> hash(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
    {
        std::uint64_t sum = 0;
        bool hasDiagonal = false;
        for (int k = start[i]; k < start[i + 1]; ++k)
        {
            sum += mix(columns[k]);
            hasDiagonal = hasDiagonal || columns[k] == i;
        }
        hash[std::size_t(i)] = hasDiagonal ? sum : sum + mix(i);
    }
    std::vector<int> mark(static_cast<std::size_t>(n), -1);
    vertexOf.assign(std::size_t(n), -1);
    int vertices = 0;
    for (int i = 0; i < n; ++i)
    {
        if (vertexOf[std::size_t(i)] >= 0)
            continue;
        const int vertex = vertexOf[std::size_t(i)] = vertices++;
        bool isMarked = false;
        // An equation equal to this one is among its neighbours.
        for (int k = start[i]; k < start[i + 1]; ++k)
        {
            const int j = columns[k];
            if (j <= i || vertexOf[std::size_t(j)] >= 0 ||
                hash[std::size_t(i)] != hash[std::size_t(j)])
                continue;
            if (!isMarked)
            {
                for (int l = start[i]; l < start[i + 1]; ++l)
                    mark[std::size_t(columns[l])] = i;
                mark[std::size_t(i)] = i;
                isMarked = true;
            }
            bool isEqual = true;
            for (int l = start[j]; l < start[j + 1] && isEqual; ++l)
                isEqual = mark[std::size_t(columns[l])] == i;
            if (isEqual)
                vertexOf[std::size_t(j)] = vertex;
        }
    }
    return vertices;
}

} // namespace

Symmetry FindSymmetry(const MatrixView& A)
{
    constexpr double kRounding = 1e-12; // of the largest entry of the row
    Symmetry symmetry;
    std::vector<int> next(A.rowStart, A.rowStart + A.n); // entry whose mirror comes next
    for (int i = 0; i < A.n; ++i)
    {
        double largest = 0, difference = 0;
        int k = A.rowStart[i];
        for (; k < A.rowStart[i + 1] && A.columns[k] < i; ++k)
        {
            int& at = next[std::size_t(A.columns[k])];
            if (at == A.rowStart[A.columns[k] + 1] || A.columns[at] != i)
                return {false, false};
            largest = std::max(largest, std::abs(A.values[k]));
            difference = std::max(difference, std::abs(A.values[k] - A.values[at]));
            ++at;
        }
        if (k < A.rowStart[i + 1] && A.columns[k] == i)
            largest = std::max(largest, std::abs(A.values[k++]));
        next[std::size_t(i)] = k;
        for (; k < A.rowStart[i + 1]; ++k)
            largest = std::max(largest, std::abs(A.values[k]));
        symmetry.ofValues = symmetry.ofValues && difference <= kRounding * largest;
    }
    for (int i = 0; i < A.n; ++i)
        if (next[std::size_t(i)] != A.rowStart[i + 1])
            return {false, false};
    return symmetry;
}

CompressedGraph Compress(const MatrixView& A, bool isSymmetric)
{
    PatternRows both;
    const int* start = A.rowStart;
    const int* columns = A.columns;
    if (!isSymmetric)
    {
        both = SymmetricPattern(A);
        start = both.start.data();
        columns = both.columns.data();
    }
    CompressedGraph compressed;
    AdjacencyGraph& graph = compressed.graph;
    const int vertices = MergeEqualRows(A.n, start, columns, compressed.vertexOf);
    const std::vector<int>& vertexOf = compressed.vertexOf;
    graph.weight.assign(std::size_t(vertices), 0);
    graph.start.reserve(std::size_t(vertices) + 1);
    graph.neighbours.reserve(std::size_t(start[A.n]));
    std::vector<int> seen(std::size_t(vertices), -1);
    for (int i = 0; i < A.n; ++i)
    {
        const int vertex = vertexOf[std::size_t(i)];
        if (graph.weight[std::size_t(vertex)]++ > 0)
            continue; // all equations of a vertex have the same neighbours
        seen[std::size_t(vertex)] = vertex;
        for (int k = start[i]; k < start[i + 1]; ++k)
        {
            const int neighbour = vertexOf[std::size_t(columns[k])];
            if (seen[std::size_t(neighbour)] != vertex)
                graph.neighbours.push_back(neighbour);
            seen[std::size_t(neighbour)] = vertex;
        }
        graph.start.push_back(int(graph.neighbours.size()));
    }
    return compressed;
}

} // namespace numerics
